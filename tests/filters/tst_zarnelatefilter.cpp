// SPDX-License-Identifier: MIT
#include <QBitmap>
#include <QImage>
#include <QSet>
#include <QtTest>
#include <cstdlib>

#include "filters/filter_harness.h"
#include "filters/zarnelatefilter.h"

// Every pixel a colour of its own, with the low three bits of each channel
// clear so that no two pixels share a brush.
static QImage distinctColours(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x * 8, y * 8, 128));
    }
    return image;
}

static QBitmap solidSquare(int side)
{
    QBitmap bitmap(side, side);
    bitmap.fill(Qt::color1);
    return bitmap;
}

// Opaque colours in the result, transparent pixels left out.
static QSet<QRgb> opaqueColours(const QImage& image)
{
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) == 255)
                colours.insert(image.pixel(x, y));
        }
    }
    return colours;
}

class TestZarnelateFilter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void stampCounts()
    {
        QCOMPARE(zarnelate_stamp_count(800, 600, 16), 7500);
        QCOMPARE(zarnelate_stamp_count(800, 600, 4), 120000);
        QCOMPARE(zarnelate_stamp_count(100, 100, 100), 4);
        QCOMPARE(zarnelate_stamp_count(10, 10, 21), 0);
        QCOMPARE(zarnelate_stamp_count(10, 10, 20), 1);
        QCOMPARE(zarnelate_stamp_count(6000, 4000, 16), 375000);
        QCOMPARE(zarnelate_stamp_count(0, 600, 16), 0);
    }

    // With a solid silhouette every stamp is an opaque square, so the result
    // can be predicted from the random sequence alone: x then y per stamp,
    // centres up to size beyond the edges, colours read at the clamped centre.
    void stampsFollowTheRandomSequence()
    {
        const int size = 4;
        const QImage source = distinctColours(12, 9);
        QImage expected(12, 9, QImage::Format_ARGB32_Premultiplied);
        expected.fill(0);
        std::srand(1);
        const int count = zarnelate_stamp_count(12, 9, size);
        for (int i = 0; i < count; ++i) {
            const int x = std::rand() % (12 + 2 * size) - size;
            const int y = std::rand() % (9 + 2 * size) - size;
            const QRgb colour = source.pixel(qBound(0, x, 11), qBound(0, y, 8));
            for (int py = y - size; py < y + size; ++py) {
                for (int px = x - size; px < x + size; ++px) {
                    if (expected.rect().contains(px, py))
                        expected.setPixel(px, py, colour);
                }
            }
        }
        std::srand(1);
        const QImage result = zarnelate_image(source, solidSquare(16), size);
        QCOMPARE(result.format(), QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(result, expected);
    }

    void firstRunRepeatsAndLaterRunsDiffer()
    {
        const QImage source = distinctColours(32, 32);
        const QBitmap shape(QStringLiteral(":/data/zarn_bitmap_small.png"));
        std::srand(1);
        const QImage first = zarnelate_image(source, shape, 6);
        const QImage second = zarnelate_image(source, shape, 6);
        std::srand(1);
        QCOMPARE(zarnelate_image(source, shape, 6), first);
        QVERIFY(second != first);
    }

    void coloursSharingAKeyShareTheFirstBrush()
    {
        // Two halves differing only in the low three bits of every channel.
        QImage source(20, 10, QImage::Format_ARGB32_Premultiplied);
        source.fill(qRgb(0x10, 0x20, 0x30));
        for (int y = 0; y < 10; ++y) {
            for (int x = 10; x < 20; ++x)
                source.setPixel(x, y, qRgb(0x17, 0x27, 0x37));
        }
        const QSet<QRgb> colours = opaqueColours(zarnelate_image(source, solidSquare(8), 4));
        QCOMPARE(colours.size(), 1);
        QVERIFY(colours.contains(qRgb(0x10, 0x20, 0x30)) ||
                colours.contains(qRgb(0x17, 0x27, 0x37)));

        // A translucent pixel paints with its stored channels, made opaque.
        QImage translucent(4, 4, QImage::Format_ARGB32_Premultiplied);
        translucent.fill(0x80402010u);
        QCOMPARE(opaqueColours(zarnelate_image(translucent, solidSquare(8), 4)),
                 QSet<QRgb>{qRgb(0x40, 0x20, 0x10)});
    }

    void progressEveryHundredStamps()
    {
        QList<int> values;
        const QImage source = distinctColours(800, 600);
        const QBitmap shape(QStringLiteral(":/data/zarn_bitmap_small.png"));
        zarnelate_image(source, shape, 16, [&values](int i) {
            values.append(i);
            return true;
        });
        QCOMPARE(values.size(), 75);
        QCOMPARE(values.first(), 0);
        QCOMPARE(values.last(), 7400);

        int calls = 0;
        zarnelate_image(distinctColours(100, 100), shape, 100, [&calls](int) { return ++calls; });
        QCOMPARE(calls, 1);

        // Cancelled at stamp 100: no result at all.
        QVERIFY(zarnelate_image(source, shape, 16, [](int i) { return i < 100; }).isNull());
    }

    // Through run(): dialog, undo step, progress dialog and masked apply.
    void runAsksOrRepeats()
    {
        FilterDocument doc(distinctColours(800, 600));
        WatchedFilter<ZarnelateFilter> filter(&doc.window);
        const QImage before = doc.picture();
        const int undoBefore = doc.canvas->undoCount();

        const auto cancelled = answerSlider(std::nullopt);
        filter.run(doc.canvas, false);
        QVERIFY(cancelled->shown);
        QCOMPARE(cancelled->title, QStringLiteral("Zarnelate"));
        QCOMPARE(cancelled->initial, 16);
        QCOMPARE(cancelled->minimum, 4);
        QCOMPARE(cancelled->maximum, 100);
        QCOMPARE(doc.canvas->undoCount(), undoBefore);
        QCOMPARE(doc.picture(), before);

        const auto none = answerSlider(std::nullopt, 0);
        filter.run(doc.canvas, true);
        QCoreApplication::processEvents();
        QVERIFY(!none->shown);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QVERIFY(doc.picture() != before);
        QCOMPARE(filter.label, QStringLiteral("Zarnelating..."));
        QCOMPARE(filter.maximum, 7500);
        QVERIFY(filter.windowModal);
        QCOMPARE(filter.values.size(), 75);
        QCOMPARE(filter.values.last(), 7400);
    }

    void tooSmallForAStampStillTakesAnUndoStep()
    {
        FilterDocument doc(distinctColours(10, 10));
        ZarnelateFilter filter(&doc.window);
        const QImage before = doc.picture();
        const int undoBefore = doc.canvas->undoCount();
        const auto seen = answerSlider(21);
        filter.run(doc.canvas, false);
        QVERIFY(seen->shown);
        QCOMPARE(filter.currentSize(), 21);
        QCOMPARE(doc.picture(), before);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
    }

    void progressCancelLeavesPictureAndOneUndoStep()
    {
        const QImage original = distinctColours(200, 200);
        FilterDocument doc(original);
        WatchedFilter<ZarnelateFilter> filter(&doc.window);
        filter.showAtOnce = true;
        const auto sized = answerSlider(4);
        filter.run(doc.canvas, false);
        QVERIFY(sized->shown);
        doc.canvas->undo();
        const int undoBefore = doc.canvas->undoCount();
        cancelProgressWhenShown(&doc.window);
        filter.run(doc.canvas, true);
        QCOMPARE(doc.picture(), original);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QCOMPARE(filter.maximum, 10000);
        QVERIFY(filter.values.size() < 100);
    }
};

QTEST_MAIN(TestZarnelateFilter)
#include "tst_zarnelatefilter.moc"
