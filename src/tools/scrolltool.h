// SPDX-License-Identifier: MIT
#pragma once

#include "tools/tool.h"

// The hand tool that the canvas pushes while Space is held: drag to pan.
class ScrollTool : public Tool
{
public:
    ScrollTool() = default;

    void mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                         Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos,
                           Qt::MouseButton button, Qt::MouseButtons buttons,
                           Qt::KeyboardModifiers modifiers) override;
    void mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButtons buttons,
                        Qt::KeyboardModifiers modifiers) override;
    void activeEvent(bool active) override;

protected:
    QPoint anchor;

private:
    // Set while the closed hand on the canvas's cursor stack is one this
    // activation pushed at a left press, so a release never pops a stranger's.
    bool closedHandPushed = false;
};
