// SPDX-License-Identifier: MIT
#include "filters/invertfilter.h"

#include <QRgb>

#include "canvas/canvas.h"

void invert_pixels(QImage& image)
{
    if (image.depth() != 32)
        image.convertTo(QImage::Format_ARGB32_Premultiplied);
    // A byte loop on purpose: QImage::invertPixels un-premultiplies
    // premultiplied pixels first and so changes colours it must not touch.
    const int width = image.width();
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] ^= 0x00FFFFFFu;
    }
}

InvertFilter::InvertFilter(QWidget* parent) : Filter(parent) {}

void InvertFilter::run(Canvas* canvas, bool /*repeat*/)
{
    canvas->undoSnapshot();
    QImage copy = canvas->image();
    invert_pixels(copy);
    canvas->applyImageWithMask(copy);
}
