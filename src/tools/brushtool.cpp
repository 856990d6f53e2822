// SPDX-License-Identifier: MIT
#include "tools/brushtool.h"

#include <QColor>
#include <QCursor>
#include <QPainter>
#include <QRegion>
#include <algorithm>
#include <cmath>
#include <utility>

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

// The stamp's top-left pixel: halves round up, also left of and above the
// picture, where the raster engine would round a fractional position away
// from zero. False when the pointer maps to no point or to one so far off
// that the stamp's rectangle would overflow an int.
bool stamp_corner(const QPointF& p, int size, QPoint* corner)
{
    constexpr double farOff = 1e9;
    const double x = std::floor(p.x() - size + 0.5);
    const double y = std::floor(p.y() - size + 0.5);
    if (!(std::fabs(x) < farOff && std::fabs(y) < farOff))
        return false;
    *corner = QPoint(int(x), int(y));
    return true;
}

// Gives every pixel of image whose bit is set in bits the value pixel.
void fill_set_pixels(QImage& image, const QImage& bits, QRgb pixel)
{
    const int width = std::min(image.width(), bits.width());
    const int height = std::min(image.height(), bits.height());
    for (int y = 0; y < height; ++y) {
        const uchar* line = bits.constScanLine(y);
        auto* target = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            // Whole bytes of ground are common: skip them at once.
            if ((x & 7) == 0 && line[x >> 3] == 0 && x + 8 <= width) {
                x += 7;
                continue;
            }
            if ((line[x >> 3] >> (x & 7)) & 1)
                target[x] = pixel;
        }
    }
}

} // namespace

QImage create_brush(const QBitmap& shape, const QColor& color, int size)
{
    QImage image(shape.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(0);
    if (color.alpha() == 255) {
        // An opaque colour fills as its own value: set the silhouette's pixels
        // straight away, sparing the painter, its clip region and its fill.
        fill_set_pixels(image, selected_bits(shape), color.rgba());
    } else {
        QPainter painter(&image);
        painter.setClipRegion(QRegion(shape), Qt::ReplaceClip);
        painter.fillRect(QRect(0, 0, image.width(), image.height()), color);
    }
    return image.scaled(2 * size, 2 * size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

void restore_unselected(QImage& image, const QImage& before, const QRect& area,
                        const QImage& selection)
{
    // Beyond the mask (it always has the picture's size) nothing is selected.
    const QRect selectable = area & selection.rect();
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const auto* saved = reinterpret_cast<const QRgb*>(before.constScanLine(y - area.top()));
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y)) + area.left();
        if (y < selectable.top() || y > selectable.bottom()) {
            std::copy(saved, saved + area.width(), line);
            continue;
        }
        const uchar* bits = selection.constScanLine(y);
        for (int i = 0; i < area.width(); ++i) {
            const int x = area.left() + i;
            const bool selected = x <= selectable.right() && ((bits[x >> 3] >> (x & 7)) & 1);
            // Without a branch: in a noisy selection it would be a coin toss.
            const QRgb keep = selected ? ~QRgb(0) : QRgb(0);
            line[i] = (line[i] & keep) | (saved[i] & ~keep);
        }
    }
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
    canvas->update();
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
    QImage& image = canvas->image();
    QPoint corner;
    const QRect area =
        stamp_corner(p, size, &corner) ? QRect(corner, brush.size()) & image.rect() : QRect();
    if (area.isEmpty()) {
        canvas->update();
        return;
    }
    const bool clipped = !canvas->isMaskEmpty();
    const QImage before = clipped ? image.copy(area) : QImage();
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setOpacity(opacity / 100.0);
        painter.drawImage(corner, brush);
    }
    if (clipped)
        restore_unselected(image, before, area, canvas->selectionBits());
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
