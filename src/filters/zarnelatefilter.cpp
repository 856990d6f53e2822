// SPDX-License-Identifier: MIT
#include "filters/zarnelatefilter.h"

#include <QColor>
#include <QProgressDialog>
#include <QRgb>
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <map>
#include <new>
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
// run instead of clipping, filling and scaling the silhouette again. The
// same bits of the pixel as of the opaque colour made from it.
unsigned int colour_key(QRgb pixel)
{
    return pixel & 0xF8F8F8u;
}

// Each channel times a / 255, rounded as the raster engine rounds.
inline QRgb byte_mul(QRgb x, unsigned int a)
{
    QRgb redBlue = (x & 0xff00ffu) * a;
    redBlue = ((redBlue + ((redBlue >> 8) & 0xff00ffu) + 0x800080u) >> 8) & 0xff00ffu;
    QRgb alphaGreen = ((x >> 8) & 0xff00ffu) * a;
    alphaGreen = (alphaGreen + ((alphaGreen >> 8) & 0xff00ffu) + 0x800080u) & 0xff00ff00u;
    return alphaGreen | redBlue;
}

// Premultiplied source over, pixel for pixel what a painter at full opacity
// composes when it draws an image.
void blend_row(QRgb* target, const QRgb* source, int count)
{
    for (int i = 0; i < count; ++i) {
        const QRgb s = source[i];
        if (s >= 0xff000000u)
            target[i] = s;
        else if (s != 0)
            target[i] = s + byte_mul(target[i], qAlpha(~s));
    }
}

// A brush with, for each of its rows, its runs of ink: opaque runs are
// copied, translucent ones blended, and the transparent ground is skipped.
struct Brush
{
    struct Run
    {
        int first;
        int last;
        bool opaque;
    };

    explicit Brush(const QImage& made)
        : image(made.convertToFormat(QImage::Format_ARGB32_Premultiplied)), size(image.size()),
          bits(image.constBits()), stride(image.bytesPerLine())
    {
        for (int y = 0; y < size.height(); ++y) {
            firstRun.push_back(int(runs.size()));
            add_runs(reinterpret_cast<const QRgb*>(image.constScanLine(y)));
        }
        firstRun.push_back(int(runs.size()));
    }

    // Alternating opaque and translucent stretches; a translucent one that
    // is all ground is left out, stray ground inside one is blended as 0.
    void add_runs(const QRgb* line)
    {
        for (int x = 0; x < size.width();) {
            const bool opaque = line[x] >= 0xff000000u;
            int last = x;
            bool ink = opaque;
            while (last + 1 < size.width() && (line[last + 1] >= 0xff000000u) == opaque) {
                ++last;
                ink = ink || line[last] != 0;
            }
            if (ink || line[x] != 0)
                runs.push_back({x, last, opaque});
            x = last + 1;
        }
    }

    QImage image;
    // Read for every stamp, so kept here rather than asked of the image.
    QSize size;
    const uchar* bits;
    qsizetype stride;
    std::vector<Run> runs;
    std::vector<int> firstRun;
};

// The target's pixels, looked up once per batch rather than once per stamp.
struct Pixels
{
    uchar* bits;
    qsizetype stride;
};

// Draws brush with its top-left corner at corner, cut to clip.
void stamp(const Pixels& target, const Brush& brush, const QPoint& corner, const QRect& clip)
{
    const QRect area = QRect(corner, brush.size) & clip;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const int row = y - corner.y();
        const auto* source = reinterpret_cast<const QRgb*>(brush.bits + row * brush.stride);
        auto* line = reinterpret_cast<QRgb*>(target.bits + y * target.stride);
        for (int r = brush.firstRun[size_t(row)]; r < brush.firstRun[size_t(row) + 1]; ++r) {
            const Brush::Run& run = brush.runs[size_t(r)];
            const int from = std::max(area.left(), corner.x() + run.first);
            const int to = std::min(area.right(), corner.x() + run.last);
            if (from > to)
                continue;
            const QRgb* ink = source + (from - corner.x());
            if (run.opaque)
                std::copy(ink, ink + (to - from + 1), line + from);
            else
                blend_row(line + from, ink, to - from + 1);
        }
    }
}

struct Stamp
{
    QPoint corner;
    const Brush* brush;
};

// Square tiles of 2^kTileShift pixels: a tile of the result stays in the
// cache while all its stamps are drawn.
constexpr int kTileShift = 8;

// The tiles a stamp reaches, as a rectangle of tile columns and rows.
QRect tiles_of(const Stamp& s, const QRect& picture)
{
    const QRect area = QRect(s.corner, s.brush->size) & picture;
    if (area.isEmpty())
        return QRect();
    return QRect(QPoint(area.left() >> kTileShift, area.top() >> kTileShift),
                 QPoint(area.right() >> kTileShift, area.bottom() >> kTileShift));
}

// Draws the stamps tile by tile, each tile's stamps in their given order. A
// pixel's colour depends only on the order of the stamps that cover it,
// which every tile keeps, so the pixels are those of drawing the stamps one
// after another; but the stamps' random positions no longer send every one
// of them to memory that has left the cache.
void draw_tiled(QImage& target, const std::vector<Stamp>& stamps)
{
    const QRect picture = target.rect();
    const int columns = ((target.width() - 1) >> kTileShift) + 1;
    const int rows = ((target.height() - 1) >> kTileShift) + 1;
    std::vector<int> firstOfTile(size_t(columns) * size_t(rows) + 1, 0);
    for (const Stamp& s : stamps) {
        const QRect tiles = tiles_of(s, picture);
        for (int ty = tiles.top(); ty <= tiles.bottom(); ++ty)
            for (int tx = tiles.left(); tx <= tiles.right(); ++tx)
                ++firstOfTile[size_t(ty * columns + tx) + 1];
    }
    for (size_t t = 1; t < firstOfTile.size(); ++t)
        firstOfTile[t] += firstOfTile[t - 1];
    std::vector<int> next(firstOfTile.begin(), firstOfTile.end() - 1);
    std::vector<int> order(size_t(firstOfTile.back()));
    for (size_t i = 0; i < stamps.size(); ++i) {
        const QRect tiles = tiles_of(stamps[i], picture);
        for (int ty = tiles.top(); ty <= tiles.bottom(); ++ty)
            for (int tx = tiles.left(); tx <= tiles.right(); ++tx)
                order[size_t(next[size_t(ty * columns + tx)]++)] = int(i);
    }
    const Pixels pixels{target.bits(), target.bytesPerLine()};
    for (int t = 0; t < columns * rows; ++t) {
        const QRect tile((t % columns) << kTileShift, (t / columns) << kTileShift, 1 << kTileShift,
                         1 << kTileShift);
        for (int k = firstOfTile[size_t(t)]; k < firstOfTile[size_t(t) + 1]; ++k) {
            const Stamp& s = stamps[size_t(order[size_t(k)])];
            stamp(pixels, *s.brush, s.corner, tile & picture);
        }
    }
}

// Brushes of opaque colours, made from brushes of greys. Smooth scaling
// treats each channel by itself, with the same weights for all four; an
// opaque colour's brush holds, before scaling, the colour's channel (and
// alpha 255) where the silhouette is set and 0 elsewhere. So each channel of
// the scaled brush is that of the scaled brush of the grey with the same
// value: at most 256 scalings per run instead of one per colour key.
class GreyBrushes
{
public:
    GreyBrushes(const QBitmap& shape, int size) : shape(shape), size(size) {}

    QImage brush(QRgb colour)
    {
        const QImage& red = grey(qRed(colour));
        const QImage& green = grey(qGreen(colour));
        const QImage& blue = grey(qBlue(colour));
        QImage made(red.size(), QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < made.height(); ++y) {
            const auto* r = reinterpret_cast<const QRgb*>(red.constScanLine(y));
            const auto* g = reinterpret_cast<const QRgb*>(green.constScanLine(y));
            const auto* b = reinterpret_cast<const QRgb*>(blue.constScanLine(y));
            auto* line = reinterpret_cast<QRgb*>(made.scanLine(y));
            for (int x = 0; x < made.width(); ++x)
                line[x] = (r[x] & 0xffff0000u) | (g[x] & 0xff00u) | (b[x] & 0xffu);
        }
        return made;
    }

private:
    const QImage& grey(int value)
    {
        QImage& made = greys[size_t(value)];
        if (made.isNull())
            made = create_brush(shape, QColor(value, value, value), size)
                       .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        return made;
    }

    const QBitmap& shape;
    const int size;
    std::vector<QImage> greys = std::vector<QImage>(256);
};

// The brush cache of one run. The map owns the brushes; the flat index over
// all 32768 keys spares the hundreds of thousands of stamps a tree walk
// through nodes scattered between the brush images.
class BrushCache
{
public:
    BrushCache(const QBitmap& shape, int size) : greys(shape, size) {}

    const Brush& brush(QRgb pixel)
    {
        const unsigned int key = colour_key(pixel);
        const Brush*& slot = index[slot_of(key)];
        if (!slot)
            slot = &brushes.emplace(key, Brush(greys.brush(pixel))).first->second;
        return *slot;
    }

private:
    static unsigned int slot_of(unsigned int key)
    {
        return (key >> 9 & 0x7C00u) | (key >> 6 & 0x3E0u) | (key >> 3 & 0x1Fu);
    }

    GreyBrushes greys;
    std::map<unsigned int, Brush> brushes;
    std::vector<const Brush*> index = std::vector<const Brush*>(32768, nullptr);
};

} // namespace

int zarnelate_stamp_count(int width, int height, int size)
{
    if (width <= 0 || height <= 0 || size <= 0)
        return 0;
    const long long count = (4LL * width * height) / (1LL * size * size);
    return int(std::min<long long>(count, INT_MAX));
}

namespace {

QImage stamped(const QImage& source, const QBitmap& bitmap, int size,
               const FilterProgress& progress)
{
    const QImage pixels = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QImage result = allocate_picture(pixels.size());
    if (result.isNull())
        return result;
    result.fill(0);
    BrushCache brushes(bitmap, size);
    const int count = zarnelate_stamp_count(pixels.width(), pixels.height(), size);
    // Stamps are gathered in batches and drawn a batch at a time; brushes
    // are still made in the order of the stamps, so each key keeps the
    // colour that first produced it.
    constexpr size_t kBatch = 1 << 18;
    const uchar* bits = pixels.constBits();
    const qsizetype stride = pixels.bytesPerLine();
    const QSize area = result.size();
    std::vector<Stamp> batch;
    batch.reserve(std::min(kBatch, size_t(count)));
    for (int i = 0; i < count; ++i) {
        const QPoint p = rand_point(size, area);
        const QPoint q = clamp_pos(p, area);
        // The stored premultiplied channels, made opaque: QColor drops alpha.
        const QRgb pixel = reinterpret_cast<const QRgb*>(bits + q.y() * stride)[q.x()];
        batch.push_back({QPoint(p.x() - size, p.y() - size), &brushes.brush(pixel)});
        if (batch.size() == kBatch) {
            draw_tiled(result, batch);
            batch.clear();
        }
        if (i % 100 == 0 && progress && !progress(i))
            return QImage();
    }
    draw_tiled(result, batch);
    return result;
}

} // namespace

QImage zarnelate_image(const QImage& source, const QBitmap& bitmap, int size,
                       const FilterProgress& progress)
{
    // Out of memory for the stamp lists or the brushes, the run gives no
    // result, as when the result itself cannot be had.
    try {
        return stamped(source, bitmap, size, progress);
    } catch (const std::bad_alloc&) {
        return QImage();
    }
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
