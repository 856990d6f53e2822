// SPDX-License-Identifier: MIT
// The canvas's view: the rectangle of the picture that the widget shows, and
// the mappings between widget and picture positions.
#include <QResizeEvent>
#include <algorithm>
#include <cmath>

#include "canvas/canvas.h"

namespace {

// Far beyond any widget, yet safe to turn into an int, also as the sum of a
// position and a size (QRect adds them for its right and bottom edges).
constexpr double kCoordinateLimit = 1 << 29;

// Halves go up, toward positive infinity (qRound would take -0.5 to -1).
int round_half_up(double value)
{
    if (std::isnan(value))
        return 0;
    return int(std::floor(std::clamp(value, -kCoordinateLimit, kCoordinateLimit) + 0.5));
}

// A zero divisor (a widget or view without size) maps everything to the
// origin instead of producing infinities.
double ratio(double numerator, double denominator)
{
    return denominator == 0.0 ? 0.0 : numerator / denominator;
}

} // namespace

QPointF Canvas::widgetToImage(const QPoint& p) const
{
    return QPointF(view.x() + ratio(p.x(), width()) * view.width(),
                   view.y() + ratio(p.y(), height()) * view.height());
}

QPointF Canvas::widgetToImage(int x, int y) const
{
    return widgetToImage(QPoint(x, y));
}

QPointF Canvas::imageToWidget(const QPoint& p) const
{
    return QPointF(ratio(double(width()) * (p.x() - view.x()), view.width()),
                   ratio(double(height()) * (p.y() - view.y()), view.height()));
}

QPointF Canvas::imageToWidget(int x, int y) const
{
    return imageToWidget(QPoint(x, y));
}

QPointF Canvas::center() const
{
    return QPointF(view.x() + 0.5 * view.width(), view.y() + 0.5 * view.height());
}

void Canvas::setCenter(const QPointF& c)
{
    const QPointF current = center();
    view.moveTo(view.x() + c.x() - current.x(), view.y() + c.y() - current.y());
    viewChanged();
}

void Canvas::translate(double dx, double dy)
{
    view.moveTo(view.x() + std::trunc(dx), view.y() + std::trunc(dy));
    viewChanged();
}

void Canvas::translate(const QPointF& d)
{
    view.moveTo(view.x() + d.x(), view.y() + d.y());
    viewChanged();
}

void Canvas::zoom(double factor)
{
    const QPointF c = center();
    const double newWidth = ratio(view.width(), factor);
    // Without a widget size there is no aspect ratio to follow.
    const double newHeight =
        width() > 0 ? newWidth * height() / width() : ratio(view.height(), factor);
    const double left = c.x() - 0.5 * newWidth;
    const double top = c.y() - 0.5 * newHeight;
    view = QRectF(left, top, (c.x() + 0.5 * newWidth) - left, (c.y() + 0.5 * newHeight) - top);
    viewChanged();
}

void Canvas::resetView()
{
    view = QRectF(0, 0, width(), height());
    const QPointF middle = widgetToImage(QPoint(width() / 2, height() / 2));
    view.moveTo(view.x() + documentImage.width() / 2 - middle.x(),
                view.y() + documentImage.height() / 2 - middle.y());
    viewChanged();
}

void Canvas::resizeEvent(QResizeEvent* e)
{
    // A widget's first resize reports no previous size: there is no
    // magnification to keep yet.
    const QSize old = e->oldSize();
    if (old.width() > 0 && old.height() > 0) {
        view.setWidth(view.width() * e->size().width() / old.width());
        view.setHeight(view.height() * e->size().height() / old.height());
    }
    viewChanged();
}

double Canvas::screenToImage(double d)
{
    return ratio(d * view.width(), documentImage.width());
}

QRect Canvas::inverseView() const
{
    const QPointF topLeft = imageToWidget(QPoint(0, 0));
    const QPointF bottomRight =
        imageToWidget(QPoint(documentImage.width(), documentImage.height()));
    return QRect(QPoint(round_half_up(topLeft.x()), round_half_up(topLeft.y())),
                 QPoint(round_half_up(bottomRight.x()), round_half_up(bottomRight.y())));
}

void Canvas::viewChanged()
{
    updateMousePos();
    outlineDirty = true;
    update();
}

QRect Canvas::roundedView() const
{
    return QRect(round_half_up(view.x()), round_half_up(view.y()), round_half_up(view.width()),
                 round_half_up(view.height()));
}
