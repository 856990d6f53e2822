// SPDX-License-Identifier: MIT
#include <QBitmap>
#include <QPainter>
#include <QSet>
#include <QtTest>
#include <cstdlib>

#include "filters/filter_harness.h"
#include "filters/zarnelatefilter.h"

// Up to 32 x 32 every pixel has a colour of its own, with the low three bits
// of each channel clear so that no two pixels share a brush.
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
    void stampCounts()
    {
        QCOMPARE(zarnelate_stamp_count(800, 600, 16), 7500);
        QCOMPARE(zarnelate_stamp_count(800, 600, 4), 120000);
        QCOMPARE(zarnelate_stamp_count(100, 100, 100), 4);
        QCOMPARE(zarnelate_stamp_count(10, 10, 21), 0);
        QCOMPARE(zarnelate_stamp_count(10, 10, 20), 1);
        QCOMPARE(zarnelate_stamp_count(6000, 4000, 16), 375000);
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
        for (int i = 0; i < zarnelate_stamp_count(12, 9, size); ++i) {
            const int x = std::rand() % (12 + 2 * size) - size;
            const int y = std::rand() % (9 + 2 * size) - size;
            QPainter(&expected).fillRect(x - size, y - size, 2 * size, 2 * size,
                                         QColor(source.pixel(qBound(0, x, 11), qBound(0, y, 8))));
        }
        std::srand(1);
        QCOMPARE(zarnelate_image(source, solidSquare(16), size), expected);
        // The sequence goes on: the next run differs, a restart repeats.
        const QImage next = zarnelate_image(source, solidSquare(16), size);
        QVERIFY(next != expected);
        std::srand(1);
        QCOMPARE(zarnelate_image(source, solidSquare(16), size), expected);
    }

    void coloursSharingAKeyShareTheFirstBrush()
    {
        // Two halves differing only in the low three bits of every channel.
        QImage source(20, 10, QImage::Format_ARGB32_Premultiplied);
        source.fill(qRgb(0x10, 0x20, 0x30));
        QPainter(&source).fillRect(10, 0, 10, 10, QColor(0x17, 0x27, 0x37));
        const QSet<QRgb> colours = opaqueColours(zarnelate_image(source, solidSquare(8), 4));
        QCOMPARE(colours.size(), 1);
        QVERIFY(colours.contains(source.pixel(0, 0)) || colours.contains(source.pixel(19, 0)));

        // A translucent pixel paints with its stored channels, made opaque.
        QImage translucent(4, 4, QImage::Format_ARGB32_Premultiplied);
        translucent.fill(0x80402010u);
        QCOMPARE(opaqueColours(zarnelate_image(translucent, solidSquare(8), 4)),
                 QSet<QRgb>{qRgb(0x40, 0x20, 0x10)});
    }

    void runAsksOrRepeatsWithProgressEveryHundredStamps()
    {
        FilterDocument doc(distinctColours(800, 600));
        WatchedFilter<ZarnelateFilter> filter(&doc.window);
        const QImage before = doc.picture();
        const int undoBefore = doc.canvas->undoCount();
        const auto cancelled = answerSlider(std::nullopt);
        filter.run(doc.canvas, false);
        QCOMPARE(cancelled->title, QStringLiteral("Zarnelate"));
        QCOMPARE(std::make_tuple(cancelled->initial, cancelled->minimum, cancelled->maximum),
                 std::make_tuple(16, 4, 100));
        QCOMPARE(doc.canvas->undoCount(), undoBefore);

        filter.run(doc.canvas, true);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QVERIFY(doc.picture() != before);
        QCOMPARE(filter.label, QStringLiteral("Zarnelating..."));
        QCOMPARE(filter.maximum, 7500);
        QCOMPARE(filter.values.size(), 75);
        QCOMPARE(filter.values.last(), 7400);
    }

    void tooSmallForAStampStillTakesAnUndoStep()
    {
        FilterDocument doc(distinctColours(10, 10));
        ZarnelateFilter filter(&doc.window);
        const QImage before = doc.picture();
        const int undoBefore = doc.canvas->undoCount();
        answerSlider(21);
        filter.run(doc.canvas, false);
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
        answerSlider(4);
        filter.run(doc.canvas, false);
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
