// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <utility>
#include <vector>

#include "filters/filter.h"

using OffsetTable = std::vector<std::pair<int, bool>>;

// The offset table of one silhouette row of n columns whose shape spans
// first..last (both -1 for an empty row).
OffsetTable calc_ofs(int n, int first, int last);

// Squeezes every tile row into the silhouette; black outside it.
// Returns a null image when progress cancels or the tables are empty.
QImage zarnonimate_image(const QImage& source, const std::vector<OffsetTable>& rowTable,
                         int tileWidth, int tileHeight, const FilterProgress& progress = {});

// "Zarnonimate": the picture cut into mushroom-shaped tiles.
class ZarnonimateFilter : public Filter
{
public:
    explicit ZarnonimateFilter(QWidget* parent);

    bool loadTable();
    void run(Canvas* canvas, bool repeat) override;

    const std::vector<OffsetTable>& rowTables() const { return rowTable; }

protected:
    std::vector<OffsetTable> rowTable;
    int tileWidth = 0;
    int tileHeight = 0;
};
