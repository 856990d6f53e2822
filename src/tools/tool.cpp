// SPDX-License-Identifier: MIT
#include "tools/tool.h"

#include <climits>
#include <cmath>

#include "canvas/canvas.h"

bool nearest_pixel(const QPointF& p, QPoint* pixel)
{
    const double x = std::floor(p.x() + 0.5);
    const double y = std::floor(p.y() + 0.5);
    if (!(std::fabs(x) < INT_MAX && std::fabs(y) < INT_MAX))
        return false;
    *pixel = QPoint(int(x), int(y));
    return true;
}

Tool::~Tool() = default;

void Tool::mousePressEvent(const QPoint&, const QPointF&, Qt::MouseButton, Qt::MouseButtons,
                           Qt::KeyboardModifiers)
{
}

void Tool::mouseReleaseEvent(const QPoint&, const QPointF&, Qt::MouseButton, Qt::MouseButtons,
                             Qt::KeyboardModifiers)
{
}

void Tool::mouseMoveEvent(const QPoint&, const QPointF&, Qt::MouseButtons, Qt::KeyboardModifiers) {}

void Tool::keyPressEvent(int, const QString&, Qt::KeyboardModifiers) {}

void Tool::keyReleaseEvent(int, const QString&, Qt::KeyboardModifiers) {}

void Tool::activeEvent(bool) {}

void Tool::paintEvent(QPainter*) {}

void Tool::setMainWindow(MainWindow* window)
{
    mainWindow = window;
}

void Tool::setActive(Canvas* target)
{
    canvas = target;
    activeEvent(true);
    canvas->update();
}

void Tool::setInactive()
{
    // The canvas must still be known here so the tool can pop its cursor.
    activeEvent(false);
    if (canvas)
        canvas->update();
    canvas = nullptr;
}

void Tool::setMousePos(const QPoint& widget, const QPointF& image)
{
    widgetPos = widget;
    imagePos = image;
}
