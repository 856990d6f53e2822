// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QRect>

#include "tools/tool.h"

class QColor;

// Stamps the word "Zarn" with the left end of its baseline at the click.
class TextTool : public Tool
{
public:
    TextTool();

    void mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button,
                         Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) override;
    void keyPressEvent(int key, const QString& text, Qt::KeyboardModifiers modifiers) override;
    void activeEvent(bool active) override;
    void paintEvent(QPainter* painter) override;

    void draw(QPainter* painter, const QPointF& p, double opacity, const QColor& color);
    void draw(const QPointF& p);
    void resize(int steps);
    void setOpacity(int percent);

    QFont textFont() const { return font; }
    int textOpacity() const { return opacity; }

protected:
    QFont font;
    int opacity = 100;

private:
    void chooseFont();
    QRect wordArea(const QPointF& p);
};
