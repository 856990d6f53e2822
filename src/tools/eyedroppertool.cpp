// SPDX-License-Identifier: MIT
#include "tools/eyedroppertool.h"

#include <QColor>
#include <QCursor>
#include <QImage>

#include "app/mainwindow.h"
#include "canvas/canvas.h"

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
