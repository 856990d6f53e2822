// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <utility>
#include <vector>

#include "filters/filter.h"

using BumpTable = std::vector<std::pair<float, float>>;

// Luminance (11 R + 16 G + 5 B) >> 5 of a 32-bit pixel.
int bump_luminance(unsigned int pixel);

// Displaces source by the tiled slope table scaled by value * 0.025.
// Returns a null image when progress cancels or the table is empty.
QImage bump_image(const QImage& source, const BumpTable& bump, int bumpWidth, int bumpHeight,
                  int value, const FilterProgress& progress = {});

// "Zarnelure": the picture seen through embossed glass.
class BumpFilter : public Filter
{
public:
    explicit BumpFilter(QWidget* parent);

    bool loadBump(const char* path);
    void run(Canvas* canvas, bool repeat) override;

    int currentValue() const { return value; }
    const BumpTable& slopes() const { return bump; }

protected:
    BumpTable bump;
    int bumpWidth = 0;
    int bumpHeight = 0;
    int value = 50;
};
