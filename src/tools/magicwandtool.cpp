// SPDX-License-Identifier: MIT
#include "tools/magicwandtool.h"

#include <QCursor>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <climits>
#include <cmath>
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

// Halves round upward on both sides of zero, so x = -0.4 still hits column 0
// and -0.5 too; qRound would send -0.5 to -1. False when beyond any int.
bool nearest_pixel(const QPointF& p, QPoint* pixel)
{
    const double x = std::floor(p.x() + 0.5);
    const double y = std::floor(p.y() + 0.5);
    if (!(std::fabs(x) < INT_MAX && std::fabs(y) < INT_MAX))
        return false;
    *pixel = QPoint(int(x), int(y));
    return true;
}

int channel_diff(unsigned int a, unsigned int b, int shift)
{
    return std::abs(int((a >> shift) & 0xffu) - int((b >> shift) & 0xffu));
}

// Kept inline here: the fill calls it once per pixel.
inline int colour_distance(unsigned int a, unsigned int b)
{
    return channel_diff(a, b, 16) + channel_diff(a, b, 8) + channel_diff(a, b, 0);
}

// Visiting order of the neighbours: the four edge neighbours, then the corners.
constexpr int neighbourX[8] = {-1, 1, 0, 0, -1, -1, 1, 1};
constexpr int neighbourY[8] = {0, 0, -1, 1, -1, 1, -1, 1};

// How far ahead in the queue the fill asks for memory. The queue runs along
// the region's frontier, so the positions behind its front are exactly what
// the next steps read; on a column of the frontier each one is a new row.
constexpr size_t lookAhead = 32;

// Read access to the queue's pending positions (std::queue hides them).
class QueueView : public std::queue<QPoint>
{
public:
    static const std::deque<QPoint>& pending(const std::queue<QPoint>& queue)
    {
        return queue.*(&QueueView::c);
    }
};

void prefetch_step(const QPoint& p, const unsigned char* queued, const unsigned char* selected,
                   const std::vector<unsigned int*>& rows, int width)
{
    const size_t at = size_t(p.y()) * size_t(width) + size_t(p.x());
    __builtin_prefetch(rows[size_t(p.y())] + p.x());
    __builtin_prefetch(selected + at, 1);
    __builtin_prefetch(queued + at, 1);
    if (p.y() > 0)
        __builtin_prefetch(queued + at - size_t(width), 1);
    if (size_t(p.y()) + 1 < rows.size())
        __builtin_prefetch(queued + at + size_t(width), 1);
}

// Queues the unqueued neighbours of (px, py), any of which may lie outside.
void queue_border_neighbours(int px, int py, unsigned char* queued, std::queue<QPoint>& queue,
                             int width, int height)
{
    for (int i = 0; i < 8; ++i) {
        const int nx = px + neighbourX[i];
        const int ny = py + neighbourY[i];
        if (nx < 0 || ny < 0 || nx >= width || ny >= height)
            continue;
        unsigned char& mark = queued[size_t(ny) * size_t(width) + size_t(nx)];
        if (!mark) {
            // Marked on entry, so a pixel out of tolerance is tested once.
            mark = 1;
            queue.push(QPoint(nx, ny));
        }
    }
}

// The same for a pixel whose eight neighbours all lie inside: most of them.
void queue_inner_neighbours(int px, int py, unsigned char* queued, std::queue<QPoint>& queue,
                            int width)
{
    unsigned char* centre = queued + size_t(py) * size_t(width) + size_t(px);
    for (int i = 0; i < 8; ++i) {
        unsigned char& mark = centre[ptrdiff_t(neighbourY[i]) * width + neighbourX[i]];
        if (!mark) {
            mark = 1;
            queue.push(QPoint(px + neighbourX[i], py + neighbourY[i]));
        }
    }
}

// Zeroed working memory of one click. calloc hands blocks this large over
// straight from the kernel without a clearing pass. Huge pages matter: the
// fill steps from row to row, and with 4 KiB pages nearly every such step
// missed the TLB.
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

} // namespace

int pixel_diff(unsigned int a, unsigned int b)
{
    return colour_distance(a, b);
}

void flood_fill(unsigned int seed, int tolerance, unsigned char* queued, unsigned char* selected,
                const std::vector<unsigned int*>& rows, std::queue<QPoint>& queue, int width,
                int height)
{
    const std::deque<QPoint>& pending = QueueView::pending(queue);
    while (!queue.empty()) {
        log("queue: %u\n", unsigned(queue.size()));
        if (pending.size() > lookAhead)
            prefetch_step(pending[lookAhead], queued, selected, rows, width);
        const int px = queue.front().x();
        const int py = queue.front().y();
        queue.pop();
        // Compared with the seed, not with the neighbour we came from, so a
        // gradient cannot lead the region arbitrarily far away.
        if (colour_distance(seed, rows[size_t(py)][px]) > tolerance)
            continue;
        selected[size_t(py) * size_t(width) + size_t(px)] = 1;
        if (px > 0 && py > 0 && px < width - 1 && py < height - 1)
            queue_inner_neighbours(px, py, queued, queue, width);
        else
            queue_border_neighbours(px, py, queued, queue, width, height);
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
    if (active) {
        canvas->pushCursor(QCursor(Qt::CrossCursor));
        mainWindow->setStatus(QStringLiteral(
            "Press Shift or Alt to add and subtract selection, [ and ] to change tolerance"));
    } else {
        canvas->popCursor();
        mainWindow->setStatus(QString());
    }
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
    // One byte per pixel as an indexed image: index 0 is transparent and
    // leaves the mask alone; index 1 is black (sets bits) or white (clears).
    // The buffer is writable and unshared, so the colour table costs no copy.
    QImage region(selected, size.width(), size.height(), size.width(), QImage::Format_Indexed8);
    region.setColorTable({0x00FFFFFFu, subtract ? 0xFFFFFFFFu : 0xFF000000u});
    QPainter painter(&canvas->mask());
    painter.drawImage(0, 0, region);
}
