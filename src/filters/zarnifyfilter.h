// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QRgb>

#include "filters/filter.h"

// One pixel through the hue shift and saturation/value curves, with the HSV
// conversion computed exactly as the classic 16-bit QColor did it. The result
// is opaque; greys keep their channels.
QRgb zarnify_pixel(QRgb pixel, int value);

// The whole image in place, row by row; false when progress cancelled.
// Bit-identical to zarnify_pixel on every pixel.
bool zarnify_image(QImage& image, int value, const FilterProgress& progress = {});

// "Zarnify": turns hues and lifts saturation and brightness.
class ZarnifyFilter : public Filter
{
public:
    explicit ZarnifyFilter(QWidget* parent);

    void run(Canvas* canvas, bool repeat) override;

    int currentValue() const { return value; }

protected:
    int value = 25;
};
