// SPDX-License-Identifier: MIT
#include "tools/texttool.h"

#include <QColor>
#include <QFontDialog>
#include <QFontMetricsF>
#include <QPainter>
#include <cmath>

#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "tools/brushtool.h"

TextTool::TextTool()
{
    font.setStyleHint(QFont::SansSerif, QFont::PreferDefault);
    font.setPointSize(72);
}

void TextTool::mousePressEvent(const QPoint&, const QPointF& imagePos, Qt::MouseButton button,
                               Qt::MouseButtons, Qt::KeyboardModifiers)
{
    if (button != Qt::LeftButton)
        return;
    canvas->undoSnapshot();
    if (canvas->canDraw())
        draw(imagePos);
}

void TextTool::keyPressEvent(int, const QString& text, Qt::KeyboardModifiers)
{
    if (text == QLatin1String("[")) {
        resize(-1);
    } else if (text == QLatin1String("]")) {
        resize(1);
    } else if (text == QLatin1String("f")) {
        chooseFont();
    } else {
        bool isNumber = false;
        const int digit = text.toInt(&isNumber, 10);
        if (isNumber)
            setOpacity(digit == 0 ? 100 : digit * 10);
    }
}

void TextTool::activeEvent(bool active)
{
    mainWindow->setStatus(
        active ? QStringLiteral("Resize text with [ and ], press F to select font") : QString());
}

void TextTool::paintEvent(QPainter* painter)
{
    painter->setCompositionMode(QPainter::CompositionMode_Difference);
    draw(painter, imagePos, 1.0, Qt::white);
}

void TextTool::draw(QPainter* painter, const QPointF& p, double opacity, const QColor& color)
{
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setFont(font);
    painter->setOpacity(opacity);
    painter->setPen(color);
    // p is the left end of the baseline: the word rises above it.
    painter->drawText(p, QStringLiteral("Zarn"));
}

void TextTool::draw(const QPointF& p)
{
    // At an absurd zoom the pointer maps to no finite point: nothing to stamp.
    if (!std::isfinite(p.x()) || !std::isfinite(p.y())) {
        canvas->update();
        return;
    }
    QPainter painter(&canvas->image());
    if (!canvas->isMaskEmpty())
        painter.setClipRegion(region_within(canvas->maskRegion(), wordArea(p)), Qt::ReplaceClip);
    draw(&painter, p, opacity / 100.0, mainWindow->drawColor());
    canvas->update();
}

void TextTool::resize(int steps)
{
    // A font refuses sizes of 0 or less and keeps the old one; checking here
    // gives the same result without the toolkit's warning.
    const int points = font.pointSize() + 2 * steps;
    if (points > 0)
        font.setPointSize(points);
    if (canvas)
        canvas->update();
}

void TextTool::setOpacity(int percent)
{
    opacity = percent;
}

QRect TextTool::wordArea(const QPointF& p)
{
    // Measured on the image, whose resolution turns points into pixels; the
    // margin covers antialiased edges.
    const QFontMetricsF metrics(font, &canvas->image());
    const QRectF word = metrics.boundingRect(QStringLiteral("Zarn")).translated(p);
    // Only the part on the picture matters; far off it (an absurd zoom) the
    // word's pixel rectangle would overflow an int.
    const QRectF picture(canvas->image().rect());
    if (!word.intersects(picture))
        return QRect();
    return (word & picture).toAlignedRect().adjusted(-2, -2, 2, 2);
}

void TextTool::chooseFont()
{
    bool accepted = false;
    const QFont chosen =
        QFontDialog::getFont(&accepted, font, canvas, QStringLiteral("Select Font"));
    if (accepted)
        font = chosen;
}
