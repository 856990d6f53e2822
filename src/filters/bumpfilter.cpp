// SPDX-License-Identifier: MIT
#include "filters/bumpfilter.h"

#include <QProgressDialog>
#include <QRgb>
#include <QString>
#include <algorithm>
#include <utility>
#include <vector>

#include "app/log.h"
#include "canvas/canvas.h"

namespace {

// floor() for the displaced coordinates, which stay far inside int range;
// cheaper than the library call in the per-pixel loop and exactly equal.
int floor_to_int(double x)
{
    const int truncated = int(x);
    return x < truncated ? truncated - 1 : truncated;
}

int clamp_index(int i, int size)
{
    if (i < 0)
        return 0;
    return i >= size ? size - 1 : i;
}

// The slopes scaled once per run: x + dx * k evaluates dx * k first, so the
// products can be taken from a table without changing a single result.
// Usually floor(x + a) is x + floor(a) for every integer x, and the run
// shifts by whole offsets; only a product just below an integer could round
// x + a up to the next one, and then every pixel takes the floating path.
struct ScaledSlopes
{
    std::vector<double> dx;
    std::vector<double> dy;
    std::vector<int> shiftX;
    std::vector<int> shiftY;
    bool whole = true;

    void add(double product, std::vector<double>& products, std::vector<int>& shifts)
    {
        // Beyond a hundred million pixels every source lands on an edge
        // either way; the bound keeps coordinate plus shift inside int.
        const double a = std::clamp(product, -1e8, 1e8);
        const int shift = floor_to_int(a);
        // Half a unit in the last place of any int coordinate is below 1e-6.
        whole = whole && (a == shift || shift + 1 - a > 1e-6);
        products.push_back(a);
        shifts.push_back(shift);
    }
};

ScaledSlopes scale_slopes(const BumpTable& bump, double k)
{
    ScaledSlopes scaled;
    for (const auto& slope : bump) {
        scaled.add(double(slope.first) * k, scaled.dx, scaled.shiftX);
        scaled.add(double(slope.second) * k, scaled.dy, scaled.shiftY);
    }
    return scaled;
}

struct RowSlopes
{
    const double* dx;
    const double* dy;
    const int* shiftX;
    const int* shiftY;
};

void bump_row(const std::vector<const QRgb*>& sourceRows, QRgb* target, int y, int width,
              const RowSlopes& slopes, int bumpWidth)
{
    const int height = int(sourceRows.size());
    int column = 0;
    for (int x = 0; x < width; ++x) {
        const int sx = clamp_index(floor_to_int(x + slopes.dx[column]), width);
        const int sy = clamp_index(floor_to_int(y + slopes.dy[column]), height);
        target[x] = sourceRows[sy][sx];
        if (++column == bumpWidth)
            column = 0;
    }
}

void bump_row_whole(const std::vector<const QRgb*>& sourceRows, QRgb* target, int y, int width,
                    const RowSlopes& slopes, int bumpWidth)
{
    const int height = int(sourceRows.size());
    int column = 0;
    for (int x = 0; x < width; ++x) {
        const int sx = clamp_index(x + slopes.shiftX[column], width);
        const int sy = clamp_index(y + slopes.shiftY[column], height);
        target[x] = sourceRows[sy][sx];
        if (++column == bumpWidth)
            column = 0;
    }
}

} // namespace

int bump_luminance(unsigned int pixel)
{
    return (11 * int(qRed(pixel)) + 16 * int(qGreen(pixel)) + 5 * int(qBlue(pixel))) >> 5;
}

QImage bump_image(const QImage& source, const BumpTable& bump, int bumpWidth, int bumpHeight,
                  int value, const FilterProgress& progress)
{
    if (bump.empty() || bumpWidth <= 0 || bumpHeight <= 0 ||
        bump.size() < size_t(bumpWidth) * size_t(bumpHeight))
        return QImage();
    RowTables rows(source);
    if (!rows.valid())
        return QImage();
    const int width = rows.source.width();
    const int height = rows.source.height();
    const ScaledSlopes scaled = scale_slopes(bump, value * 0.025);
    for (int y = 0; y < height; ++y) {
        const size_t start = size_t(y % bumpHeight) * size_t(bumpWidth);
        const RowSlopes slopes{&scaled.dx[start], &scaled.dy[start], &scaled.shiftX[start],
                               &scaled.shiftY[start]};
        if (scaled.whole)
            bump_row_whole(rows.from, rows.to[y], y, width, slopes, bumpWidth);
        else
            bump_row(rows.from, rows.to[y], y, width, slopes, bumpWidth);
        if (progress && !progress(y))
            return QImage();
    }
    return rows.result;
}

BumpFilter::BumpFilter(QWidget* parent) : Filter(parent), value(50)
{
    if (!loadBump(":/data/bump5.png"))
        log("bump error\n");
}

bool BumpFilter::loadBump(const char* path)
{
    QImage map;
    if (!map.load(QString::fromUtf8(path)))
        return false;
    map.convertTo(QImage::Format_ARGB32_Premultiplied);
    const int w = map.width();
    const int h = map.height();
    bump.assign(size_t(w) * size_t(h), std::make_pair(0.0f, 0.0f));
    for (int y = 0; y < h; ++y) {
        const auto* above = reinterpret_cast<const QRgb*>(map.constScanLine((y + h - 1) % h));
        const auto* row = reinterpret_cast<const QRgb*>(map.constScanLine(y));
        const auto* below = reinterpret_cast<const QRgb*>(map.constScanLine((y + 1) % h));
        for (int x = 0; x < w; ++x) {
            const int dx = bump_luminance(row[(x + 1) % w]) - bump_luminance(row[(x + w - 1) % w]);
            const int dy = bump_luminance(below[x]) - bump_luminance(above[x]);
            bump[size_t(y) * size_t(w) + size_t(x)] = std::make_pair(float(dx), float(dy));
        }
    }
    bumpWidth = w;
    bumpHeight = h;
    return true;
}

void BumpFilter::run(Canvas* canvas, bool repeat)
{
    // Without a height map there is nothing to displace by: the run does
    // nothing at all, neither asking nor taking an undo step.
    if (bump.empty())
        return;
    if (!repeat &&
        !askSetting(QStringLiteral("Zarnelure"), QStringLiteral("Value"), -100, 100, value))
        return;
    canvas->undoSnapshot();
    if (!canvas->canDraw())
        return;
    const QImage& source = std::as_const(*canvas).image();
    const auto progress = createProgress(QStringLiteral("Zarneluring..."), source.height() - 1);
    QImage result =
        bump_image(source, bump, bumpWidth, bumpHeight, value, pollProgress(progress.get()));
    if (result.isNull())
        return;
    canvas->applyImageWithMask(std::move(result));
}
