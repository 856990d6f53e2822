// SPDX-License-Identifier: MIT
#include "canvas/compose.h"

#include <QPainter>
#include <algorithm>
#include <cstring>

namespace {

constexpr int kBandRows = 64;

struct Band
{
    int top;
    int rows;
};

bool band_is_opaque(const QImage& source, const Band& band, int width)
{
    for (int y = band.top; y < band.top + band.rows; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        QRgb all = 0xFF000000u;
        for (int x = 0; x < width; ++x)
            all &= line[x];
        if ((all >> 24) != 0xFFu)
            return false;
    }
    return true;
}

// Qt leaves the padding bits of 1-bit rows undefined: only pixel bits count.
bool band_has_selection(const QImage& selected, const Band& band, int width)
{
    const int fullBytes = width / 8;
    const uchar tailMask = uchar((1u << (width % 8)) - 1);
    for (int y = band.top; y < band.top + band.rows; ++y) {
        const uchar* bits = selected.constScanLine(y);
        if (std::any_of(bits, bits + fullBytes, [](uchar b) { return b != 0; }) ||
            (tailMask != 0 && (bits[fullBytes] & tailMask) != 0))
            return true;
    }
    return false;
}

// A source that can be copied row by row where it is opaque: source over an
// opaque pixel is the source pixel.
bool copyable(const QImage& picture, const QImage& source)
{
    return source.size() == picture.size() && source.format() == picture.format();
}

void copy_rows(const QImage& from, uchar* to, const Band& band)
{
    const qsizetype stride = from.bytesPerLine();
    std::memcpy(to + band.top * stride, from.constBits() + band.top * stride,
                size_t(band.rows * stride));
}

// The band of picture with source drawn over it, in scratch.
void blend_band(const QImage& picture, const QImage& source, const Band& band, QImage& scratch)
{
    const qsizetype stride = picture.bytesPerLine();
    std::memcpy(scratch.bits(), picture.constBits() + band.top * stride,
                size_t(band.rows * stride));
    QPainter painter(&scratch);
    painter.drawImage(QPoint(0, 0), source, QRect(0, band.top, source.width(), band.rows));
}

void take_selected(const QImage& picture, const QImage& scratch, const QImage& selected,
                   const Band& band, uchar* target, bool targetIsPicture)
{
    const int width = std::min(picture.width(), selected.width());
    const qsizetype stride = picture.bytesPerLine();
    for (int row = 0; row < band.rows; ++row) {
        const int y = band.top + row;
        const auto* from = reinterpret_cast<const QRgb*>(scratch.constScanLine(row));
        const auto* old = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        auto* to = reinterpret_cast<QRgb*>(target + y * stride);
        const uchar* bits = y < selected.height() ? selected.constScanLine(y) : nullptr;
        for (int x = 0; x < picture.width(); ++x) {
            const bool inside = bits && x < width && (bits[x >> 3] & (1u << (x & 7)));
            if (inside)
                to[x] = from[x];
            else if (!targetIsPicture)
                to[x] = old[x];
        }
    }
}

} // namespace

bool compose_over(const QImage& picture, const QImage& source, const QImage& selected,
                  QImage& target)
{
    QImage scratch(picture.width(), kBandRows, picture.format());
    if (scratch.isNull())
        return false;
    const bool targetIsPicture = target.constBits() == picture.constBits();
    const bool targetIsSource = target.constBits() == source.constBits();
    const bool opaqueRowsCopy = copyable(picture, source);
    uchar* out = target.bits();
    const int height = picture.height();
    const int selectedHeight = std::min(height, selected.height());
    for (int top = 0; top < height; top += kBandRows) {
        const Band band{top, std::min(kBandRows, height - top)};
        if (selected.isNull()) {
            if (opaqueRowsCopy && band_is_opaque(source, band, picture.width())) {
                if (!targetIsSource)
                    copy_rows(source, out, band);
                continue;
            }
            blend_band(picture, source, band, scratch);
            std::memcpy(out + band.top * picture.bytesPerLine(), scratch.constBits(),
                        size_t(band.rows * picture.bytesPerLine()));
            continue;
        }
        const Band inMask{top, std::max(0, std::min(band.rows, selectedHeight - top))};
        if (inMask.rows == 0 || !band_has_selection(selected, inMask, selected.width())) {
            if (!targetIsPicture)
                copy_rows(picture, out, band);
            continue;
        }
        blend_band(picture, source, band, scratch);
        take_selected(picture, scratch, selected, band, out, targetIsPicture);
    }
    return true;
}
