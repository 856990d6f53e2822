// SPDX-License-Identifier: MIT
#include "tools/magicwandtool.h"

#include <QBitmap>
#include <QImage>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "app/log.h"
#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "tools/marqueetool.h"

namespace {

int channel_diff(unsigned int a, unsigned int b, int shift)
{
    return std::abs(int((a >> shift) & 0xffu) - int((b >> shift) & 0xffu));
}

inline int colour_distance(unsigned int a, unsigned int b)
{
    return channel_diff(a, b, 16) + channel_diff(a, b, 8) + channel_diff(a, b, 0);
}

// Bit i set where pixel i of the count (at most 64) joins the seed's region.
uint64_t joining_bits(const unsigned int* pixels, int count, unsigned int seed, int tolerance)
{
    uint64_t bits = 0;
    int i = 0;
#ifdef __SSE2__
    const __m128i seeds = _mm_set1_epi32(int(seed));
    const __m128i channel = _mm_set1_epi32(0xff);
    const __m128i limit = _mm_set1_epi32(tolerance);
    for (; i + 4 <= count; i += 4) {
        const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + i));
        const __m128i d = _mm_or_si128(_mm_subs_epu8(p, seeds), _mm_subs_epu8(seeds, p));
        const __m128i sum =
            _mm_add_epi32(_mm_and_si128(d, channel),
                          _mm_add_epi32(_mm_and_si128(_mm_srli_epi32(d, 8), channel),
                                        _mm_and_si128(_mm_srli_epi32(d, 16), channel)));
        const int over = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(sum, limit)));
        bits |= uint64_t(~over & 0xf) << i;
    }
#endif
    for (; i < count; ++i)
        if (colour_distance(seed, pixels[i]) <= tolerance)
            bits |= uint64_t(1) << i;
    return bits;
}

// Every bit of seeds spread along the unbroken stretches of set bits of
// through, both ways: doubling steps instead of one step per bit.
uint64_t spread_within(uint64_t seeds, uint64_t through)
{
    uint64_t up = seeds;
    uint64_t down = seeds;
    uint64_t upThrough = through;
    uint64_t downThrough = through;
    for (int step = 1; step < 64; step *= 2) {
        up |= upThrough & (up << step);
        upThrough &= upThrough << step;
        down |= downThrough & (down >> step);
        downThrough &= downThrough >> step;
    }
    return up | down;
}

// The 8-connected fill over words of 64 pixels of a row. Which pixels are
// selected does not depend on the order of the visits: those that join and
// are linked to a start through pixels that join. So whole words are
// visited, each again only when a neighbouring word gained pixels; a visit
// costs a few dozen word operations however many of its pixels join.
class WordFill
{
public:
    WordFill(unsigned int seed, int tolerance, const std::vector<unsigned int*>& rows, int width,
             int height, const unsigned char* blocked)
        : seed(seed), tolerance(tolerance), rows(rows), width(width), height(height),
          words((width + 63) / 64), blocked(blocked), selectedBits(size_t(words) * height),
          joinBits(size_t(words) * height), joinKnown(size_t(words) * height),
          pending(size_t(words) * height)
    {
    }

    // A start joins by its own colour, whether or not it is blocked.
    void start(const QPoint& p)
    {
        if (colour_distance(seed, rows[size_t(p.y())][p.x()]) > tolerance)
            return;
        const int k = p.x() / 64;
        selectedBits[index(p.y(), k)] |= uint64_t(1) << (p.x() % 64);
        for (int dy = -1; dy <= 1; ++dy)
            for (int dk = -1; dk <= 1; ++dk)
                push(p.y() + dy, k + dk);
    }

    void run()
    {
        while (!stack.empty()) {
            log("queue: %u\n", unsigned(stack.size()));
            const size_t i = stack.back();
            stack.pop_back();
            pending[i] = 0;
            visit(int(i / size_t(words)), int(i % size_t(words)));
        }
    }

    uint64_t selected(int y, int k) const
    {
        return (y < 0 || y >= height || k < 0 || k >= words) ? 0 : selectedBits[index(y, k)];
    }

    // The in-picture neighbours of selected pixels: what the fill queued.
    uint64_t neighbours(int y, int k) const
    {
        const uint64_t across = selected(y - 1, k) | selected(y + 1, k);
        const uint64_t left = selected(y - 1, k - 1) | selected(y, k - 1) | selected(y + 1, k - 1);
        const uint64_t right = selected(y - 1, k + 1) | selected(y, k + 1) | selected(y + 1, k + 1);
        const uint64_t own = selected(y, k);
        return (across | across << 1 | across >> 1 | own << 1 | own >> 1 | left >> 63 |
                right << 63) &
               inPicture(k);
    }

    int wordCount() const { return words; }

private:
    size_t index(int y, int k) const { return size_t(y) * size_t(words) + size_t(k); }
    int pixelsIn(int k) const { return std::min(64, width - 64 * k); }
    uint64_t inPicture(int k) const
    {
        return pixelsIn(k) == 64 ? ~uint64_t(0) : (uint64_t(1) << pixelsIn(k)) - 1;
    }

    void push(int y, int k)
    {
        if (y < 0 || y >= height || k < 0 || k >= words || pending[index(y, k)])
            return;
        pending[index(y, k)] = 1;
        stack.push_back(index(y, k));
    }

    uint64_t joining(int y, int k)
    {
        const size_t i = index(y, k);
        if (!joinKnown[i]) {
            joinKnown[i] = 1;
            joinBits[i] = joining_bits(rows[size_t(y)] + 64 * k, pixelsIn(k), seed, tolerance) &
                          ~blockedBits(y, k);
        }
        return joinBits[i];
    }

    // Pixels queued before the fill began are never queued again.
    uint64_t blockedBits(int y, int k) const
    {
        uint64_t bits = 0;
        if (!blocked)
            return bits;
        const unsigned char* row = blocked + size_t(y) * size_t(width) + size_t(64 * k);
        for (int i = 0; i < pixelsIn(k); ++i)
            bits |= uint64_t(row[i] != 0) << i;
        return bits;
    }

    void visit(int y, int k)
    {
        const uint64_t before = selectedBits[index(y, k)];
        const uint64_t through = joining(y, k) | before;
        const uint64_t across = selected(y - 1, k) | selected(y + 1, k);
        const uint64_t left = selected(y - 1, k - 1) | selected(y, k - 1) | selected(y + 1, k - 1);
        const uint64_t right = selected(y - 1, k + 1) | selected(y, k + 1) | selected(y + 1, k + 1);
        const uint64_t reached = across | across << 1 | across >> 1 | left >> 63 | right << 63;
        const uint64_t after = spread_within(before | (reached & through), through);
        if (after == before)
            return;
        selectedBits[index(y, k)] = after;
        const uint64_t gained = after & ~before;
        for (int dy = -1; dy <= 1; ++dy) {
            push(y + dy, k);
            if (gained & 1)
                push(y + dy, k - 1);
            if (gained >> 63)
                push(y + dy, k + 1);
        }
    }

    const unsigned int seed;
    const int tolerance;
    const std::vector<unsigned int*>& rows;
    const int width;
    const int height;
    const int words;
    const unsigned char* blocked;
    std::vector<uint64_t> selectedBits;
    std::vector<uint64_t> joinBits;
    std::vector<unsigned char> joinKnown;
    std::vector<unsigned char> pending;
    std::vector<size_t> stack;
};

// Sets to 1 the byte of every set bit of the count (at most 64) low bits.
void mark_bytes(uint64_t bits, unsigned char* bytes, int count)
{
    for (int i = 0; bits && i < count; ++i, bits >>= 1)
        bytes[i] |= (bits & 1);
}

// Sets (or, subtracting, clears) the mask's bit of every selected pixel.
void apply_to_mask(Canvas* canvas, const WordFill& fill, bool subtract)
{
    // Written word by word into the mask's least significant bit first
    // one-bit rows, whose bytes hold the pixels in the words' order.
    QImage bits = std::as_const(*canvas).mask().toImage().convertToFormat(QImage::Format_MonoLSB);
    if (bits.isNull())
        return;
    const int bytesPerRow = (bits.width() + 7) / 8;
    for (int y = 0; y < bits.height(); ++y) {
        uchar* line = bits.scanLine(y);
        for (int k = 0; k < fill.wordCount(); ++k) {
            uint64_t word = fill.selected(y, k);
            if (!word)
                continue;
            for (int b = 8 * k; word && b < bytesPerRow; ++b, word >>= 8)
                line[b] = subtract ? uchar(line[b] & ~uchar(word)) : uchar(line[b] | uchar(word));
        }
    }
    const QBitmap updated = QBitmap::fromImage(std::move(bits));
    if (!updated.isNull())
        canvas->mask() = updated;
}

} // namespace

int pixel_diff(unsigned int a, unsigned int b)
{
    return colour_distance(a, b);
}

// The positions given go first, as they would leave the pixel queue before
// any neighbour; pixels already marked as queued are never queued again.
void flood_fill(unsigned int seed, int tolerance, unsigned char* queued, unsigned char* selected,
                const std::vector<unsigned int*>& rows, std::queue<QPoint>& queue, int width,
                int height)
{
    if (width <= 0 || height <= 0)
        return;
    WordFill fill(seed, tolerance, rows, width, height, queued);
    for (; !queue.empty(); queue.pop())
        fill.start(queue.front());
    fill.run();
    for (int y = 0; y < height; ++y) {
        for (int k = 0; k < fill.wordCount(); ++k) {
            const size_t at = size_t(y) * size_t(width) + size_t(64 * k);
            const int count = std::min(64, width - 64 * k);
            mark_bytes(fill.selected(y, k), selected + at, count);
            mark_bytes(fill.neighbours(y, k), queued + at, count);
        }
    }
}

void MagicWandTool::mousePressEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButton button,
                                    Qt::MouseButtons, Qt::KeyboardModifiers modifiers)
{
    if (button != Qt::LeftButton)
        return;
    QPoint seed;
    if (!nearest_pixel(imagePos, &seed))
        return;
    if (!canvas->image().rect().contains(seed)) {
        log("%d %d outside\n", seed.x(), seed.y());
        return;
    }
    // The fill only reads the picture, so it reads the canvas's own pixels:
    // a private copy would hold the same values.
    const QImage source = canvas->image().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    try {
        std::vector<unsigned int*> rows(size_t(source.height()));
        for (int y = 0; y < source.height(); ++y)
            rows[size_t(y)] = const_cast<unsigned int*>(
                reinterpret_cast<const unsigned int*>(source.constScanLine(y)));
        WordFill fill(rows[size_t(seed.y())][seed.x()], tolerance, rows, source.width(),
                      source.height(), nullptr);
        fill.start(seed);
        fill.run();
        subtract = begin_selection(canvas, modifiers);
        apply_to_mask(canvas, fill, subtract != 0);
    } catch (const std::bad_alloc&) {
        // Out of memory for the fill's tables the click leaves the selection.
        return;
    }
    canvas->updateAll();
}

void MagicWandTool::keyPressEvent(int, const QString& text, Qt::KeyboardModifiers)
{
    if (text == QLatin1String("["))
        tolerance = std::max(tolerance - 1, 0);
    else if (text == QLatin1String("]"))
        ++tolerance;
}

void MagicWandTool::activeEvent(bool active)
{
    show_selection_tool(
        canvas, mainWindow, active,
        QStringLiteral(
            "Press Shift or Alt to add and subtract selection, [ and ] to change tolerance"));
}

void MagicWandTool::paintEvent(QPainter*) {}
