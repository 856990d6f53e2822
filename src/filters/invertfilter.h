// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>

#include "filters/filter.h"

// Replaces red, green and blue of every 32-bit pixel by 255 minus their byte
// value, alpha untouched (also for premultiplied pixels).
void invert_pixels(QImage& image);

// "Zarnert": inverts the colours inside the selection.
class InvertFilter : public Filter
{
public:
    explicit InvertFilter(QWidget* parent);

    void run(Canvas* canvas, bool repeat) override;
};
