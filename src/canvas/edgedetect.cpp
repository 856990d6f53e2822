// SPDX-License-Identifier: MIT
#include "canvas/edgedetect.h"

#include <QColor>
#include <QtEndian>
#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using Word = quint64;
constexpr int kWordBits = 64;

// One row of pixels, pixel x at bit x % 64 of word x / 64. The bits past the
// last pixel are cleared: a 1-bit image leaves its row padding uninitialised,
// and a clear bit there also stands for "outside", which is never set.
class BitRow
{
public:
    explicit BitRow(int width) : width(width), words((width + kWordBits - 1) / kWordBits, 0) {}

    void load(const QImage& lsbImage, int y)
    {
        std::fill(words.begin(), words.end(), 0);
        std::memcpy(words.data(), lsbImage.constScanLine(y), usedBytes());
        if constexpr (Q_BYTE_ORDER == Q_BIG_ENDIAN) {
            for (Word& w : words)
                w = qFromLittleEndian(w);
        }
        const int tail = width % kWordBits;
        if (tail != 0)
            words.back() &= (Word(1) << tail) - 1;
    }

    void store(QImage& lsbImage, int y) const
    {
        uchar* line = lsbImage.scanLine(y);
        if constexpr (Q_BYTE_ORDER == Q_BIG_ENDIAN) {
            std::vector<Word> swapped(words);
            for (Word& w : swapped)
                w = qToLittleEndian(w);
            std::memcpy(line, swapped.data(), usedBytes());
        } else {
            std::memcpy(line, words.data(), usedBytes());
        }
        std::memset(line + usedBytes(), 0, size_t(lsbImage.bytesPerLine()) - usedBytes());
    }

    void clear() { std::fill(words.begin(), words.end(), 0); }
    int count() const { return int(words.size()); }
    Word at(int k) const { return words[size_t(k)]; }
    Word& at(int k) { return words[size_t(k)]; }

    // Bit x of the result is pixel x - 1 of this row (clear for x = 0).
    Word shiftedRight(int k) const { return (at(k) << 1) | (k > 0 ? at(k - 1) >> 63 : 0); }
    // Bit x of the result is pixel x + 1 of this row (clear past the end).
    Word shiftedLeft(int k) const { return (at(k) >> 1) | (k + 1 < count() ? at(k + 1) << 63 : 0); }
    // Bit x is set when pixel x - 1, x and x + 1 are all set.
    Word tripleAt(int k) const { return shiftedRight(k) & at(k) & shiftedLeft(k); }

private:
    size_t usedBytes() const { return size_t((width + 7) / 8); }

    int width;
    std::vector<Word> words;
};

// Marks the set pixels of current that miss at least one of their eight
// neighbours. Rows outside the image are passed as clear rows, and pixels
// outside a row read as clear, so the border pixels come out marked whenever
// they are set, exactly as the boundary rule asks.
bool mark_row(const BitRow& above, const BitRow& current, const BitRow& below, BitRow& out)
{
    Word any = 0;
    for (int k = 0; k < current.count(); ++k) {
        const Word surrounded = above.tripleAt(k) & below.tripleAt(k) & current.shiftedRight(k) &
                                current.shiftedLeft(k);
        out.at(k) = current.at(k) & ~surrounded;
        any |= out.at(k);
    }
    return any != 0;
}

QImage blank_output(const QSize& size)
{
    QImage out(size, QImage::Format_MonoLSB);
    out.setColor(0, QColor(Qt::color0).rgba());
    out.setColor(1, QColor(Qt::color1).rgba());
    return out;
}

QBitmap edges_of_lsb(const QImage& lsb)
{
    const int width = lsb.width();
    const int height = lsb.height();
    BitRow above(width), current(width), below(width), marks(width);
    QImage out = blank_output(lsb.size());
    if (out.isNull())
        return QBitmap();
    bool found = false;
    current.load(lsb, 0);
    for (int y = 0; y < height; ++y) {
        if (y + 1 < height)
            below.load(lsb, y + 1);
        else
            below.clear();
        found |= mark_row(above, current, below, marks);
        marks.store(out, y);
        std::swap(above, current);
        std::swap(current, below);
    }
    return found ? QBitmap::fromImage(out) : QBitmap();
}

} // namespace

QBitmap find_edges_in_bits(const QImage& bits)
{
    if (bits.isNull() || bits.depth() != 1)
        return QBitmap();
    return edges_of_lsb(bits.convertToFormat(QImage::Format_MonoLSB));
}

QBitmap find_edges(const QBitmap& bitmap)
{
    if (bitmap.isNull())
        return QBitmap();
    QImage bits = bitmap.toImage().convertToFormat(QImage::Format_MonoLSB);
    if (bits.isNull())
        return QBitmap();
    // A bitmap's set pixels have the colour Qt::color1; should the colour
    // table ever list it first, index 0 is the set one.
    const QRgb setColour = QColor(Qt::color1).rgba();
    if (bits.color(1) != setColour && bits.color(0) == setColour)
        bits.invertPixels();
    return edges_of_lsb(bits);
}
