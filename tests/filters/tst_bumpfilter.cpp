// SPDX-License-Identifier: MIT
#include <QImage>
#include <QTemporaryDir>
#include <QtTest>
#include <cmath>

#include "filters/bumpfilter.h"
#include "filters/filter_harness.h"

// Reaches the slope table and its size, which the filter keeps to itself.
class OpenBump : public WatchedFilter<BumpFilter>
{
public:
    using WatchedFilter<BumpFilter>::WatchedFilter;
    using BumpFilter::bump;
    using BumpFilter::bumpHeight;
    using BumpFilter::bumpWidth;
};

// Where result pixel (x, y) of a run over positions() was taken from.
static QPoint sourceOf(const QImage& result, int x, int y)
{
    return QPoint(qRed(result.pixel(x, y)), qGreen(result.pixel(x, y)));
}

class TestBumpFilter : public QObject
{
    Q_OBJECT

private slots:
    void slopesAreCyclicLuminanceDifferences()
    {
        QCOMPARE(bump_luminance(0x00FFFFFFu), 255);
        QCOMPARE(bump_luminance(qRgb(255, 0, 0)), 87);
        // Greys, whose luminance is their level, and one translucent pixel.
        QImage map(3, 3, QImage::Format_ARGB32);
        const int grey[9] = {10, 50, 90, 200, 0, 30, 60, 120, 250};
        for (int i = 0; i < 9; ++i)
            map.setPixel(i % 3, i / 3, qRgb(grey[i], grey[i], grey[i]));
        map.setPixel(2, 1, qRgba(30, 30, 30, 128));
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("map.png"));
        QVERIFY(map.save(path));

        QWidget window;
        OpenBump filter(&window);
        QCOMPARE(std::make_pair(filter.bumpWidth, filter.bumpHeight), std::make_pair(64, 64));
        QVERIFY(filter.loadBump(path.toUtf8().constData()));
        QCOMPARE(std::make_pair(filter.bumpWidth, filter.bumpHeight), std::make_pair(3, 3));
        const float l = 15; // 30 at alpha 128, premultiplied
        const BumpTable expected = {{-40, 140},   {80, -120},    {-40, l - 250},
                                    {-l, 50},     {l - 200, 70}, {200, 160},
                                    {-130, -190}, {190, 50},     {-60, 90 - l}};
        QCOMPARE(filter.slopes(), expected);
        QVERIFY(!filter.loadBump("/nonexistent/map.png"));
        QCOMPARE(filter.slopes(), expected);
    }

    void displacementWorkedNumbers()
    {
        const QImage source = positions(40, 30);
        const auto from = [&source](float dx, float dy, int value, int x, int y) {
            return sourceOf(bump_image(source, {{dx, dy}}, 1, 1, value), x, y);
        };
        QCOMPARE(from(8, 0, 50, 5, 3), QPoint(15, 3));
        QCOMPARE(from(8, 0, -50, 15, 3), QPoint(5, 3));
        QCOMPARE(from(1, 0, 20, 7, 2), QPoint(7, 2));
        QCOMPARE(from(1, 0, -20, 7, 2), QPoint(6, 2));
        // Sources beyond an edge take the edge pixel.
        QCOMPARE(from(8, 0, 50, 30, 0), QPoint(39, 0));
        QCOMPARE(from(8, 0, -50, 9, 3), QPoint(0, 3));
        QCOMPARE(from(0, -40, 100, 3, 29), QPoint(3, 0));
        QCOMPARE(from(0, -40, -100, 3, 0), QPoint(3, 29));
        // Value 0 copies every 32-bit value, translucent ones included.
        QImage translucent = source;
        translucent.setPixel(4, 4, 0x40102030u);
        QCOMPARE(bump_image(translucent, {{0, -40}}, 1, 1, 0), translucent);
        QVERIFY(bump_image(source, BumpTable(), 0, 0, 50).isNull());
    }

    // Any table and value: the result matches floor(x + dx * k) and
    // floor(y + dy * k), the table repeating from the top-left corner; where
    // it is larger than the picture, only its top-left part is used.
    void tilesAndRoundsDown()
    {
        const QImage source = positions(23, 17);
        BumpTable whole;
        for (int i = 0; i < 29 * 5; ++i)
            whole.push_back({float((i * 97) % 511 - 255), float((i * 61) % 511 - 255)});
        // Products just below an integer take the floating path.
        BumpTable fractional = whole;
        fractional[4] = {0.99999994f, -2.3f};
        for (const auto& [w, h] : {std::pair(29, 5), {5, 29}}) {
            for (const BumpTable& table : {whole, fractional}) {
                for (int value = -100; value <= 100; value += 7) {
                    const QImage result = bump_image(source, table, w, h, value);
                    for (int y = 0; y < 17; ++y) {
                        for (int x = 0; x < 23; ++x) {
                            const auto& [dx, dy] = table[size_t(x % w + (y % h) * w)];
                            const int sx = int(std::floor(x + double(dx) * (value * 0.025)));
                            const int sy = int(std::floor(y + double(dy) * (value * 0.025)));
                            if (sourceOf(result, x, y) !=
                                QPoint(qBound(0, sx, 22), qBound(0, sy, 16)))
                                QFAIL(qPrintable(QString("%1 at %2,%3").arg(value).arg(x).arg(y)));
                        }
                    }
                }
            }
        }
    }

    void runAsksOrRepeats()
    {
        const QImage original = positions(70, 66);
        FilterDocument doc(original);
        OpenBump filter(&doc.window);
        const int undoBefore = doc.canvas->undoCount();
        const auto cancelled = answerSlider(std::nullopt);
        filter.run(doc.canvas, false);
        QCOMPARE(*cancelled, QStringLiteral("Zarnelure 50 -100..100"));
        QCOMPARE(doc.canvas->undoCount(), undoBefore);

        filter.run(doc.canvas, true);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QCOMPARE(doc.picture(), bump_image(original, filter.slopes(), 64, 64, 50));
        QCOMPARE(filter.progress, QStringLiteral("Zarneluring... Cancel 0..65 modal"));
        QCOMPARE(filter.values.size(), 66);

        // Without a height map the run does nothing, not even ask.
        filter.bump.clear();
        const auto none = answerSlider(std::nullopt, 0);
        filter.run(doc.canvas, false);
        QCoreApplication::processEvents();
        QVERIFY(none->isEmpty());
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
    }
};

QTEST_MAIN(TestBumpFilter)
#include "tst_bumpfilter.moc"
