// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <queue>
#include <vector>

#include "tools/tool.h"

// Colour distance of two 32-bit pixels: the sum of the absolute differences of
// red, green and blue; alpha is ignored.
int pixel_diff(unsigned int a, unsigned int b);

// Breadth-first, 8-connected fill against the seed colour, starting from the
// positions already queued. Fills selected and queued; leaves queue empty.
void flood_fill(unsigned int seed, int tolerance, unsigned char* queued, unsigned char* selected,
                const std::vector<unsigned int*>& rows, std::queue<QPoint>& queue, int width,
                int height);

// Selects the region of like colour around a left click.
class MagicWandTool : public Tool
{
public:
    MagicWandTool() = default;

    void mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                         Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void keyPressEvent(int key, const QString& text, Qt::KeyboardModifiers modifiers) override;
    void activeEvent(bool active) override;
    void paintEvent(QPainter* painter) override;

    int currentTolerance() const { return tolerance; }

protected:
    int subtract = 0;
    int tolerance = 64;
};
