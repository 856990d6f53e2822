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
#include <utility>
#include <vector>

#include "canvas/canvas.h"
#include "canvas/picturememory.h"
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

// Five bits per channel: most stamps then reuse a brush made earlier in the
// run instead of clipping, filling and scaling the silhouette again.
unsigned int colour_key(const QColor& colour)
{
    return colour.rgb() & 0xF8F8F8u;
}

// The brush cache of one run. The map owns the brushes; the flat index over
// all 32768 keys spares the hundreds of thousands of stamps a tree walk
// through nodes scattered between the brush images.
class BrushCache
{
public:
    BrushCache(const QBitmap& shape, int size) : shape(shape), size(size) {}

    const QImage& brush(const QColor& colour)
    {
        const unsigned int key = colour_key(colour);
        const QImage*& slot = index[slot_of(key)];
        if (!slot)
            slot = &brushes.emplace(key, create_brush(shape, colour, size)).first->second;
        return *slot;
    }

private:
    static unsigned int slot_of(unsigned int key)
    {
        return (key >> 9 & 0x7C00u) | (key >> 6 & 0x3E0u) | (key >> 3 & 0x1Fu);
    }

    const QBitmap& shape;
    const int size;
    std::map<unsigned int, QImage> brushes;
    std::vector<const QImage*> index = std::vector<const QImage*>(32768, nullptr);
};

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
    const QImage pixels = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QImage result = allocate_picture(pixels.size());
    if (result.isNull())
        return result;
    result.fill(0);
    QPainter painter(&result);
    BrushCache brushes(bitmap, size);
    const int count = zarnelate_stamp_count(pixels.width(), pixels.height(), size);
    for (int i = 0; i < count; ++i) {
        const QPoint p = rand_point(size, result.size());
        const QPoint q = clamp_pos(p, result.size());
        // The stored premultiplied channels, made opaque: QColor drops alpha.
        const QColor colour(reinterpret_cast<const QRgb*>(pixels.constScanLine(q.y()))[q.x()]);
        painter.drawImage(QPoint(p.x() - size, p.y() - size), brushes.brush(colour));
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
    if (!canvas->canDraw())
        return;
    const QImage& source = std::as_const(*canvas).image();
    const int count = zarnelate_stamp_count(source.width(), source.height(), size);
    const auto progress = createProgress(QStringLiteral("Zarnelating..."), count);
    QImage result = zarnelate_image(source, bitmap, size, pollProgress(progress.get()));
    if (result.isNull())
        return;
    canvas->applyImageWithMask(std::move(result));
}
