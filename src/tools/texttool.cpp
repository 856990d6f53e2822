// SPDX-License-Identifier: MIT
#include "tools/texttool.h"

#include <QColor>
#include <QFontDialog>
#include <QFontMetricsF>
#include <QPainter>
#include <cmath>
#include <utility>

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
    QImage& image = canvas->image();
    const bool clipped = !canvas->isMaskEmpty();
    const QRect area = clipped ? wordArea(p) : QRect();
    const QImage before = clipped ? image.copy(area) : QImage();
    {
        QPainter painter(&image);
        // Only a safety net: the area holds all that the word can touch.
        if (clipped)
            painter.setClipRect(area);
        draw(&painter, p, opacity / 100.0, mainWindow->drawColor());
    }
    if (clipped)
        restore_unselected(image, before, area, canvas->selectionBits());
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
    // Measured on the image, whose resolution turns points into pixels. The
    // ink box leaves out an underline, overline or strike-out, which run over
    // the advance within the line's height; a line's height of margin on
    // every side covers those and antialiased edges with room to spare.
    const QFontMetricsF metrics(font, &canvas->image());
    const QString word = QStringLiteral("Zarn");
    const QRectF line(0, -metrics.ascent(), metrics.horizontalAdvance(word), metrics.height());
    const qreal margin = metrics.height();
    const QRectF reach = (metrics.boundingRect(word) | line)
                             .adjusted(-margin, -margin, margin, margin)
                             .translated(p);
    // Only the part on the picture matters; far off it (an absurd zoom) the
    // word's pixel rectangle would overflow an int.
    const QRectF picture(canvas->image().rect());
    if (!reach.intersects(picture))
        return QRect();
    return (reach & picture).toAlignedRect() & canvas->image().rect();
}

void TextTool::chooseFont()
{
    bool accepted = false;
    const QFont chosen =
        QFontDialog::getFont(&accepted, font, canvas, QStringLiteral("Select Font"));
    if (accepted)
        font = chosen;
}
