// SPDX-License-Identifier: MIT
#include "filters/zarnelatefilter.h"

#include <QColor>
#include <QPainter>
#include <QProgressDialog>
#include <QRgb>
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <map>

#include "canvas/canvas.h"
#include "tools/brushtool.h"

namespace {

// Stamp centres reach size pixels beyond every edge so that the border is
// covered as densely as the middle. The two rand() calls are kept in separate
// statements: x must take the first number of the pair.
QPoint rand_point(int r, const QSize& s)
{
    const int x = std::rand() % (s.width() + 2 * r) - r;
    const int y = std::rand() % (s.height() + 2 * r) - r;
    return QPoint(x, y);
}

QPoint clamp_pos(const QPoint& p, const QSize& s)
{
    QPoint q = p;
    if (q.x() < 0)
        q.setX(0);
    if (q.x() > s.width() - 1)
        q.setX(s.width() - 1);
    if (q.y() < 0)
        q.setY(0);
    if (q.y() > s.height() - 1)
        q.setY(s.height() - 1);
    return q;
}

QImage premultiplied(const QImage& image)
{
    if (image.format() == QImage::Format_ARGB32_Premultiplied)
        return image;
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// Five bits per channel: most stamps then reuse a brush made earlier in the
// run instead of clipping, filling and scaling the silhouette again.
unsigned int colour_key(const QColor& colour)
{
    return colour.rgb() & 0xF8F8F8u;
}

} // namespace

int zarnelate_stamp_count(int width, int height, int size)
{
    if (width <= 0 || height <= 0 || size <= 0)
        return 0;
    const long long count = (4LL * width * height) / (1LL * size * size);
    return int(std::min<long long>(count, INT_MAX));
}

QImage zarnelate_image(const QImage& source, const QBitmap& bitmap, int size,
                       const FilterProgress& progress)
{
    const QImage pixels = premultiplied(source);
    QImage result(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    if (result.isNull())
        return result;
    result.fill(0);
    QPainter painter(&result);
    std::map<unsigned int, QImage> brushes;
    const int count = zarnelate_stamp_count(pixels.width(), pixels.height(), size);
    for (int i = 0; i < count; ++i) {
        const QPoint p = rand_point(size, result.size());
        const QPoint q = clamp_pos(p, result.size());
        // The stored premultiplied channels, made opaque: QColor drops alpha.
        const QColor colour(reinterpret_cast<const QRgb*>(pixels.constScanLine(q.y()))[q.x()]);
        auto brush = brushes.find(colour_key(colour));
        if (brush == brushes.end())
            brush = brushes.emplace(colour_key(colour), create_brush(bitmap, colour, size)).first;
        painter.drawImage(QPoint(p.x() - size, p.y() - size), brush->second);
        if (i % 100 == 0 && progress && !progress(i))
            return QImage();
    }
    painter.end();
    return result;
}

// The silhouette is compiled in; should it ever be missing, the brushes come
// out empty and a run applies a transparent result, leaving the picture as is.
ZarnelateFilter::ZarnelateFilter(QWidget* parent)
    : Filter(parent), size(16), bitmap(QStringLiteral(":/data/zarn_bitmap_small.png"))
{
}

void ZarnelateFilter::run(Canvas* canvas, bool repeat)
{
    if (!repeat && !askSetting(QStringLiteral("Zarnelate"), QStringLiteral("Size"), 4, 100, size))
        return;
    canvas->undoSnapshot();
    const QImage& source = canvas->image();
    const int count = zarnelate_stamp_count(source.width(), source.height(), size);
    const auto progress = createProgress(QStringLiteral("Zarnelating..."), count);
    const QImage result = zarnelate_image(source, bitmap, size, pollProgress(progress.get()));
    if (result.isNull())
        return;
    canvas->applyImageWithMask(result);
}
