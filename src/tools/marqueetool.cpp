// SPDX-License-Identifier: MIT
#include "tools/marqueetool.h"

#include <QBrush>
#include <QCursor>
#include <QPainter>
#include <QPen>
#include <QRectF>

#include "app/mainwindow.h"
#include "canvas/canvas.h"

int begin_selection(Canvas* canvas, Qt::KeyboardModifiers modifiers)
{
    if (!(modifiers & (Qt::ShiftModifier | Qt::AltModifier)))
        canvas->clearMask();
    return (modifiers & Qt::AltModifier) ? 1 : 0;
}

void set_rubber_band(QPainter* painter)
{
    painter->setCompositionMode(QPainter::CompositionMode_Difference);
    painter->setBrush(Qt::NoBrush);
    // Width 0 makes the pen cosmetic: one device pixel whatever the zoom.
    painter->setPen(QPen(QBrush(Qt::white), 0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
}

void show_selection_tool(Canvas* canvas, MainWindow* mainWindow, bool active, const QString& hint)
{
    if (active) {
        canvas->pushCursor(QCursor(Qt::CrossCursor));
        mainWindow->setStatus(hint);
    } else {
        canvas->popCursor();
        mainWindow->setStatus(QString());
    }
}

void MarqueeTool::mousePressEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButton button,
                                  Qt::MouseButtons, Qt::KeyboardModifiers modifiers)
{
    if (button != Qt::LeftButton)
        return;
    subtract = begin_selection(canvas, modifiers);
    dragging = true;
    start = imagePos;
    end = imagePos;
}

void MarqueeTool::mouseReleaseEvent(const QPoint&, const QPointF&, Qt::MouseButton button,
                                    Qt::MouseButtons, Qt::KeyboardModifiers)
{
    if (!dragging || button != Qt::LeftButton)
        return;
    dragging = false;
    // The release position is deliberately ignored: the rectangle is what the
    // rubber band showed, which ends at the last move.
    QPainter painter(&canvas->mask());
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillRect(dragRect(), subtract ? Qt::color0 : Qt::color1);
    painter.end();
    canvas->updateAll();
}

void MarqueeTool::mouseMoveEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButtons,
                                 Qt::KeyboardModifiers)
{
    if (!dragging)
        return;
    end = imagePos;
    canvas->update();
}

void MarqueeTool::activeEvent(bool active)
{
    show_selection_tool(canvas, mainWindow, active,
                        QStringLiteral("Press Shift or Alt to add and subtract selection"));
}

void MarqueeTool::paintEvent(QPainter* painter)
{
    if (!dragging)
        return;
    set_rubber_band(painter);
    const QRectF rect = dragRect();
    painter->drawRects(&rect, 1);
}

QRectF MarqueeTool::dragRect() const
{
    // A drag up or to the left has a negative extent; painting normalises it.
    return QRectF(start, QSizeF(end.x() - start.x(), end.y() - start.y()));
}
