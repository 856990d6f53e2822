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

// Every 24-bit colour once, 4096 x 4096, colour = y * 4096 + x.
static QImage allColours()
{
    QImage image(4096, 4096, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < 4096; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < 4096; ++x)
            line[x] = 0xFF000000u | QRgb(y * 4096 + x);
    }
    return image;
}

static QImage filled(int width, int height, QRgb pixel)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(pixel);
    return image;
}

class TestZarnifyFilter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void workedColours()
    {
        QCOMPARE(zarnify_pixel(qRgb(255, 0, 0), 25), qRgb(255, 96, 0));
        QCOMPARE(zarnify_pixel(qRgb(0, 0, 255), 25), qRgb(96, 0, 255));
        QCOMPARE(zarnify_pixel(qRgb(255, 0, 0), 100), qRgb(128, 255, 0));
        // Greys keep their channels at every value and only become opaque.
        for (int value : {1, 25, 100}) {
            QCOMPARE(zarnify_pixel(qRgb(0, 0, 0), value), qRgb(0, 0, 0));
            QCOMPARE(zarnify_pixel(qRgb(255, 255, 255), value), qRgb(255, 255, 255));
            QCOMPARE(zarnify_pixel(0x80404040u, value), 0xFF404040u);
        }
        // A translucent pixel is converted from its premultiplied channels.
        QCOMPARE(zarnify_pixel(0x80800000u, 25), zarnify_pixel(0xFF800000u, 25));
    }

    void fullValueSaturatesEveryHue()
    {
        for (QRgb colour = 0; colour < 0x1000000u; colour += 997) {
            const QRgb out = zarnify_pixel(colour, 100);
            const int r = qRed(colour), g = qGreen(colour), b = qBlue(colour);
            if (r == g && g == b) {
                QCOMPARE(out, colour | 0xFF000000u);
                continue;
            }
            const int high = std::max({qRed(out), qGreen(out), qBlue(out)});
            const int low = std::min({qRed(out), qGreen(out), qBlue(out)});
            if (high != 255 || low != 0)
                QFAIL(qPrintable(QString::number(colour, 16)));
        }
    }

    void imageMatchesClassicModelOnEveryColour()
    {
        const int value = 25;
        QImage image = allColours();
        QVERIFY(zarnify_image(image, value));
        for (int y = 0; y < 4096; ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            for (int x = 0; x < 4096; ++x) {
                const QRgb colour = QRgb(y * 4096 + x);
                if (line[x] != classicZarnify(colour, value))
                    QFAIL(qPrintable(QString::number(colour, 16)));
            }
        }
    }

    void pixelAndImageAgreeAcrossValues()
    {
        // A prime stride walks all residues of the channels.
        const int count = 0x1000000 / 101 + 1;
        for (int value : {1, 2, 50, 77, 99, 100}) {
            QImage image(count, 1, QImage::Format_ARGB32_Premultiplied);
            auto* line = reinterpret_cast<QRgb*>(image.scanLine(0));
            for (int i = 0; i < count; ++i)
                line[i] = 0xFF000000u | QRgb(i * 101 + value);
            QVERIFY(zarnify_image(image, value));
            for (int i = 0; i < count; ++i) {
                const QRgb colour = QRgb(i * 101 + value) & 0xFFFFFFu;
                const QRgb expected = classicZarnify(colour, value);
                if (zarnify_pixel(colour, value) != expected || line[i] != expected)
                    QFAIL(qPrintable(QString::number(colour, 16)));
            }
        }
    }

    void imageReachesEveryPixelAndCancels()
    {
        QImage image = filled(5, 4, qRgb(255, 0, 0));
        QList<int> rows;
        QVERIFY(zarnify_image(image, 25, [&rows](int y) {
            rows.append(y);
            return true;
        }));
        QCOMPARE(rows, (QList<int>{0, 1, 2, 3}));
        QCOMPARE(image, filled(5, 4, qRgb(255, 96, 0)));

        // Cancelling after row 1 finishes that row and leaves the rest.
        QImage partial = filled(5, 4, qRgb(0, 0, 255));
        QVERIFY(!zarnify_image(partial, 25, [](int y) { return y < 1; }));
        QCOMPARE(partial.pixel(4, 1), qRgb(96, 0, 255));
        QCOMPARE(partial.pixel(0, 2), qRgb(0, 0, 255));
    }

    // The tests below go through run() and need the canvas and slider dialog.
    void repeatRunsWithStoredValueAndNoDialog()
    {
        FilterDocument doc(filled(6, 5, qRgb(255, 0, 0)));
        WatchedFilter<ZarnifyFilter> filter(&doc.window);
        const int undoBefore = doc.canvas->undoCount();
        const auto seen = answerSlider(std::nullopt, 0);
        filter.run(doc.canvas, true);
        QCoreApplication::processEvents();
        QVERIFY(!seen->shown);
        QCOMPARE(filter.currentValue(), 25);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QCOMPARE(doc.picture(), filled(6, 5, qRgb(255, 96, 0)));
        QCOMPARE(filter.label, QStringLiteral("Zarnifying..."));
        QCOMPARE(filter.maximum, 4);
        QVERIFY(filter.windowModal);
        QCOMPARE(filter.values, (QList<int>{0, 1, 2, 3, 4}));
    }

    void dialogAskedThenCancelled()
    {
        FilterDocument doc(filled(4, 4, qRgb(255, 0, 0)));
        ZarnifyFilter filter(&doc.window);
        const auto accepted = answerSlider(100);
        filter.run(doc.canvas, false);
        QVERIFY(accepted->shown);
        QCOMPARE(accepted->title, QStringLiteral("Zarnify"));
        QCOMPARE(accepted->initial, 25);
        QCOMPARE(accepted->minimum, 1);
        QCOMPARE(accepted->maximum, 100);
        QCOMPARE(filter.currentValue(), 100);
        QCOMPARE(doc.picture(), filled(4, 4, qRgb(128, 255, 0)));

        // Cancel: no undo step, no change, and the stored value stays.
        const int undoBefore = doc.canvas->undoCount();
        const QImage before = doc.picture();
        const auto cancelled = answerSlider(std::nullopt);
        filter.run(doc.canvas, false);
        QVERIFY(cancelled->shown);
        QCOMPARE(cancelled->initial, 100);
        QCOMPARE(doc.canvas->undoCount(), undoBefore);
        QCOMPARE(doc.picture(), before);
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
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QVERIFY(filter.values.size() < 40);
        doc.canvas->undo();
        QCOMPARE(doc.picture(), original);
    }
};

QTEST_MAIN(TestZarnifyFilter)
#include "tst_zarnifyfilter.moc"
