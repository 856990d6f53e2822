// SPDX-License-Identifier: MIT
#include "filters/zarnifyfilter.h"

#include <QProgressDialog>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "canvas/canvas.h"
#include "canvas/picturememory.h"

// The colour model below reproduces the classic QColor: channels held as
// 16-bit values (an 8-bit channel c as c * 257), hue in hundredths of a
// degree, everything computed in double and rounded half up. Today's QColor
// works in float and rejects the out-of-range hue that greys produce, so the
// filter carries its own conversion. This file is compiled without floating
// point contraction, so every expression rounds exactly as written.
namespace {

constexpr int kNoHue = 65535; // a grey has no hue
constexpr double kFull = 65535.0;

int round_up_half(double x)
{
    return int(x + 0.5);
}

double channel_fraction(int channel8)
{
    return (channel8 * 257) / kFull;
}

struct ClassicHsv
{
    int hue = kNoHue;
    int saturation = 0;
    int value = 0;
};

// The hue before rounding, in degrees, from the three channel fractions.
double hue_degrees(double r, double g, double b, double max, double delta)
{
    double hue;
    if (r == max)
        hue = (g - b) / delta;
    else if (g == max)
        hue = 2.0 + (b - r) / delta;
    else
        hue = 4.0 + (r - g) / delta;
    hue *= 60.0;
    if (hue < 0.0)
        hue += 360.0;
    return hue;
}

ClassicHsv to_hsv(QRgb pixel)
{
    const double r = channel_fraction(qRed(pixel));
    const double g = channel_fraction(qGreen(pixel));
    const double b = channel_fraction(qBlue(pixel));
    const double max = std::max(r, std::max(g, b));
    const double min = std::min(r, std::min(g, b));
    const double delta = max - min;
    ClassicHsv hsv;
    hsv.value = round_up_half(max * 65535);
    if (delta <= 1e-12)
        return hsv;
    hsv.saturation = round_up_half(delta / max * 65535);
    hsv.hue = round_up_half(hue_degrees(r, g, b, max, delta) * 100);
    return hsv;
}

// False, leaving hsv alone, for the inputs the classic setHsvF refused.
bool set_hsv_f(double h, double s, double v, ClassicHsv& hsv)
{
    if (((h < 0.0 || h > 1.0) && h != -1.0) || s < 0.0 || s > 1.0 || v < 0.0 || v > 1.0)
        return false;
    hsv.hue = h == -1.0 ? kNoHue : round_up_half(h * 36000);
    hsv.saturation = round_up_half(s * 65535);
    hsv.value = round_up_half(v * 65535);
    return true;
}

int to_8bit(double fraction)
{
    return round_up_half(fraction * 65535) >> 8;
}

QRgb to_rgb(const ClassicHsv& hsv)
{
    if (hsv.saturation == 0 || hsv.hue == kNoHue) {
        const int grey = hsv.value >> 8;
        return qRgb(grey, grey, grey);
    }
    const double h = hsv.hue == 36000 ? 0 : hsv.hue / 6000.0;
    const double s = hsv.saturation / kFull;
    const double v = hsv.value / kFull;
    const int i = int(h);
    const double f = h - i;
    const int p = to_8bit(v * (1.0 - s));
    const int q = to_8bit(v * (1.0 - (s * f)));
    const int t = to_8bit(v * (1.0 - (s * (1.0 - f))));
    const int top = to_8bit(v);
    switch (i) {
    case 0:
        return qRgb(top, t, p);
    case 1:
        return qRgb(q, top, p);
    case 2:
        return qRgb(p, top, t);
    case 3:
        return qRgb(p, q, top);
    case 4:
        return qRgb(t, p, top);
    default:
        return qRgb(top, p, q);
    }
}

double curve_exponent(int value)
{
    return (value / -100.0 + 1.0) * 0.5;
}

double hue_shift(int value)
{
    return (value * 0.25) / 100.0;
}

// Everything of a pixel's conversion that depends on fewer than all three
// channels, computed once per run with the very expressions of the classic
// model: the curves of saturation and value depend only on the largest and
// smallest channel, the turned hue only on the stored hue.
class ZarnifyTables
{
public:
    explicit ZarnifyTables(int value);

    QRgb convert(QRgb pixel) const;

private:
    static int index(int max8, int min8) { return max8 * 256 + min8; }
    void buildCurves(double exponent);
    void buildHues(double shift);

    // Sector i puts brightest, middle and darkest channel at these shifts.
    struct Sector
    {
        unsigned char topShift;
        unsigned char middleShift;
        unsigned char bottomShift;
    };
    struct TurnedHue
    {
        Sector sector;
        // f for the falling middle channel (odd sectors), 1 - f for the rising one.
        double weight;
    };

    std::array<double, 256> fraction{};
    std::array<double, 256> brightness{};
    std::array<QRgb, 256> top8{};
    std::vector<double> saturation = std::vector<double>(256 * 256);
    std::vector<QRgb> bottom8 = std::vector<QRgb>(256 * 256);
    std::vector<TurnedHue> hues = std::vector<TurnedHue>(36001);
};

ZarnifyTables::ZarnifyTables(int value)
{
    for (int c = 0; c < 256; ++c)
        fraction[c] = channel_fraction(c);
    buildCurves(curve_exponent(value));
    buildHues(hue_shift(value));
}

void ZarnifyTables::buildCurves(double exponent)
{
    for (int max8 = 0; max8 < 256; ++max8) {
        const int value16 = round_up_half(fraction[max8] * 65535);
        const double v = round_up_half(std::pow(value16 / kFull, exponent) * 65535) / kFull;
        brightness[max8] = v;
        top8[max8] = QRgb(to_8bit(v));
        for (int min8 = 0; min8 < max8; ++min8) {
            const double delta = fraction[max8] - fraction[min8];
            const int saturation16 = round_up_half(delta / fraction[max8] * 65535);
            const double s =
                round_up_half(std::pow(saturation16 / kFull, exponent) * 65535) / kFull;
            saturation[index(max8, min8)] = s;
            bottom8[index(max8, min8)] = QRgb(to_8bit(v * (1.0 - s)));
        }
    }
}

void ZarnifyTables::buildHues(double shift)
{
    static constexpr Sector sectors[6] = {{16, 8, 0}, {8, 16, 0}, {8, 0, 16},
                                          {0, 8, 16}, {0, 16, 8}, {16, 0, 8}};
    for (int stored = 0; stored <= 36000; ++stored) {
        const int turned = round_up_half(std::fmod(shift + stored / 36000.0, 1.0) * 36000);
        const double h = turned == 36000 ? 0 : turned / 6000.0;
        const int i = int(h);
        const double f = h - i;
        hues[stored] = TurnedHue{sectors[i], (i & 1) ? f : 1.0 - f};
    }
}

QRgb ZarnifyTables::convert(QRgb pixel) const
{
    const int r8 = qRed(pixel);
    const int g8 = qGreen(pixel);
    const int b8 = qBlue(pixel);
    const int max8 = std::max(r8, std::max(g8, b8));
    const int min8 = std::min(r8, std::min(g8, b8));
    if (max8 == min8)
        return pixel | 0xFF000000u;
    const double max = fraction[max8];
    const double delta = max - fraction[min8];
    const double hue = hue_degrees(fraction[r8], fraction[g8], fraction[b8], max, delta);
    const TurnedHue& turned = hues[round_up_half(hue * 100)];
    const double s = saturation[index(max8, min8)];
    const QRgb middle = QRgb(to_8bit(brightness[max8] * (1.0 - (s * turned.weight))));
    return 0xFF000000u | top8[max8] << turned.sector.topShift |
           middle << turned.sector.middleShift |
           bottom8[index(max8, min8)] << turned.sector.bottomShift;
}

} // namespace

QRgb zarnify_pixel(QRgb pixel, int value)
{
    const ClassicHsv hsv = to_hsv(pixel);
    const double h = hsv.hue == kNoHue ? -1.0 : hsv.hue / 36000.0;
    const double s = hsv.saturation / kFull;
    const double v = hsv.value / kFull;
    ClassicHsv turned = hsv;
    // A grey's hue -1 turns into (-1, 0), which the classic model refused:
    // the colour then keeps its channels and only becomes opaque.
    if (!set_hsv_f(std::fmod(hue_shift(value) + h, 1.0), std::pow(s, curve_exponent(value)),
                   std::pow(v, curve_exponent(value)), turned))
        return pixel | 0xFF000000u;
    return to_rgb(turned);
}

namespace {

// Converts source row by row into target, which may be source itself.
bool zarnify_rows(const QImage& source, QImage& target, int value, const FilterProgress& progress)
{
    const ZarnifyTables tables(value);
    const int width = source.width();
    for (int y = 0; y < source.height(); ++y) {
        auto* out = reinterpret_cast<QRgb*>(target.scanLine(y));
        const auto* in = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        for (int x = 0; x < width; ++x)
            out[x] = tables.convert(in[x]);
        if (progress && !progress(y))
            return false;
    }
    return true;
}

} // namespace

bool zarnify_image(QImage& image, int value, const FilterProgress& progress)
{
    if (image.depth() != 32)
        image.convertTo(QImage::Format_ARGB32_Premultiplied);
    return zarnify_rows(image, image, value, progress);
}

ZarnifyFilter::ZarnifyFilter(QWidget* parent) : Filter(parent), value(25) {}

void ZarnifyFilter::run(Canvas* canvas, bool repeat)
{
    if (!repeat && !askSetting(QStringLiteral("Zarnify"), QStringLiteral("Value"), 1, 100, value))
        return;
    canvas->undoSnapshot();
    if (!canvas->canDraw())
        return;
    const QImage& source = std::as_const(*canvas).image();
    // Written straight into a new image rather than into a copy of the
    // picture: the same pixels, one pass over memory fewer.
    QImage result = allocate_picture(source.size());
    if (result.isNull())
        return;
    const auto progress = createProgress(QStringLiteral("Zarnifying..."), source.height() - 1);
    if (!zarnify_rows(source, result, value, pollProgress(progress.get())))
        return;
    canvas->applyImageWithMask(std::move(result));
}
