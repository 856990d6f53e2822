// SPDX-License-Identifier: MIT
#include <QBitmap>
#include <QRandomGenerator>
#include <QTest>
#include <cstring>

#include "canvas/edgedetect.h"

namespace {

// Rows of '#' (set) and '.' (clear), joined by '/'.
QBitmap bitmap_from(const QString& rows)
{
    const QStringList lines = rows.split('/');
    QImage image(int(lines.first().size()), int(lines.size()), QImage::Format_MonoLSB);
    image.setColor(0, QColor(Qt::color0).rgba());
    image.setColor(1, QColor(Qt::color1).rgba());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, lines[y][x] == '#' ? 1 : 0);
    }
    return QBitmap::fromImage(image);
}

QString rows_of(const QBitmap& bitmap)
{
    if (bitmap.isNull())
        return QStringLiteral("null");
    const QImage image = bitmap.toImage();
    QStringList lines;
    for (int y = 0; y < image.height(); ++y) {
        QString line;
        for (int x = 0; x < image.width(); ++x)
            line += image.pixelColor(x, y) == QColor(Qt::color1) ? '#' : '.';
        lines << line;
    }
    return lines.join('/');
}

// The boundary rule spelt out pixel by pixel, to check the word-wise scan.
QString reference_edges(const QImage& bits)
{
    const int w = bits.width();
    const int h = bits.height();
    auto set = [&](int x, int y) {
        return x >= 0 && y >= 0 && x < w && y < h && bits.pixelIndex(x, y) == 1;
    };
    QStringList lines;
    bool found = false;
    for (int y = 0; y < h; ++y) {
        QString line;
        for (int x = 0; x < w; ++x) {
            bool mark = set(x, y);
            if (mark && x > 0 && y > 0 && x < w - 1 && y < h - 1) {
                mark = false;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx)
                        mark = mark || !set(x + dx, y + dy);
            }
            found = found || mark;
            line += mark ? '#' : '.';
        }
        lines << line;
    }
    return found ? lines.join('/') : QStringLiteral("null");
}

QImage random_bits(int width, int height, QImage::Format format, quint32 seed, int density)
{
    QRandomGenerator random(seed);
    QImage image(width, height, format);
    image.setColor(0, QColor(Qt::color0).rgba());
    image.setColor(1, QColor(Qt::color1).rgba());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, int(random.bounded(100)) < density ? 1 : 0);
    return image;
}

} // namespace

class TestEdgeDetect : public QObject
{
    Q_OBJECT

private slots:
    void smallShapes_data();
    void smallShapes();
    void nullGivesNull();
    void agreesWithPixelRuleAcrossWordBoundaries();
    void ignoresRowPadding();
};

void TestEdgeDetect::smallShapes_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("edges");
    QTest::newRow("3x3 full: ring, centre clear") << "###/###/###"
                                                  << "###/#.#/###";
    QTest::newRow("3x3 centre only") << ".../.#./..."
                                     << ".../.#./...";
    QTest::newRow("height 1: all border") << "#.##."
                                          << "#.##.";
    QTest::newRow("height 2: all border") << "####/####"
                                          << "####/####";
    QTest::newRow("width 1: all border") << "#/#/#/./#"
                                         << "#/#/#/./#";
    QTest::newRow("nothing set") << "...../...../....."
                                 << "null";
    QTest::newRow("diagonal touch of a hole counts")
        << "#######/#######/#######/###.###/#######/#######/#######"
        << "#######/#.....#/#.###.#/#.#.#.#/#.###.#/#.....#/#######";
    QTest::newRow("interior of a block") << "....../.####./.####./.####./.####./......"
                                         << "....../.####./.#..#./.#..#./.####./......";
}

void TestEdgeDetect::smallShapes()
{
    QFETCH(QString, input);
    QFETCH(QString, edges);
    const QBitmap result = find_edges(bitmap_from(input));
    QCOMPARE(rows_of(result), edges);
}

void TestEdgeDetect::nullGivesNull()
{
    QVERIFY(find_edges(QBitmap()).isNull());
    QVERIFY(find_edges_in_bits(QImage()).isNull());
}

void TestEdgeDetect::agreesWithPixelRuleAcrossWordBoundaries()
{
    // Widths around the 64-bit words the scan works in, sparse and dense.
    const int widths[] = {1, 7, 8, 9, 63, 64, 65, 127, 128, 130};
    quint32 seed = 1;
    for (int width : widths) {
        for (int density : {15, 85, 97}) {
            const QImage lsb = random_bits(width, 6, QImage::Format_MonoLSB, seed++, density);
            const QString expected = reference_edges(lsb);
            QCOMPARE(rows_of(find_edges_in_bits(lsb)), expected);
            QCOMPARE(rows_of(find_edges(QBitmap::fromImage(lsb))), expected);
            // Most significant bit first must give the same pixels.
            QCOMPARE(rows_of(find_edges_in_bits(lsb.convertToFormat(QImage::Format_Mono))),
                     expected);
        }
    }
}

void TestEdgeDetect::ignoresRowPadding()
{
    // Nothing set among the 10 pixels of each row, everything set in the
    // padding: there is no edge.
    QImage bits(10, 4, QImage::Format_MonoLSB);
    bits.setColor(0, QColor(Qt::color0).rgba());
    bits.setColor(1, QColor(Qt::color1).rgba());
    for (int y = 0; y < bits.height(); ++y) {
        uchar* line = bits.scanLine(y);
        std::memset(line, 0xFF, size_t(bits.bytesPerLine()));
        line[0] = 0;
        line[1] &= uchar(~0x03);
    }
    QVERIFY(find_edges_in_bits(bits).isNull());

    // A block reaching the last column: its columns 7 and 8 are interior in
    // the middle rows, column 9 is border whatever the padding holds.
    for (int y = 0; y < bits.height(); ++y) {
        bits.scanLine(y)[0] = 0xC0;
        bits.scanLine(y)[1] |= 0x03;
    }
    QCOMPARE(rows_of(find_edges_in_bits(bits)), "......####/......#..#/......#..#/......####");
}

QTEST_MAIN(TestEdgeDetect)
#include "tst_edgedetect.moc"
