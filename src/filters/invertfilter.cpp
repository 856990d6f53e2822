// SPDX-License-Identifier: MIT
#include "filters/invertfilter.h"

#include <QRgb>
#include <utility>

#include "canvas/canvas.h"

namespace {

// A byte loop on purpose: QImage::invertPixels un-premultiplies
// premultiplied pixels first and so changes colours it must not touch.
void invert_row(const QRgb* source, QRgb* target, int width)
{
    for (int x = 0; x < width; ++x)
        target[x] = source[x] ^ 0x00FFFFFFu;
}

// The inverse written straight into a new image: one pass over the pixels
// instead of a copy followed by an inversion in place.
QImage inverted(const QImage& image)
{
    RowTables rows(image);
    if (!rows.valid())
        return QImage();
    for (size_t y = 0; y < rows.from.size(); ++y)
        invert_row(rows.from[y], rows.to[y], rows.source.width());
    return rows.result;
}

} // namespace

void invert_pixels(QImage& image)
{
    if (image.depth() != 32)
        image.convertTo(QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        invert_row(line, line, image.width());
    }
}

InvertFilter::InvertFilter(QWidget* parent) : Filter(parent) {}

void InvertFilter::run(Canvas* canvas, bool /*repeat*/)
{
    canvas->undoSnapshot();
    if (!canvas->canDraw())
        return;
    QImage result = inverted(std::as_const(*canvas).image());
    if (!result.isNull())
        canvas->applyImageWithMask(std::move(result));
}
