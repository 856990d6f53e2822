// SPDX-License-Identifier: MIT
#include "filters/bumpfilter.h"

#include <QProgressDialog>
#include <QRgb>
#include <QString>
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
struct ScaledSlopes
{
    std::vector<double> dx;
    std::vector<double> dy;
};

ScaledSlopes scale_slopes(const BumpTable& bump, double k)
{
    ScaledSlopes scaled;
    scaled.dx.reserve(bump.size());
    scaled.dy.reserve(bump.size());
    for (const auto& slope : bump) {
        scaled.dx.push_back(double(slope.first) * k);
        scaled.dy.push_back(double(slope.second) * k);
    }
    return scaled;
}

void bump_row(const std::vector<const QRgb*>& sourceRows, QRgb* target, int y, int width,
              const double* dx, const double* dy, int bumpWidth)
{
    const int height = int(sourceRows.size());
    int column = 0;
    for (int x = 0; x < width; ++x) {
        const int sx = clamp_index(floor_to_int(x + dx[column]), width);
        const int sy = clamp_index(floor_to_int(y + dy[column]), height);
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
    const QImage pixels = source.format() == QImage::Format_ARGB32_Premultiplied
                              ? source
                              : source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QImage result(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    const int width = pixels.width();
    const int height = pixels.height();
    std::vector<const QRgb*> sourceRows(height);
    std::vector<QRgb*> targetRows(height);
    for (int y = 0; y < height; ++y) {
        sourceRows[y] = reinterpret_cast<const QRgb*>(pixels.constScanLine(y));
        targetRows[y] = reinterpret_cast<QRgb*>(result.scanLine(y));
    }
    const ScaledSlopes scaled = scale_slopes(bump, value * 0.025);
    for (int y = 0; y < height; ++y) {
        const size_t rowStart = size_t(y % bumpHeight) * size_t(bumpWidth);
        bump_row(sourceRows, targetRows[y], y, width, &scaled.dx[rowStart], &scaled.dy[rowStart],
                 bumpWidth);
        if (progress && !progress(y))
            return QImage();
    }
    return result;
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
    const QImage& source = canvas->image();
    const auto progress = createProgress(QStringLiteral("Zarneluring..."), source.height() - 1);
    const QImage result =
        bump_image(source, bump, bumpWidth, bumpHeight, value, pollProgress(progress.get()));
    if (result.isNull())
        return;
    canvas->applyImageWithMask(result);
}
