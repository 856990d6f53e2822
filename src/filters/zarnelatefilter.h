// SPDX-License-Identifier: MIT
#pragma once

#include <QBitmap>
#include <QImage>

#include "filters/filter.h"

// Number of stamps for an image of width x height at the given half-size.
int zarnelate_stamp_count(int width, int height, int size);

// The mosaic of coloured silhouette stamps over a transparent image of
// source's size; positions come from rand(), two numbers per stamp.
// Returns a null image when progress cancels.
QImage zarnelate_image(const QImage& source, const QBitmap& bitmap, int size,
                       const FilterProgress& progress = {});

// "Zarnelate": repaints the image as a random mosaic of silhouette stamps.
class ZarnelateFilter : public Filter
{
public:
    explicit ZarnelateFilter(QWidget* parent);

    void run(Canvas* canvas, bool repeat) override;

    int currentSize() const { return size; }

protected:
    int size = 16;
    QBitmap bitmap;
};
