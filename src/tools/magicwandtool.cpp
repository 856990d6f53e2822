// SPDX-License-Identifier: MIT
#include "tools/magicwandtool.h"

#include <QBitmap>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#ifdef __linux__
#include <sys/mman.h>
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

// Kept inline here: the fill calls it once per pixel.
inline int colour_distance(unsigned int a, unsigned int b)
{
    return channel_diff(a, b, 16) + channel_diff(a, b, 8) + channel_diff(a, b, 0);
}

// The fill's frontier is kept as runs: unbroken horizontal stretches of
// selected pixels in one row, found and queued together.
struct Run
{
    int y;
    int first;
    int last;
};

// What the fill reads and writes, handed to its helpers as one.
struct FillState
{
    unsigned int seed;
    int tolerance;
    unsigned char* queued;
    unsigned char* selected;
    const std::vector<unsigned int*>& rows;
    int width;
    int height;
    std::deque<Run> runs;

    // Compared with the seed, not with the neighbour we came from, so a
    // gradient cannot lead the region arbitrarily far away.
    bool joins(int x, int y) const
    {
        return colour_distance(seed, rows[size_t(y)][x]) <= tolerance;
    }
    unsigned char* queuedRow(int y) const { return queued + size_t(y) * size_t(width); }
    unsigned char* selectedRow(int y) const { return selected + size_t(y) * size_t(width); }
};

// From the selected pixel (x, y) outward along its row, over unqueued pixels
// that join. Every pixel tested is a neighbour of a selected one and is
// marked, so the run's two row neighbours end up queued as the per-pixel
// visit would leave them.
Run grow_run(const FillState& fill, int x, int y)
{
    unsigned char* queued = fill.queuedRow(y);
    unsigned char* selected = fill.selectedRow(y);
    int first = x;
    while (first > 0 && !queued[first - 1]) {
        queued[first - 1] = 1;
        if (!fill.joins(first - 1, y))
            break;
        selected[--first] = 1;
    }
    int last = x;
    while (last < fill.width - 1 && !queued[last + 1]) {
        queued[last + 1] = 1;
        if (!fill.joins(last + 1, y))
            break;
        selected[++last] = 1;
    }
    return {y, first, last};
}

// Visits the pixels from..to of row y, the neighbours in that row of a run
// above or below: each unqueued one is marked and tested, and each that joins
// starts a new run at the back of the queue.
void visit_row(FillState& fill, int y, int from, int to)
{
    unsigned char* queued = fill.queuedRow(y);
    int x = from;
    while (x <= to) {
        // Most of these bytes are already marked; memchr skips them in bulk.
        const void* unmarked = std::memchr(queued + x, 0, size_t(to - x + 1));
        if (!unmarked)
            return;
        x = int(static_cast<const unsigned char*>(unmarked) - queued);
        queued[x] = 1;
        if (!fill.joins(x, y)) {
            ++x;
            continue;
        }
        fill.selectedRow(y)[x] = 1;
        const Run run = grow_run(fill, x, y);
        fill.runs.push_back(run);
        x = run.last + 2; // run.last + 1 is marked now
    }
}

// A starting position joins like any other pixel but is not marked itself
// unless a neighbour that joins marks it, as when it is taken from the queue.
void start_run(FillState& fill, const QPoint& p)
{
    if (!fill.joins(p.x(), p.y()))
        return;
    fill.selectedRow(p.y())[p.x()] = 1;
    const Run run = grow_run(fill, p.x(), p.y());
    if (run.first < run.last)
        fill.queuedRow(p.y())[p.x()] = 1;
    fill.runs.push_back(run);
}

// Zeroed working memory of one click. calloc hands blocks this large over
// straight from the kernel without a clearing pass. Huge pages matter: with
// 4 KiB pages the first touch of the 150 MB of a 24-megapixel click took a
// page fault every 4 KiB, a third more time for the whole click.
class WorkBuffer
{
public:
    explicit WorkBuffer(size_t bytes)
        : memory(static_cast<unsigned char*>(std::calloc(std::max<size_t>(bytes, 1), 1)))
    {
#ifdef __linux__
        constexpr uintptr_t hugePage = uintptr_t(2) << 20;
        const uintptr_t first = (uintptr_t(memory) + hugePage - 1) & ~(hugePage - 1);
        const uintptr_t last = (uintptr_t(memory) + bytes) & ~(hugePage - 1);
        if (memory && last > first)
            madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#endif
    }
    ~WorkBuffer()
    {
        std::free(memory);
    }
    WorkBuffer(const WorkBuffer&) = delete;
    WorkBuffer& operator=(const WorkBuffer&) = delete;

    unsigned char* data() const
    {
        return memory;
    }

private:
    unsigned char* memory;
};

// Sets (or clears) the bit of every pixel whose byte is 1 in one row of a
// least significant bit first one-bit image; other bits, and the padding
// after the row's last pixel, are left alone.
void apply_row(const unsigned char* selected, uchar* bits, int width, bool clear)
{
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        uint64_t bytes;
        std::memcpy(&bytes, selected + x, sizeof bytes);
        // Gathers the low bit of each of the eight 0/1 bytes into one byte:
        // byte i lands in bit 56 + i, and no two partial products overlap.
        const uchar gathered = uchar((bytes * 0x0102040810204080ull) >> 56);
        uchar& target = bits[x >> 3];
        target = clear ? uchar(target & ~gathered) : uchar(target | gathered);
    }
    for (; x < width; ++x) {
        if (!selected[x])
            continue;
        const uchar bit = uchar(1u << (x & 7));
        uchar& target = bits[x >> 3];
        target = clear ? uchar(target & ~bit) : uchar(target | bit);
    }
}

} // namespace

int pixel_diff(unsigned int a, unsigned int b)
{
    return colour_distance(a, b);
}

// Breadth-first over runs of pixels instead of single pixels. Which pixels
// end up selected and queued does not depend on the order of the visits:
// selected are the pixels that join and are linked to a start through
// joining pixels, queued are the in-image neighbours of the selected ones.
// Visiting a whole run at a time gives the same two arrays as the pixel by
// pixel queue, with row-wise memory access instead of a jump to another row
// for nearly every pixel of the frontier's sides, and a queue of a few runs
// per row of the frontier. The debug line counts runs.
void flood_fill(unsigned int seed, int tolerance, unsigned char* queued, unsigned char* selected,
                const std::vector<unsigned int*>& rows, std::queue<QPoint>& queue, int width,
                int height)
{
    FillState fill{seed, tolerance, queued, selected, rows, width, height, {}};
    // The given positions go first, as they would leave the pixel queue
    // before any neighbour; the queue is left empty.
    for (; !queue.empty(); queue.pop())
        start_run(fill, queue.front());
    while (!fill.runs.empty()) {
        log("queue: %u\n", unsigned(fill.runs.size()));
        const Run run = fill.runs.front();
        fill.runs.pop_front();
        const int from = std::max(run.first - 1, 0);
        const int to = std::min(run.last + 1, width - 1);
        if (run.y > 0)
            visit_row(fill, run.y - 1, from, to);
        if (run.y < height - 1)
            visit_row(fill, run.y + 1, from, to);
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
    subtract = begin_selection(canvas, modifiers);
    const QSize size = canvas->image().size();
    {
        // Freed at the end of this block, before the repaint.
        WorkBuffer selected(size_t(size.width()) * size_t(size.height()));
        if (selected.data()) {
            fillRegion(seed, selected.data());
            applyToMask(selected.data(), size);
        }
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

void MagicWandTool::fillRegion(const QPoint& seed, unsigned char* selected) const
{
    // A shallow handle: the pixels are copied into the fill's own buffer below.
    const QImage source = canvas->image().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int width = source.width();
    const int height = source.height();
    const size_t count = size_t(width) * size_t(height);
    WorkBuffer pixels(count * sizeof(unsigned int));
    WorkBuffer queued(count);
    if (!pixels.data() || !queued.data())
        return;
    std::vector<unsigned int*> rows(static_cast<size_t>(height));
    for (int y = 0; y < height; ++y) {
        rows[size_t(y)] = reinterpret_cast<unsigned int*>(pixels.data()) + size_t(y) * width;
        std::memcpy(rows[size_t(y)], source.constScanLine(y), size_t(width) * sizeof(unsigned int));
    }

    // The seed is queued unmarked; it may come round once more as a neighbour.
    std::queue<QPoint> queue;
    queue.push(seed);
    flood_fill(rows[size_t(seed.y())][seed.x()], tolerance, queued.data(), selected, rows, queue,
               width, height);
}

void MagicWandTool::applyToMask(unsigned char* selected, const QSize& size)
{
    // Written bit by bit into the mask's one-bit image: drawing the bytes as
    // an indexed image through a painter converted all of them to 32 bits.
    QImage bits = canvas->mask().toImage().convertToFormat(QImage::Format_MonoLSB);
    const int width = std::min(size.width(), bits.width());
    const int height = std::min(size.height(), bits.height());
    for (int y = 0; y < height; ++y)
        apply_row(selected + size_t(y) * size_t(size.width()), bits.scanLine(y), width,
                  subtract != 0);
    canvas->mask() = QBitmap::fromImage(std::move(bits));
}
