// SPDX-License-Identifier: MIT
#include "tools/eyedroppertool.h"

#include <QColor>
#include <QCursor>
#include <QImage>
#include <climits>
#include <cmath>

#include "app/mainwindow.h"
#include "canvas/canvas.h"

namespace {

// Halves round upward on both sides of zero, so x = -0.5 still hits column 0;
// qRound would send it to -1. False when the point is beyond any int.
bool nearest_pixel(const QPointF& p, QPoint* pixel)
{
    const double x = std::floor(p.x() + 0.5);
    const double y = std::floor(p.y() + 0.5);
    if (!(std::fabs(x) < INT_MAX && std::fabs(y) < INT_MAX))
        return false;
    *pixel = QPoint(int(x), int(y));
    return true;
}

} // namespace

void EyeDropperTool::mousePressEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButton button,
                                     Qt::MouseButtons, Qt::KeyboardModifiers)
{
    if (button != Qt::LeftButton)
        return;
    QPoint pixel;
    const QImage& image = canvas->image();
    if (!nearest_pixel(imagePos, &pixel) || !image.valid(pixel))
        return;
    // The stored value is premultiplied; QColor(QRgb) drops the alpha, so a
    // half-transparent pixel gives its darker, opaque premultiplied colour.
    mainWindow->setDrawColor(QColor(QRgb(image.pixel(pixel))));
}

void EyeDropperTool::activeEvent(bool active)
{
    if (active)
        canvas->pushCursor(QCursor(Qt::CrossCursor));
    else
        canvas->popCursor();
}
