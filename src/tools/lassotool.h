// SPDX-License-Identifier: MIT
#pragma once

#include <QPointF>
#include <vector>

#include "tools/tool.h"

// Selects a free-hand polygon by a left-button drag; Shift adds, Alt subtracts.
class LassoTool : public Tool
{
public:
    LassoTool();

    void mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                         Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                           Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButtons buttons,
                        Qt::KeyboardModifiers modifiers) override;
    void activeEvent(bool active) override;
    void paintEvent(QPainter* painter) override;

    bool isDragging() const { return dragging; }

protected:
    bool dragging = false;
    int subtract = 0;
    std::vector<QPointF> points;

private:
    void fillPolygon();
};
