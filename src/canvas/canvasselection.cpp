// SPDX-License-Identifier: MIT
// The canvas's selection: the mask, what is cached of it, and its animated
// outline.
#include <QColor>
#include <QPainter>
#include <algorithm>
#include <climits>
#include <cstring>

#include "canvas/canvas.h"
#include "canvas/edgedetect.h"

namespace {

constexpr QRgb kOpaqueWhite = 0xFFFFFFFF;

// A region clip costs Qt spans for its height times its rectangle count (an
// int that a noisy outline can overflow), so the outline is clipped in bands
// of a few rows, each with only its own rectangles.
std::vector<QRegion> bands_of(const QRegion& region)
{
    constexpr int kBandRows = 16;
    std::vector<QRegion> bands;
    std::vector<QRect> rects;
    auto flush = [&]() {
        if (rects.empty())
            return;
        // The rectangles come from a region, already in its banded order.
        QRegion band;
        band.setRects(rects.data(), int(rects.size()));
        bands.push_back(band);
        rects.clear();
    };
    int bandEnd = INT_MIN;
    for (const QRect& r : region) {
        if (r.top() >= bandEnd) {
            flush();
            bandEnd = r.top() + kBandRows;
        }
        rects.push_back(r);
    }
    flush();
    return bands;
}

bool any_byte_set(const uchar* bytes, int count)
{
    int i = 0;
    for (; i + 8 <= count; i += 8) {
        quint64 word;
        std::memcpy(&word, bytes + i, sizeof word);
        if (word != 0)
            return true;
    }
    for (; i < count; ++i) {
        if (bytes[i] != 0)
            return true;
    }
    return false;
}

// Qt 6 leaves the row padding of 1-bit images uninitialised, so only the
// bytes and bits that hold pixels are looked at.
bool any_bit_set(const QImage& lsbBits)
{
    const int fullBytes = lsbBits.width() / 8;
    const int tailBits = lsbBits.width() % 8;
    const uchar tailMask = uchar((1u << tailBits) - 1);
    for (int y = 0; y < lsbBits.height(); ++y) {
        const uchar* line = lsbBits.constScanLine(y);
        if (any_byte_set(line, fullBytes))
            return true;
        if (tailBits != 0 && (line[fullBytes] & tailMask) != 0)
            return true;
    }
    return false;
}

// Writes the part area of the picture QPainter makes of a bitmap before it
// scales it: the pen colour (black) where a bit is set, transparent elsewhere.
void colorize_into(const QImage& lsbBits, const QRect& area, QImage& out)
{
    const QRgb ink = qPremultiply(QColor(Qt::black).rgba());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const uchar* source = lsbBits.constScanLine(y);
        auto* target = reinterpret_cast<QRgb*>(out.scanLine(y));
        int x = area.left();
        for (; x <= area.right() && (x & 7) != 0; ++x)
            target[x] = ((source[x >> 3] >> (x & 7)) & 1) ? ink : 0;
        for (; x + 8 <= area.right() + 1; x += 8) {
            const uchar byte = source[x >> 3];
            if (byte == 0 || byte == 0xFF) {
                std::fill_n(target + x, 8, byte == 0 ? QRgb(0) : ink);
                continue;
            }
            for (int bit = 0; bit < 8; ++bit)
                target[x + bit] = ((byte >> bit) & 1) ? ink : 0;
        }
        for (; x <= area.right(); ++x)
            target[x] = ((source[x >> 3] >> (x & 7)) & 1) ? ink : 0;
    }
}

// The 1-bit image of the dark pixels of a black-on-white picture: black
// becomes set, as a conversion to a bitmap would have it.
QImage dark_pixels(const QImage& picture)
{
    QImage bits(picture.size(), QImage::Format_MonoLSB);
    bits.setColor(0, QColor(Qt::color0).rgba());
    bits.setColor(1, QColor(Qt::color1).rgba());
    const int width = picture.width();
    for (int y = 0; y < picture.height(); ++y) {
        const auto* source = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        uchar* target = bits.scanLine(y);
        std::memset(target, 0, size_t(bits.bytesPerLine()));
        for (int x = 0; x < width; ++x) {
            if (qGray(source[x]) < 128)
                target[x >> 3] |= uchar(1u << (x & 7));
        }
    }
    return bits;
}

} // namespace

QImage selected_bits(const QBitmap& mask)
{
    QImage bits = mask.toImage().convertToFormat(QImage::Format_MonoLSB);
    const QRgb selected = QColor(Qt::color1).rgba();
    if (bits.color(1) != selected && bits.color(0) == selected)
        bits.invertPixels();
    return bits;
}

QBitmap& Canvas::mask()
{
    // The caller may write through the reference.
    maskChanged();
    return selectionMask;
}

bool Canvas::isMaskEmpty() const
{
    if (maskEmptyState >= 0)
        return maskEmptyState == 1;
    if (selectionMask.isNull())
        return true;
    const QImage& bits = selectionBits();
    // Bits that could not be read say nothing; "not empty" keeps every
    // writer inside a selection that may exist.
    if (bits.isNull())
        return false;
    maskEmptyState = any_bit_set(bits) ? 0 : 1;
    return maskEmptyState == 1;
}

const QImage& Canvas::selectionBits() const
{
    if (cachedSelectionBits.isNull() && !selectionMask.isNull())
        cachedSelectionBits = selected_bits(selectionMask);
    return cachedSelectionBits;
}

void Canvas::maskChanged()
{
    cachedSelectionBits = QImage();
    maskEmptyState = -1;
}

void Canvas::clearMask()
{
    selectionMask.fill(Qt::color0);
    maskChanged();
    outlineDirty = true;
    update();
}

void Canvas::invertMask()
{
    if (!selectionMask.isNull()) {
        QImage bits = selectionBits();
        bits.invertPixels();
        const QBitmap inverted = QBitmap::fromImage(bits);
        // Out of memory the selection stays as it was.
        if (inverted.isNull() || inverted.size() != selectionMask.size())
            return;
        selectionMask = inverted;
    }
    maskChanged();
    outlineDirty = true;
    update();
}

void Canvas::selectAll()
{
    // A shared mask would be filled into a new allocation that may fail.
    if (!selectionMask.isDetached()) {
        const QBitmap own(selectionMask.size());
        if (own.isNull())
            return;
        selectionMask = own;
    }
    selectionMask.fill(Qt::color1);
    updateMaskStuff();
}

void Canvas::updateMaskStuff()
{
    maskChanged();
    outlineDirty = true;
    update();
}

// ---------------------------------------------------------------------------
// Outline

void Canvas::paintOutline(QPainter& painter)
{
    if (outlineBands.empty())
        return;
    painter.setViewTransformEnabled(false);
    QBrush stripes(wormPattern);
    stripes.setTransform(QTransform::fromTranslate(wormPhase & 7, 0));
    for (const QRegion& band : outlineBands) {
        painter.setClipRegion(band, Qt::ReplaceClip);
        painter.fillRect(band.boundingRect(), stripes);
    }
}

void Canvas::rebuildOutline(const QRect& window)
{
    outlineDirty = false;
    const QSize area = size();
    if (isMaskEmpty() || area.isEmpty()) {
        outline = QBitmap(area);
        outline.fill(Qt::color0);
        outlineBands.clear();
        return;
    }
    QImage shown(area, QImage::Format_ARGB32_Premultiplied);
    bool drawn = !shown.isNull();
    if (drawn) {
        shown.fill(kOpaqueWhite);
        QPainter painter(&shown);
        painter.setWindow(window);
        drawn = drawShownMask(painter, window);
    }
    if (!drawn) {
        // Out of memory: no outline this time, another try at the next paint.
        outline = QBitmap();
        outlineBands.clear();
        outlineDirty = true;
        return;
    }
    outline = find_edges_in_bits(dark_pixels(shown));
    outlineBands = outline.isNull() ? std::vector<QRegion>() : bands_of(QRegion(outline));
}

// QPainter draws a bitmap by itself only under a pure translation; under any
// other mapping it first expands the whole bitmap to a 32-bit picture and
// draws that, which for a large image costs far more than the drawing. The
// drawing only reads the part of the picture that lies under the window, so
// expanding that part (with a margin for rounding) into a buffer kept for
// the next time gives the same pixels for a fraction of the cost.
bool Canvas::drawShownMask(QPainter& painter, const QRect& window)
{
    if (painter.combinedTransform().type() <= QTransform::TxTranslate) {
        painter.drawPixmap(QPointF(0, 0), selectionMask);
        return true;
    }
    if (colorizedMaskCache.size() != selectionMask.size())
        colorizedMaskCache = QImage(selectionMask.size(), QImage::Format_ARGB32_Premultiplied);
    const QImage& bits = selectionBits();
    if (colorizedMaskCache.isNull() || bits.isNull())
        return false;
    const QRect read = window.adjusted(-2, -2, 2, 2) & selectionMask.rect();
    colorize_into(bits, read, colorizedMaskCache);
    painter.drawImage(QPointF(0, 0), colorizedMaskCache);
    return true;
}

void Canvas::wormTimeout()
{
    ++wormPhase;
    if (!selectionMask.isNull())
        update();
}
