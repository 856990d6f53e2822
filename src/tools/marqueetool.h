// SPDX-License-Identifier: MIT
#pragma once

#include <QPointF>
#include <QRectF>

#include "tools/tool.h"

class Canvas;
class MainWindow;
class QPainter;
class QString;

// Starts a selection gesture of the marquee, the lasso or the wand: without
// Shift or Alt the old selection goes at once. Returns 1 when the gesture
// subtracts (Alt, which wins over Shift), 0 when it adds.
int begin_selection(Canvas* canvas, Qt::KeyboardModifiers modifiers);

// Sets up painter for a selection tool's rubber band: a one-pixel white line
// at any zoom that shows as the inverse of what lies beneath.
void set_rubber_band(QPainter* painter);

// The cross cursor and the hint of a selection tool while it is active;
// both are taken back when it is deactivated.
void show_selection_tool(Canvas* canvas, MainWindow* mainWindow, bool active, const QString& hint);

// Selects a rectangle by a left-button drag; Shift adds, Alt subtracts.
class MarqueeTool : public Tool
{
public:
    MarqueeTool() = default;

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
    QPointF start;
    QPointF end;
    bool dragging = false;
    int subtract = 0;

private:
    QRectF dragRect() const;
};
