// SPDX-License-Identifier: MIT
#pragma once

#include <QBitmap>
#include <QImage>

#include "tools/tool.h"

class QColor;

// The brush image: the set pixels of shape filled with color on a transparent
// ground, smoothly scaled to a 2*size square. Shared with the Zarnelate filter.
QImage create_brush(const QBitmap& shape, const QColor& color, int size);

// Clips a drawing to the selection after the fact: every pixel of area whose
// selection bit is clear gets its value from before, a copy of area taken
// before the drawing. Gives the pixels of a painter clipped to the region of
// the set bits, at a cost that follows the area only (a region clip of a
// noisy selection costs Qt its rectangle count times its height). Shared
// with the text tool.
void restore_unselected(QImage& image, const QImage& before, const QRect& area,
                        const QImage& selection);

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
