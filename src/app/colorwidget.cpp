// SPDX-License-Identifier: MIT
#include "app/colorwidget.h"

#include <QColorDialog>
#include <QMouseEvent>
#include <QPainter>

ColorWidget::ColorWidget(QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags)
{
    setColor(Qt::darkGreen);
    setMaximumSize(64, 64);
}

ColorWidget::~ColorWidget() = default;

void ColorWidget::setColor(const QColor& color)
{
    // Emits even when nothing changed: listeners may rely on every pick.
    currentColor = color;
    emit colorChanged(currentColor);
    update();
}

QColor ColorWidget::color() const
{
    return currentColor;
}

void ColorWidget::mousePressEvent(QMouseEvent* e)
{
    if (e->button() != Qt::LeftButton)
        return;
    const QColor picked = QColorDialog::getColor(currentColor, this, "Select Color", {});
    if (picked.isValid())
        setColor(picked);
}

void ColorWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), currentColor);
}
