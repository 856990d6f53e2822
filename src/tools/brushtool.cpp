// SPDX-License-Identifier: MIT
#include "tools/brushtool.h"

#include <QColor>
#include <QCursor>
#include <QPainter>
#include <QRegion>
#include <algorithm>
#include <cmath>
#include <vector>

#include "app/log.h"
#include "app/mainwindow.h"
#include "canvas/canvas.h"

namespace {

constexpr int smallestSize = 1;
constexpr int largestSize = 256;

// The step of "[" from a size: each boundary size belongs to the smaller step.
int step_down(int size)
{
    if (size <= 15)
        return 1;
    if (size <= 50)
        return 5;
    if (size <= 100)
        return 10;
    if (size <= 200)
        return 25;
    return 50;
}

// The step of "]" from a size: each boundary size belongs to the larger step.
int step_up(int size)
{
    if (size < 15)
        return 1;
    if (size < 50)
        return 5;
    if (size < 100)
        return 10;
    if (size < 200)
        return 25;
    return 50;
}

} // namespace

QImage create_brush(const QBitmap& shape, const QColor& color, int size)
{
    QImage image(shape.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(0);
    QPainter painter(&image);
    painter.setClipRegion(QRegion(shape), Qt::ReplaceClip);
    painter.fillRect(QRect(0, 0, image.width(), image.height()), color);
    painter.end();
    return image.scaled(2 * size, 2 * size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QRegion region_within(const QRegion& region, const QRect& area)
{
    // Rectangles come in horizontal bands from top to bottom, each band's
    // from left to right, so both searches can halve their way in.
    const QRect* band = std::lower_bound(region.begin(), region.end(), area.top(),
                                         [](const QRect& r, int top) { return r.bottom() < top; });
    std::vector<QRect> kept;
    while (band != region.end() && band->top() <= area.bottom()) {
        const int top = band->top();
        const QRect* bandEnd = std::partition_point(
            band, region.end(), [top](const QRect& r) { return r.top() == top; });
        const QRect* r = std::lower_bound(
            band, bandEnd, area.left(), [](const QRect& r, int left) { return r.right() < left; });
        for (; r != bandEnd && r->left() <= area.right(); ++r)
            kept.push_back(*r & area);
        band = bandEnd;
    }
    QRegion within;
    within.setRects(kept.data(), int(kept.size()));
    return within;
}

BrushTool::BrushTool()
{
    // Loading into a bitmap turns the dark pixels of the artwork into set bits.
    shape.load(QStringLiteral(":/data/zarn_bitmap.png"));
}

void BrushTool::mousePressEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButton button,
                                Qt::MouseButtons, Qt::KeyboardModifiers)
{
    if (button != Qt::LeftButton)
        return;
    canvas->undoSnapshot();
    if (canvas->canDraw())
        draw(imagePos);
}

void BrushTool::mouseReleaseEvent(const QPoint&, const QPointF&, Qt::MouseButton, Qt::MouseButtons,
                                  Qt::KeyboardModifiers)
{
}

void BrushTool::mouseMoveEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButtons buttons,
                               Qt::KeyboardModifiers)
{
    if ((buttons & Qt::LeftButton) && canvas->canDraw())
        draw(imagePos);
}

void BrushTool::keyPressEvent(int, const QString& text, Qt::KeyboardModifiers)
{
    if (text == QLatin1String("["))
        resize(-1);
    else if (text == QLatin1String("]"))
        resize(1);
    bool isNumber = false;
    const int digit = text.toInt(&isNumber, 10);
    if (isNumber)
        setOpacity(digit == 0 ? 100 : digit * 10);
}

void BrushTool::activeEvent(bool active)
{
    log("BrushTool %s\n", active ? "active" : "inactive");
    if (active) {
        canvas->pushCursor(QCursor(Qt::BlankCursor));
        mainWindow->setStatus(QStringLiteral("Resize brush with [ and ]"));
    } else {
        canvas->popCursor();
        mainWindow->setStatus(QString());
    }
}

void BrushTool::paintEvent(QPainter* painter)
{
    const QImage brush = create_brush(shape, Qt::white, size);
    painter->setCompositionMode(QPainter::CompositionMode_Difference);
    painter->setBrush(Qt::NoBrush);
    painter->drawImage(QPointF(imagePos.x() - size, imagePos.y() - size), brush);
}

void BrushTool::draw(const QPointF& p)
{
    const QImage brush = create_brush(shape, mainWindow->drawColor(), size);
    const QRectF stamp(p.x() - size, p.y() - size, brush.width(), brush.height());
    // At an absurd zoom the pointer maps to no finite point, or to one so far
    // off that its pixel rectangle overflows an int: such a stamp paints
    // nothing anyway.
    if (!std::isfinite(p.x()) || !std::isfinite(p.y()) ||
        !stamp.intersects(QRectF(canvas->image().rect()))) {
        canvas->update();
        return;
    }
    QPainter painter(&canvas->image());
    if (!canvas->isMaskEmpty()) {
        // One pixel of slack around the stamp covers how it snaps to pixels.
        const QRect reach = stamp.toAlignedRect().adjusted(-1, -1, 1, 1);
        painter.setClipRegion(region_within(canvas->maskRegion(), reach), Qt::ReplaceClip);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(opacity / 100.0);
    painter.drawImage(stamp.topLeft(), brush);
    painter.end();
    canvas->update();
}

void BrushTool::resize(int steps)
{
    const int step = steps < 0 ? step_down(size) : step_up(size);
    size = std::clamp(size + steps * step, smallestSize, largestSize);
    if (canvas)
        canvas->update();
}

void BrushTool::setOpacity(int percent)
{
    opacity = percent;
}
