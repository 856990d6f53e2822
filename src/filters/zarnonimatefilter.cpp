// SPDX-License-Identifier: MIT
#include "filters/zarnonimatefilter.h"

#include <QProgressDialog>
#include <QRgb>
#include <algorithm>
#include <cmath>
#include <utility>

#include "canvas/canvas.h"

namespace {

constexpr QRgb kOpaqueBlack = 0xFF000000u;

bool is_black(QRgb pixel)
{
    return qRed(pixel) == 0;
}

// The leftmost and rightmost black column of a row, or (-1, -1).
std::pair<int, int> shape_span(const QRgb* row, int width)
{
    int first = 0;
    while (first < width && !is_black(row[first]))
        ++first;
    if (first == width)
        return {-1, -1};
    int last = width - 1;
    while (last > first && !is_black(row[last]))
        --last;
    return {first, last};
}

bool tables_fit(const std::vector<OffsetTable>& rowTable, int tileWidth, int tileHeight)
{
    if (tileWidth <= 0 || tileHeight <= 0 || rowTable.size() < size_t(tileHeight))
        return false;
    for (int y = 0; y < tileHeight; ++y) {
        if (rowTable[y].size() < size_t(tileWidth))
            return false;
    }
    return true;
}

void squeeze_row(const QRgb* source, QRgb* target, int width, const OffsetTable& table,
                 int tileWidth)
{
    for (int tileStart = 0; tileStart < width; tileStart += tileWidth) {
        const int columns = std::min(tileWidth, width - tileStart);
        for (int c = 0; c < columns; ++c) {
            const auto& [offset, inside] = table[c];
            if (!inside) {
                target[tileStart + c] = kOpaqueBlack;
                continue;
            }
            // Past the right edge of a partial tile the row's last pixel repeats.
            const int sx = std::min(tileStart + offset, width - 1);
            target[tileStart + c] = source[sx];
        }
    }
}

} // namespace

OffsetTable calc_ofs(int n, int first, int last)
{
    OffsetTable table(size_t(std::max(n, 0)));
    for (int i = 0; i < n; ++i)
        table[i] = {i, false};
    if (first < 0 || last < 0 || first > last || last >= n)
        return table;
    // A span of one pixel would divide zero by zero; it shows the tile's
    // first column, which keeps it inside the tile.
    if (first == last) {
        table[first] = {0, true};
        return table;
    }
    for (int i = 0; i <= last - first; ++i) {
        const double offset = std::floor(double(i) / (last - first) * (n - 1) + 0.5);
        table[first + i] = {int(offset), true};
    }
    return table;
}

QImage zarnonimate_image(const QImage& source, const std::vector<OffsetTable>& rowTable,
                         int tileWidth, int tileHeight, const FilterProgress& progress)
{
    if (!tables_fit(rowTable, tileWidth, tileHeight))
        return QImage();
    RowTables rows(source);
    if (!rows.valid())
        return QImage();
    const int width = rows.source.width();
    const int height = rows.source.height();
    for (int y = 0; y < height; ++y) {
        squeeze_row(rows.from[y], rows.to[y], width, rowTable[y % tileHeight], tileWidth);
        if (progress && !progress(y))
            return QImage();
    }
    return rows.result;
}

ZarnonimateFilter::ZarnonimateFilter(QWidget* parent) : Filter(parent)
{
    loadTable();
}

bool ZarnonimateFilter::loadTable()
{
    QImage silhouette;
    if (!silhouette.load(QStringLiteral(":/data/zarn_bitmap_small.png")))
        return false;
    silhouette.convertTo(QImage::Format_RGB32);
    tileWidth = silhouette.width();
    tileHeight = silhouette.height();
    rowTable.assign(size_t(tileHeight), OffsetTable());
    for (int y = 0; y < tileHeight; ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(silhouette.constScanLine(y));
        const auto [first, last] = shape_span(row, tileWidth);
        rowTable[y] = calc_ofs(tileWidth, first, last);
    }
    return true;
}

void ZarnonimateFilter::run(Canvas* canvas, bool /*repeat*/)
{
    if (rowTable.empty())
        return;
    canvas->undoSnapshot();
    if (!canvas->canDraw())
        return;
    const QImage& source = std::as_const(*canvas).image();
    const auto progress = createProgress(QStringLiteral("Zarnonimating..."), source.height() - 1);
    QImage result =
        zarnonimate_image(source, rowTable, tileWidth, tileHeight, pollProgress(progress.get()));
    if (result.isNull())
        return;
    canvas->applyImageWithMask(std::move(result));
}
