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
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x * 8, y * 8, 128));
    return image;
}

// The opaque colours of a run with a solid 8 x 8 silhouette at size 4.
static QSet<QRgb> solidStampColours(const QImage& source)
{
    QBitmap solid(8, 8);
    solid.fill(Qt::color1);
    const QImage result = zarnelate_image(source, solid, 4);
    QSet<QRgb> colours;
    for (int y = 0; y < result.height(); ++y)
        for (int x = 0; x < result.width(); ++x)
            if (qAlpha(result.pixel(x, y)) == 255)
                colours.insert(result.pixel(x, y));
    return colours;
}

class TestZarnelateFilter : public QObject
{
    Q_OBJECT

private slots:
    void stampsFollowTheRandomSequenceAndShareBrushesByKey()
    {
        QCOMPARE(zarnelate_stamp_count(800, 600, 16), 7500);
        QCOMPARE(zarnelate_stamp_count(100, 100, 100), 4);
        QCOMPARE(zarnelate_stamp_count(10, 10, 21), 0);
        QCOMPARE(zarnelate_stamp_count(10, 10, 20), 1);

        // A solid silhouette stamps opaque squares, so the result follows from
        // the random sequence alone: x then y per stamp, centres up to size
        // beyond the edges, colours read at the clamped centre.
        const QImage source = distinctColours(12, 9);
        QImage expected = filled(12, 9, 0);
        std::srand(1);
        for (int i = 0; i < zarnelate_stamp_count(12, 9, 4); ++i) {
            const int x = std::rand() % 20 - 4, y = std::rand() % 17 - 4;
            QPainter(&expected).fillRect(x - 4, y - 4, 8, 8,
                                         QColor(source.pixel(qBound(0, x, 11), qBound(0, y, 8))));
        }
        QBitmap solid(16, 16);
        solid.fill(Qt::color1);
        std::srand(1);
        QCOMPARE(zarnelate_image(source, solid, 4), expected);
        QVERIFY(zarnelate_image(source, solid, 4) != expected); // the sequence goes on
        std::srand(1);
        QCOMPARE(zarnelate_image(source, solid, 4), expected);

        // Halves that differ only in the low three bits of every channel.
        QImage halves = filled(20, 10, qRgb(0x10, 0x20, 0x30));
        QPainter(&halves).fillRect(10, 0, 10, 10, QColor(0x17, 0x27, 0x37));
        const QSet<QRgb> colours = solidStampColours(halves);
        QCOMPARE(colours.size(), 1);
        QVERIFY(colours.contains(halves.pixel(0, 0)) || colours.contains(halves.pixel(19, 0)));
        // A translucent pixel paints with its stored channels, made opaque.
        QCOMPARE(solidStampColours(filled(4, 4, 0x80402010u)), QSet<QRgb>{qRgb(0x40, 0x20, 0x10)});
    }

    void runAsksOrRepeatsWithProgressEveryHundredStamps()
    {
        FilterDocument doc(distinctColours(800, 600));
        WatchedFilter<ZarnelateFilter> filter(&doc.window);
        const QImage before = doc.picture();
        const int undoBefore = doc.canvas->undoCount();
        const auto cancelled = answerSlider(std::nullopt);
        filter.run(doc.canvas, false);
        QCOMPARE(*cancelled, QStringLiteral("Zarnelate 16 4..100"));
        QCOMPARE(doc.canvas->undoCount(), undoBefore);

        const auto none = answerSlider(std::nullopt, 0);
        filter.run(doc.canvas, true);
        QCoreApplication::processEvents();
        QVERIFY(none->isEmpty());
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QVERIFY(doc.picture() != before);
        QCOMPARE(filter.progress, QStringLiteral("Zarnelating... Cancel 0..7500 modal"));
        QCOMPARE(filter.values.size(), 75);
        QCOMPARE(filter.values.last(), 7400);

        // Too small for a single stamp: unchanged, yet an undo step.
        FilterDocument tiny(distinctColours(10, 10));
        const int tinyBefore = tiny.canvas->undoCount();
        answerSlider(21);
        filter.run(tiny.canvas, false);
        QCOMPARE(tiny.picture(), distinctColours(10, 10));
        QCOMPARE(tiny.canvas->undoCount(), tinyBefore + 1);
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
        QVERIFY(filter.progress.contains("0..10000") && filter.values.size() < 100);
    }
};

QTEST_MAIN(TestZarnelateFilter)
#include "tst_zarnelatefilter.moc"
