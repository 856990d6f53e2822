// SPDX-License-Identifier: MIT
#include "app/sliderdialog.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>

SliderDialog::SliderDialog(const QString& title, const QString& label, int value, int min, int max,
                           QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags)
{
    build(title, label, value, min, max);
}

SliderDialog::~SliderDialog() = default;

void SliderDialog::build(const QString& title, const QString& label, int value, int min, int max)
{
    setWindowTitle(title);
    auto* caption = new QLabel(label, this);

    slider = new QSlider(Qt::Horizontal, this);
    slider->setRange(min, max);

    // Connected after the range is set and before the value: the number
    // shows only once the slider's value actually changes.
    auto* number = new QLabel(this);
    number->setMinimumWidth(50);
    connect(slider, &QSlider::valueChanged, number, qOverload<int>(&QLabel::setNum));

    auto* ok = new QPushButton("OK", this);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    auto* cancel = new QPushButton("Cancel", this);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto* grid = new QGridLayout(this);
    grid->addWidget(caption, 0, 0);
    grid->addWidget(slider, 0, 1);
    grid->addWidget(number, 0, 2);
    grid->addWidget(ok, 0, 3);
    grid->addWidget(cancel, 1, 3);

    slider->setValue(value);
}

int SliderDialog::value() const
{
    return slider->value();
}
