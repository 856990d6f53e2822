// SPDX-License-Identifier: MIT
#include "tools/lassotool.h"

#include <QBrush>
#include <QPainter>

#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "tools/marqueetool.h"

LassoTool::LassoTool()
{
    // Every move adds a corner; reserving up front keeps a long drag from
    // reallocating while the user draws.
    points.reserve(10000);
}

void LassoTool::mousePressEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButton button,
                                Qt::MouseButtons, Qt::KeyboardModifiers modifiers)
{
    if (button != Qt::LeftButton)
        return;
    subtract = begin_selection(canvas, modifiers);
    points.push_back(imagePos);
    dragging = true;
}

void LassoTool::mouseReleaseEvent(const QPoint&, const QPointF&, Qt::MouseButton button,
                                  Qt::MouseButtons, Qt::KeyboardModifiers)
{
    if (!dragging || button != Qt::LeftButton)
        return;
    dragging = false;
    if (points.size() > 2)
        fillPolygon();
    points.clear();
    canvas->updateAll();
}

void LassoTool::mouseMoveEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButtons,
                               Qt::KeyboardModifiers)
{
    if (!dragging)
        return;
    points.push_back(imagePos);
    canvas->update();
}

void LassoTool::activeEvent(bool active)
{
    show_selection_tool(canvas, mainWindow, active,
                        QStringLiteral("Press Shift or Alt to add and subtract selection"));
}

void LassoTool::paintEvent(QPainter* painter)
{
    if (!dragging || points.size() < 2)
        return;
    set_rubber_band(painter);
    // Open on purpose: the closing edge appears only when the mask is filled.
    painter->drawPolyline(points.data(), int(points.size()));
}

void LassoTool::fillPolygon()
{
    QPainter painter(&canvas->mask());
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QBrush(subtract ? Qt::color0 : Qt::color1, Qt::SolidPattern));
    // Winding fill, so that both loops of a figure eight are selected.
    painter.drawPolygon(points.data(), int(points.size()), Qt::WindingFill);
}
