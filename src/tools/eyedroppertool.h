// SPDX-License-Identifier: MIT
#pragma once

#include "tools/tool.h"

// Picks the drawing colour from the one image pixel under a left click.
class EyeDropperTool : public Tool
{
public:
    EyeDropperTool() = default;

    void mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                         Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void activeEvent(bool active) override;
};
