// SPDX-License-Identifier: MIT
#pragma once

#include "tools/tool.h"

// Selects a rectangle by a left-button drag; Shift adds, Alt subtracts.
class MarqueeTool : public Tool
{
public:
    MarqueeTool() = default;

    void mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                         Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos,
                           Qt::MouseButton button, Qt::MouseButtons buttons,
                           Qt::KeyboardModifiers modifiers) override;
    void mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButtons buttons,
                        Qt::KeyboardModifiers modifiers) override;
    void activeEvent(bool active) override;
    void paintEvent(QPainter* painter) override;

    bool isDragging() const { return dragging; }

protected:
    QPointF start;
    QPointF end;
    bool dragging = false;
    int subtract = 0;
};
