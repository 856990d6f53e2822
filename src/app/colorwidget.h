// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QWidget>

// The swatch that holds the drawing colour; a left click opens a colour dialog.
class ColorWidget : public QWidget
{
    Q_OBJECT

public:
    explicit ColorWidget(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~ColorWidget() override;

    void setColor(const QColor& color);
    QColor color() const;

signals:
    void colorChanged(QColor color);

protected:
    void mousePressEvent(QMouseEvent* e) override;
    void paintEvent(QPaintEvent* e) override;

protected:
    QColor currentColor;
};
