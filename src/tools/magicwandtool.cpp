// SPDX-License-Identifier: MIT
#include "tools/magicwandtool.h"

#include <QCursor>
#include <QImage>
#include <QPainter>
#include <climits>
#include <cmath>
#include <cstdlib>

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

// Visiting order of the neighbours: the four edge neighbours, then the corners.
constexpr int neighbourX[8] = {-1, 1, 0, 0, -1, -1, 1, 1};
constexpr int neighbourY[8] = {0, 0, -1, 1, -1, 1, -1, 1};

} // namespace

int pixel_diff(unsigned int a, unsigned int b)
{
    return channel_diff(a, b, 16) + channel_diff(a, b, 8) + channel_diff(a, b, 0);
}

void flood_fill(unsigned int seed, int tolerance, unsigned char* queued, unsigned char* selected,
                const std::vector<unsigned int*>& rows, std::queue<QPoint>& queue, int width,
                int height)
{
    while (!queue.empty()) {
        log("queue: %u\n", unsigned(queue.size()));
        const int px = queue.front().x();
        const int py = queue.front().y();
        queue.pop();
        // Compared with the seed, not with the neighbour we came from, so a
        // gradient cannot lead the region arbitrarily far away.
        if (pixel_diff(seed, rows[py][px]) > tolerance)
            continue;
        selected[size_t(py) * size_t(width) + size_t(px)] = 1;
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
    // The working bytes are freed when applyToMask returns, before the repaint.
    applyToMask(selectRegion(seed), canvas->image().size());
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

std::vector<unsigned char> MagicWandTool::selectRegion(const QPoint& seed) const
{
    // The fill reads its own copy; the first scanLine() call below detaches it.
    QImage copy = canvas->image().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int width = copy.width();
    const int height = copy.height();
    const size_t count = size_t(width) * size_t(height);
    std::vector<unsigned char> selected(count, 0);
    std::vector<unsigned char> queued(count, 0);
    std::vector<unsigned int*> rows(static_cast<size_t>(height));
    for (int y = 0; y < height; ++y)
        rows[size_t(y)] = reinterpret_cast<unsigned int*>(copy.scanLine(y));

    // The seed is queued unmarked; it may come round once more as a neighbour.
    std::queue<QPoint> queue;
    queue.push(seed);
    flood_fill(rows[size_t(seed.y())][seed.x()], tolerance, queued.data(), selected.data(), rows,
               queue, width, height);
    return selected;
}

void MagicWandTool::applyToMask(std::vector<unsigned char> selected, const QSize& size)
{
    // One byte per pixel as an indexed image: index 0 is transparent and
    // leaves the mask alone; index 1 is black (sets bits) or white (clears).
    // The buffer is writable and unshared, so the colour table costs no copy.
    QImage region(selected.data(), size.width(), size.height(), size.width(),
                  QImage::Format_Indexed8);
    region.setColorTable({0x00FFFFFFu, subtract ? 0xFFFFFFFFu : 0xFF000000u});
    QPainter painter(&canvas->mask());
    painter.drawImage(0, 0, region);
}
