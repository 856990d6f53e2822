// SPDX-License-Identifier: MIT
#include <QImage>
#include <QtTest>
#include <algorithm>
#include <cmath>

#include "filters/filter_harness.h"
#include "filters/zarnifyfilter.h"

// The classic 16-bit colour model, transcribed step by step and kept apart
// from the filter's own code, which builds tables from the same formulas.
static QRgb classicZarnify(QRgb pixel, int value)
{
    const double exponent = (value / -100.0 + 1.0) * 0.5;
    const double shift = (value * 0.25) / 100.0;
    const double r = (qRed(pixel) * 257) / 65535.0;
    const double g = (qGreen(pixel) * 257) / 65535.0;
    const double b = (qBlue(pixel) * 257) / 65535.0;
    const double max = std::max({r, g, b});
    const double delta = max - std::min({r, g, b});
    const int value16 = int(max * 65535 + 0.5);
    int hue16 = -1;
    int saturation16 = 0;
    if (delta > 1e-12) {
        saturation16 = int(delta / max * 65535 + 0.5);
        double hue =
            r == max ? (g - b) / delta : (g == max ? 2.0 + (b - r) / delta : 4.0 + (r - g) / delta);
        hue *= 60.0;
        if (hue < 0.0)
            hue += 360.0;
        hue16 = int(hue * 100 + 0.5);
    }
    const double h = hue16 < 0 ? -1.0 : hue16 / 36000.0;
    const double newH = std::fmod(shift + h, 1.0);
    const double newS = std::pow(saturation16 / 65535.0, exponent);
    const double newV = std::pow(value16 / 65535.0, exponent);
    if ((newH < 0.0 || newH > 1.0) && newH != -1.0)
        return pixel | 0xFF000000u;
    const int h16 = newH == -1.0 ? -1 : int(newH * 36000 + 0.5);
    const int s16 = int(newS * 65535 + 0.5);
    const int v16 = int(newV * 65535 + 0.5);
    if (s16 == 0 || h16 < 0)
        return qRgb(v16 >> 8, v16 >> 8, v16 >> 8);
    const double sector = h16 == 36000 ? 0 : h16 / 6000.0;
    const double s = s16 / 65535.0;
    const double v = v16 / 65535.0;
    const int i = int(sector);
    const double f = sector - i;
    auto c8 = [](double x) { return int(x * 65535 + 0.5) >> 8; };
    const int p = c8(v * (1.0 - s));
    const int q = c8(v * (1.0 - (s * f)));
    const int t = c8(v * (1.0 - (s * (1.0 - f))));
    const int top = c8(v);
    const int rgb[6][3] = {{top, t, p}, {q, top, p}, {p, top, t},
                           {p, q, top}, {t, p, top}, {top, p, q}};
    return qRgb(rgb[i][0], rgb[i][1], rgb[i][2]);
}

// Colours 0, stride, 2 * stride, ... below 2^24, 4096 to a row.
static QImage colourWalk(int stride)
{
    const int count = (0x1000000 + stride - 1) / stride;
    QImage image(4096, (count + 4095) / 4096, QImage::Format_ARGB32_Premultiplied);
    auto* pixels = reinterpret_cast<QRgb*>(image.bits());
    for (int i = 0; i < image.width() * image.height(); ++i)
        pixels[i] = 0xFF000000u | QRgb(std::min(i, count - 1) * stride);
    return image;
}

class TestZarnifyFilter : public QObject
{
    Q_OBJECT

private slots:
    void workedColoursAndTheClassicModel()
    {
        QCOMPARE(zarnify_pixel(qRgb(255, 0, 0), 25), qRgb(255, 96, 0));
        QCOMPARE(zarnify_pixel(qRgb(0, 0, 255), 25), qRgb(96, 0, 255));
        QCOMPARE(zarnify_pixel(qRgb(255, 0, 0), 100), qRgb(128, 255, 0));
        // A translucent pixel is converted from its premultiplied channels;
        // greys keep their channels at every value and only become opaque.
        QCOMPARE(zarnify_pixel(0x80800000u, 25), zarnify_pixel(0xFF800000u, 25));
        for (int value : {1, 25, 100})
            for (QRgb grey : {0xFF000000u, 0xFFFFFFFFu, 0x80404040u})
                QCOMPARE(zarnify_pixel(grey, value), grey | 0xFF000000u);

        // Every colour at the initial value, a prime-strided walk through all
        // channel residues at the others; the pixel function on the walk too.
        // At 100 every colour with a hue comes out fully saturated and bright.
        for (int value : {25, 1, 2, 50, 99, 100}) {
            const int stride = value == 25 ? 1 : 101;
            QImage image = colourWalk(stride);
            QVERIFY(zarnify_image(image, value));
            const auto* pixels = reinterpret_cast<const QRgb*>(image.constBits());
            for (int colour = 0; colour < 0x1000000; colour += stride) {
                const QRgb out = pixels[colour / stride];
                const bool hue = qRed(colour) != qGreen(colour) || qGreen(colour) != qBlue(colour);
                const bool vivid = std::max({qRed(out), qGreen(out), qBlue(out)}) == 255 &&
                                   std::min({qRed(out), qGreen(out), qBlue(out)}) == 0;
                if (out != classicZarnify(QRgb(colour), value) || (value == 100 && hue && !vivid) ||
                    (stride > 1 && zarnify_pixel(QRgb(colour), value) != out))
                    QFAIL(qPrintable(QStringLiteral("%1 at %2").arg(colour, 0, 16).arg(value)));
            }
        }
    }

    void runAsksOrRepeatsOnEveryPixel()
    {
        FilterDocument doc(filled(6, 5, qRgb(255, 0, 0)));
        WatchedFilter<ZarnifyFilter> filter(&doc.window);
        const int undoBefore = doc.canvas->undoCount();
        const auto none = answerSlider(std::nullopt, 0);
        filter.run(doc.canvas, true);
        QCoreApplication::processEvents();
        QVERIFY(none->isEmpty());
        QCOMPARE(doc.picture(), filled(6, 5, qRgb(255, 96, 0)));
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QCOMPARE(filter.progress, QStringLiteral("Zarnifying... Cancel 0..4 modal"));
        QCOMPARE(filter.values, (QList<int>{0, 1, 2, 3, 4}));

        doc.canvas->undo();
        const auto accepted = answerSlider(100);
        filter.run(doc.canvas, false);
        QCOMPARE(*accepted, QStringLiteral("Zarnify 25 1..100"));
        QCOMPARE(doc.picture(), filled(6, 5, qRgb(128, 255, 0)));
        // Cancel: no undo step, and the stored value stays.
        const auto cancelled = answerSlider(std::nullopt);
        filter.run(doc.canvas, false);
        QCOMPARE(*cancelled, QStringLiteral("Zarnify 100 1..100"));
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QCOMPARE(filter.currentValue(), 100);
    }

    void progressCancelLeavesPictureAndOneUndoStep()
    {
        const QImage original = filled(8, 40, qRgb(10, 200, 30));
        FilterDocument doc(original);
        WatchedFilter<ZarnifyFilter> filter(&doc.window);
        filter.showAtOnce = true;
        const int undoBefore = doc.canvas->undoCount();
        cancelProgressWhenShown(&doc.window);
        filter.run(doc.canvas, true);
        QCOMPARE(doc.picture(), original);
        QVERIFY(filter.values.size() < 40);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        doc.canvas->undo();
        QCOMPARE(doc.picture(), original);
    }
};

QTEST_MAIN(TestZarnifyFilter)
#include "tst_zarnifyfilter.moc"
