// SPDX-License-Identifier: MIT
#include <QBitmap>
#include <QRandomGenerator>
#include <QTest>
#include <cstring>

#include "canvas/edgedetect.h"

namespace {

// Rows of '#' (set) and '.' (clear), joined by '/'.
QImage bits_from(const QString& rows)
{
    const QStringList lines = rows.split('/');
    QImage image(int(lines.first().size()), int(lines.size()), QImage::Format_MonoLSB);
    image.setColor(0, QColor(Qt::color0).rgba());
    image.setColor(1, QColor(Qt::color1).rgba());
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, lines[y][x] == '#' ? 1 : 0);
    return image;
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

// The boundary rule pixel by pixel on the row text, to check the word-wise
// scan against; outside the picture counts as clear.
QString reference_edges(const QString& rows)
{
    const QStringList lines = rows.split('/');
    auto set = [&](int x, int y) {
        return y >= 0 && y < lines.size() && x >= 0 && x < lines[y].size() && lines[y][x] == '#';
    };
    QStringList edges = lines;
    for (int y = 0; y < lines.size(); ++y) {
        for (int x = 0; x < lines[y].size(); ++x) {
            bool border = false;
            for (int d = 0; d < 9; ++d)
                border = border || !set(x + d % 3 - 1, y + d / 3 - 1);
            edges[y][x] = set(x, y) && border ? '#' : '.';
        }
    }
    const QString joined = edges.join('/');
    return joined.contains('#') ? joined : QStringLiteral("null");
}

} // namespace

class TestEdgeDetect : public QObject
{
    Q_OBJECT

private slots:
    void smallShapesAndNull();
    void agreesWithPixelRuleAcrossWordBoundaries();
    void ignoresRowPadding();
};

void TestEdgeDetect::smallShapesAndNull()
{
    const QList<std::pair<QString, QString>> cases = {
        {"###/###/###", "###/#.#/###"},                             // full 3x3: ring, centre clear
        {".../.#./...", ".../.#./..."},                             // centre only
        {"#.##.", "#.##."},                                         // height 1: all border
        {"####/####", "####/####"},                                 // height 2: all border
        {"#/#/#/./#", "#/#/#/./#"},                                 // width 1: all border
        {"...../.....", "null"},                                    // nothing set
        {"#######/#######/#######/###.###/#######/#######/#######", // diagonals count
         "#######/#.....#/#.###.#/#.#.#.#/#.###.#/#.....#/#######"},
    };
    for (const auto& [input, edges] : cases) {
        QCOMPARE(rows_of(find_edges(QBitmap::fromImage(bits_from(input)))), edges);
        QCOMPARE(rows_of(find_edges_in_bits(bits_from(input))), edges);
    }
    QVERIFY(find_edges(QBitmap()).isNull());
    QVERIFY(find_edges_in_bits(QImage()).isNull());
}

void TestEdgeDetect::agreesWithPixelRuleAcrossWordBoundaries()
{
    // Widths around the 64-bit words of the scan, sparse and dense.
    QRandomGenerator random(1);
    for (int width : {1, 7, 8, 9, 63, 64, 65, 127, 128, 130}) {
        for (int density : {15, 85, 97}) {
            QStringList rows;
            for (int y = 0; y < 6; ++y) {
                rows << QString();
                for (int x = 0; x < width; ++x)
                    rows.last() += int(random.bounded(100)) < density ? '#' : '.';
            }
            const QImage lsb = bits_from(rows.join('/'));
            const QString expected = reference_edges(rows.join('/'));
            QCOMPARE(rows_of(find_edges_in_bits(lsb)), expected);
            QCOMPARE(rows_of(find_edges(QBitmap::fromImage(lsb))), expected);
            QCOMPARE(rows_of(find_edges_in_bits(lsb.convertToFormat(QImage::Format_Mono))),
                     expected);
        }
    }
}

void TestEdgeDetect::ignoresRowPadding()
{
    // Ten pixels a row, every padding bit after them set.
    auto padded = [](const QString& rows) {
        QImage bits = bits_from(rows);
        for (int y = 0; y < bits.height(); ++y) {
            bits.scanLine(y)[1] |= 0xFC;
            std::memset(bits.scanLine(y) + 2, 0xFF, size_t(bits.bytesPerLine() - 2));
        }
        return bits;
    };
    QVERIFY(find_edges_in_bits(padded("........../........../..........")).isNull());
    // Column 9 is border whatever the padding beside it holds.
    QCOMPARE(rows_of(find_edges_in_bits(padded("......####/......####/......####/......####"))),
             "......####/......#..#/......#..#/......####");
}

QTEST_MAIN(TestEdgeDetect)
#include "tst_edgedetect.moc"
