// SPDX-License-Identifier: MIT
#pragma once

#include <QBitmap>
#include <QImage>
#include <QRegion>

#include "tools/tool.h"

class QColor;

// The brush image: the set pixels of shape filled with color on a transparent
// ground, smoothly scaled to a 2*size square. Shared with the Zarnelate filter.
QImage create_brush(const QBitmap& shape, const QColor& color, int size);

// The part of a selection's clip region that lies inside area. Painting
// tools clip with it instead of the whole selection: the raster engine sizes
// its clip buffer by the region's rectangle count times its height, which for
// a noisy selection of a large picture overflows, and for any selection costs
// far more than the stamp itself. Shared with the text tool.
QRegion region_within(const QRegion& region, const QRect& area);

// Paints with the mushroom silhouette, one stamp per press and per move.
class BrushTool : public Tool
{
public:
    BrushTool();

    void mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                         Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                           Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButtons buttons,
                        Qt::KeyboardModifiers modifiers) override;
    void keyPressEvent(int key, const QString& text, Qt::KeyboardModifiers modifiers) override;
    void activeEvent(bool active) override;
    void paintEvent(QPainter* painter) override;

    void draw(const QPointF& p);
    void resize(int steps);
    void setOpacity(int percent);

    int brushSize() const { return size; }
    int brushOpacity() const { return opacity; }

protected:
    int size = 15;
    int opacity = 100;
    QBitmap shape;
};
