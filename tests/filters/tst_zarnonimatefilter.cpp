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

// Pixel (x, y) of the picture encodes its own position.
static QImage positions(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x, y, 9));
    }
    return image;
}

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
        const OffsetTable row = calc_ofs(128, 51, 71);
        for (int i = 0; i < 21; ++i)
            QCOMPARE(row[51 + i], std::make_pair(kRowZeroOffsets[i], true));
        QCOMPARE(row[50], std::make_pair(50, false));
        QCOMPARE(row[72], std::make_pair(72, false));
        // Halves round up: 1.5 becomes 2, 2.5 becomes 3.
        QCOMPARE(calc_ofs(4, 0, 2)[1], std::make_pair(2, true));
        QCOMPARE(calc_ofs(6, 0, 2)[1], std::make_pair(3, true));
        QCOMPARE(calc_ofs(3, -1, -1), (OffsetTable{{0, false}, {1, false}, {2, false}}));
        // A one-pixel span shows the tile's first column.
        QCOMPARE(calc_ofs(4, 2, 2), (OffsetTable{{0, false}, {1, false}, {0, true}, {3, false}}));
    }

    void oneTileSqueezesRowsIntoTheShape()
    {
        QWidget window;
        OpenZarnonimate filter(&window);
        QCOMPARE(std::make_pair(filter.tileWidth, filter.tileHeight), std::make_pair(128, 128));
        QCOMPARE(filter.rowTables()[0], calc_ofs(128, 51, 71));
        const QImage result = zarnonimate_image(positions(128, 130), filter.rowTable, 128, 128);
        for (int x = 0; x < 128; ++x) {
            const bool inside = x >= 51 && x <= 71;
            const int offset = inside ? kRowZeroOffsets[x - 51] : 0;
            QCOMPARE(result.pixel(x, 0), inside ? qRgb(offset, 0, 9) : 0xFF000000u);
            // Row 128 starts the silhouette over, with its own source row.
            QCOMPARE(result.pixel(x, 128), inside ? qRgb(offset, 128, 9) : 0xFF000000u);
        }
    }

    void partialTilesRepeatTheLastColumn()
    {
        // Tile of 4 x 2: row 0 spans all four columns, row 1 only columns 1 and 2.
        const std::vector<OffsetTable> tables = {calc_ofs(4, 0, 3), calc_ofs(4, 1, 2)};
        const QImage result = zarnonimate_image(positions(7, 3), tables, 4, 2);
        const QRgb black = 0xFF000000u;
        auto at = [](int x, int y) { return qRgb(x, y, 9); };
        // Column 6 would show column 7 of its tile, which lies past the edge.
        const QList<QRgb> row1 = {black, at(0, 1), at(3, 1), black, black, at(4, 1), at(6, 1)};
        for (int x = 0; x < 7; ++x) {
            QCOMPARE(result.pixel(x, 0), at(x, 0));
            QCOMPARE(result.pixel(x, 1), row1[x]);
            QCOMPARE(result.pixel(x, 2), at(x, 2));
        }
        // Narrower than a tile; translucent values are copied unchanged.
        QImage narrow = positions(2, 1);
        narrow.setPixel(1, 0, 0x40102030u);
        QCOMPARE(zarnonimate_image(narrow, tables, 4, 2).pixel(1, 0), 0x40102030u);
        QVERIFY(zarnonimate_image(narrow, {}, 4, 2).isNull());
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
        QVERIFY(none->title.isEmpty());
        QCOMPARE(doc.picture(), expected);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 1);
        QCOMPARE(filter.label, QStringLiteral("Zarnonimating..."));
        QCOMPARE(filter.maximum, 49);
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
