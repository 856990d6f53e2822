// SPDX-License-Identifier: MIT
#include <QImage>
#include <QtTest>

#include "filters/filter_harness.h"
#include "filters/zarnonimatefilter.h"

// Reaches the tables, which the filter keeps to itself.
class OpenZarnonimate : public WatchedFilter<ZarnonimateFilter>
{
public:
    using WatchedFilter<ZarnonimateFilter>::WatchedFilter;
    using ZarnonimateFilter::rowTable;
    using ZarnonimateFilter::tileHeight;
    using ZarnonimateFilter::tileWidth;
};

// The silhouette's row 0 spans columns 51 to 71 and shows these tile columns.
static const QList<int> kRowZeroOffsets = {0,  6,  13, 19, 25, 32,  38,  44,  51,  57, 64,
                                           70, 76, 83, 89, 95, 102, 108, 114, 121, 127};

class TestZarnonimateFilter : public QObject
{
    Q_OBJECT

private slots:
    void offsetTables()
    {
        const OffsetTable example = {{0, false}, {1, false}, {0, true},  {2, true},
                                     {5, true},  {7, true},  {6, false}, {7, false}};
        QCOMPARE(calc_ofs(8, 2, 5), example);
        // Halves round up: 1.5 becomes 2, 2.5 becomes 3.
        QCOMPARE(calc_ofs(4, 0, 2)[1], std::make_pair(2, true));
        QCOMPARE(calc_ofs(6, 0, 2)[1], std::make_pair(3, true));
        QCOMPARE(calc_ofs(3, -1, -1), (OffsetTable{{0, false}, {1, false}, {2, false}}));
        // A one-pixel span shows the tile's first column.
        QCOMPARE(calc_ofs(4, 2, 2), (OffsetTable{{0, false}, {1, false}, {0, true}, {3, false}}));

        QWidget window;
        OpenZarnonimate filter(&window);
        QCOMPARE(std::make_pair(filter.tileWidth, filter.tileHeight), std::make_pair(128, 128));
        const OffsetTable& row = filter.rowTables()[0];
        for (int x = 0; x < 128; ++x) {
            const bool inside = x >= 51 && x <= 71;
            QCOMPARE(row[x], std::make_pair(inside ? kRowZeroOffsets[x - 51] : x, inside));
        }
    }

    // A full tile and a partial one whose offsets past column 199 show 199;
    // row 128 starts the silhouette over, with its own source row.
    void tilesSqueezeRowsIntoTheShape()
    {
        QWidget window;
        OpenZarnonimate filter(&window);
        const QImage result = zarnonimate_image(positions(200, 130), filter.rowTable, 128, 128);
        for (int y : {0, 128}) {
            for (int x = 0; x < 200; ++x) {
                const int column = x % 128;
                const bool inside = column >= 51 && column <= 71;
                const int from = inside ? qMin(x - column + kRowZeroOffsets[column - 51], 199) : 0;
                QCOMPARE(result.pixel(x, y), inside ? qRgb(from, y, 7) : 0xFF000000u);
            }
        }
        // Narrower than a tile: column 61 would show 64, and shows its last
        // column instead, the 32-bit value unchanged.
        QImage narrow = positions(62, 1);
        narrow.setPixel(61, 0, 0x40102030u);
        const QImage part = zarnonimate_image(narrow, filter.rowTable, 128, 128);
        QCOMPARE(part.pixel(61, 0), 0x40102030u);
        QCOMPARE(part.pixel(60, 0), qRgb(57, 0, 7));
        QVERIFY(zarnonimate_image(narrow, {}, 128, 128).isNull());
    }

    void runIgnoresRepeat()
    {
        const QImage original = positions(200, 50);
        FilterDocument doc(original);
        OpenZarnonimate filter(&doc.window);
        const QImage expected = zarnonimate_image(original, filter.rowTable, 128, 128);
        const int undoBefore = doc.canvas->undoCount();
        const auto none = answerSlider(std::nullopt, 0);
        filter.run(doc.canvas, false);
        QCoreApplication::processEvents();
        QVERIFY(none->isEmpty());
        QCOMPARE(doc.picture(), expected);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QCOMPARE(filter.progress, QStringLiteral("Zarnonimating... Cancel 0..49 modal"));
        QCOMPARE(filter.values.size(), 50);
        doc.canvas->undo();
        filter.run(doc.canvas, true);
        QCOMPARE(doc.picture(), expected);
        // Without tables there is no undo step either.
        filter.rowTable.clear();
        filter.run(doc.canvas, true);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
    }
};

QTEST_MAIN(TestZarnonimateFilter)
#include "tst_zarnonimatefilter.moc"
