// SPDX-License-Identifier: MIT
#include <QRandomGenerator>
#include <QSet>
#include <QTest>
#include <queue>
#include <vector>

#include "tools/magicwandtool.h"
#include "tools/toolharness.h"

namespace {

QImage picture(int width, int height, const QList<QRgb>& pixels)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int i = 0; i < width * height; ++i)
        reinterpret_cast<QRgb*>(image.bits())[i] = pixels[i];
    return image;
}

// The fill as first written: one position at a time, tested when taken from
// the queue, neighbours in the documented order.
void reference_fill(unsigned int seed, int tolerance, unsigned char* queued,
                    unsigned char* selected, const std::vector<unsigned int*>& rows,
                    std::queue<QPoint>& queue, int width, int height)
{
    const int dx[8] = {-1, 1, 0, 0, -1, -1, 1, 1};
    const int dy[8] = {0, 0, -1, 1, -1, 1, -1, 1};
    while (!queue.empty()) {
        const QPoint p = queue.front();
        queue.pop();
        if (pixel_diff(seed, rows[size_t(p.y())][p.x()]) > tolerance)
            continue;
        selected[p.y() * width + p.x()] = 1;
        for (int i = 0; i < 8; ++i) {
            const int x = p.x() + dx[i], y = p.y() + dy[i];
            if (x >= 0 && y >= 0 && x < width && y < height && !queued[y * width + x]) {
                queued[y * width + x] = 1;
                queue.push(QPoint(x, y));
            }
        }
    }
}

// Random pictures of four kinds: noise, a flat colour with holes, a black
// and white checkerboard with a few stray colours (regions linked only at
// corners), and near-flat grey.
std::vector<unsigned int> random_picture(QRandomGenerator& random, int kind, int width, int height)
{
    std::vector<unsigned int> pixels(size_t(width) * size_t(height));
    for (size_t i = 0; i < pixels.size(); ++i) {
        const unsigned int r = random.generate();
        const bool odd = (int(i) % width + int(i) / width) % 2;
        switch (kind) {
        case 0:
            pixels[i] = r;
            break;
        case 1:
            pixels[i] = r % 6 ? 0xff2080c0u : r;
            break;
        case 2:
            pixels[i] = r % 8 ? (odd ? 0xff000000u : 0xffffffffu) : r;
            break;
        default:
            pixels[i] = 0xff808080u + (r % 3) * 0x010101u;
        }
    }
    return pixels;
}

} // namespace

class TestMagicWandTool : public QObject
{
    Q_OBJECT

private slots:
    void fillComparesWithTheSeedAndStopsAtRejectedPixels()
    {
        QCOMPARE(pixel_diff(0x00102030, 0xff112233), 6);
        QCOMPARE(pixel_diff(0xff000000, 0x00ffffff), 765);
        // Red rises by 10 per pixel: every neighbour is within 25 of the
        // next, but only the first three are within 25 of the seed.
        std::vector<unsigned int> row{0xff000000, 0xff0a0000, 0xff140000,
                                      0xff1e0000, 0xff280000, 0xff320000};
        std::vector<unsigned char> queued(6, 0), selected(6, 0);
        std::queue<QPoint> queue;
        queue.push(QPoint(0, 0));
        flood_fill(row[0], 25, queued.data(), selected.data(), {row.data()}, queue, 6, 1);
        QVERIFY(queue.empty());
        QCOMPARE(selected, std::vector<unsigned char>({1, 1, 1, 0, 0, 0}));
        // Pixel 3 was tested and refused, so nothing went on from it.
        QCOMPARE(queued, std::vector<unsigned char>({1, 1, 1, 1, 0, 0}));

        // A frontier of thousands of positions, all of one colour.
        const int side = 1200;
        std::vector<unsigned int> flat(size_t(side) * side, 0xff336699);
        std::vector<unsigned int*> lines;
        for (int y = 0; y < side; ++y)
            lines.push_back(flat.data() + size_t(y) * side);
        std::vector<unsigned char> marks(flat.size(), 0), region(flat.size(), 0);
        queue.push(QPoint(600, 599));
        flood_fill(flat[0], 0, marks.data(), region.data(), lines, queue, side, side);
        QCOMPARE(std::count(region.begin(), region.end(), 1), long(flat.size()));
        QVERIFY(queue.empty());
    }

    void cornersJoinAlphaIsIgnoredAndToleranceIsInclusive()
    {
        const QRgb w = 0xffffffff, b = 0xff000000, near = 0xff010101, clear = 0x00000000;
        // clang-format off
        const QImage image = picture(6, 4, {clear, w, w,    w, w, b,
                                            w,     b, w,    w, w, w,
                                            w,     w, b,    w, w, w,
                                            w,     w, w, near, w, w});
        // clang-format on
        ToolHarness h(image, "Magic Wand");
        QCOMPARE(h.canvas->cursor().shape(), Qt::CrossCursor);
        QCOMPARE(h.status(),
                 QString("Press Shift or Alt to add and subtract selection, [ and ] to change "
                         "tolerance"));
        auto* wand = static_cast<MagicWandTool*>(h.tool);
        h.type("[", 61);
        QCOMPARE(wand->currentTolerance(), 3);
        const auto only = [](QSet<QPoint> set) {
            return [set](int x, int y) { return set.contains(QPoint(x, y)); };
        };
        h.press(1, 1);
        QCOMPARE(h.maskMismatches(only({{0, 0}, {1, 1}, {2, 2}, {3, 3}})), 0);
        h.type("[");
        h.press(2, 2);
        QCOMPARE(h.maskMismatches(only({{0, 0}, {1, 1}, {2, 2}})), 0);
    }

    void clicksReplaceAddSubtractAndOutsideKeepsTheSelection()
    {
        QImage image(10, 10, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::blue);
        for (int y = 0; y < 10; ++y)
            for (int x = 0; x < 5; ++x)
                image.setPixel(x, y, qRgb(255, 0, 0));
        image.setPixel(0, 4, qRgb(0, 255, 0));
        ToolHarness h(image, "Magic Wand");
        h.type("[", 70);
        QCOMPARE(static_cast<MagicWandTool*>(h.tool)->currentTolerance(), 0);
        const auto red = [](int x, int y) { return x < 5 && !(x == 0 && y == 4); };
        h.press(1, 1);
        QCOMPARE(h.maskMismatches(red), 0);
        h.press(8, 8, Qt::ShiftModifier);
        QCOMPARE(h.maskMismatches([](int x, int y) { return !(x == 0 && y == 4); }), 0);
        h.press(1, 1, Qt::AltModifier | Qt::ShiftModifier);
        QCOMPARE(h.maskMismatches([](int x, int) { return x >= 5; }), 0);

        const auto pressAt = [&h](const QPointF& p) {
            h.tool->mousePressEvent(QPoint(), p, Qt::LeftButton, Qt::LeftButton, {});
        };
        pressAt({-0.6, 3.6});
        pressAt({3, 10.5});
        QCOMPARE(h.maskMismatches([](int x, int) { return x >= 5; }), 0);
        pressAt({-0.5, 3.6});
        QCOMPARE(h.maskMismatches([](int x, int y) { return x == 0 && y == 4; }), 0);
        h.canvas->clearMask();
        pressAt({-0.4, 3.6});
        QCOMPARE(h.maskMismatches([](int x, int y) { return x == 0 && y == 4; }), 0);
    }

    void extremeTolerancesSelectEverythingOrStayAtZero()
    {
        QImage noise(64, 48, QImage::Format_ARGB32_Premultiplied);
        QRandomGenerator random(7);
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 64; ++x)
                noise.setPixel(x, y, 0xff000000 | random.bounded(0x1000000u));
        ToolHarness h(noise, "Magic Wand");
        h.type("]", 1000);
        QCOMPARE(static_cast<MagicWandTool*>(h.tool)->currentTolerance(), 1064);
        h.press(30, 20);
        QCOMPARE(h.maskMismatches([](int, int) { return true; }), 0);
    }

    void fillGivesTheArraysOfThePixelByPixelQueue()
    {
        QRandomGenerator random(2024);
        for (int round = 0; round < 600; ++round) {
            const int width = 1 + int(random.bounded(45u)), height = 1 + int(random.bounded(45u));
            const size_t count = size_t(width) * size_t(height);
            const int kind = int(random.bounded(4u));
            std::vector<unsigned int> pixels = random_picture(random, kind, width, height);
            std::vector<unsigned int*> rows;
            for (int y = 0; y < height; ++y)
                rows.push_back(pixels.data() + size_t(y) * size_t(width));
            const int tolerance = int(random.bounded(kind == 0 ? 800u : 6u));
            // Mostly one start; sometimes several, some on the border, some
            // repeated, and some pixels marked beforehand as walls.
            std::queue<QPoint> mine, theirs;
            const int starts = round % 5 ? 1 : 1 + int(random.bounded(4u));
            for (int i = 0; i < starts; ++i) {
                QPoint p(int(random.bounded(unsigned(width))),
                         int(random.bounded(unsigned(height))));
                if (i == 1)
                    p.setX(width - 1);
                if (i == 3)
                    p = mine.front();
                mine.push(p);
                theirs.push(p);
            }
            std::vector<unsigned char> queued(count), selected(count);
            if (round % 7 == 0)
                for (auto& mark : queued)
                    mark = random.bounded(9u) == 0;
            std::vector<unsigned char> expectQueued = queued, expectSelected = selected;
            const unsigned int seed = pixels[size_t(mine.front().y() * width + mine.front().x())];
            flood_fill(seed, tolerance, queued.data(), selected.data(), rows, mine, width, height);
            reference_fill(seed, tolerance, expectQueued.data(), expectSelected.data(), rows,
                           theirs, width, height);
            QVERIFY2(queued == expectQueued && selected == expectSelected && mine.empty(),
                     qPrintable(QString("round %1: %2x%3 kind %4 tolerance %5")
                                    .arg(round)
                                    .arg(width)
                                    .arg(height)
                                    .arg(kind)
                                    .arg(tolerance)));
        }
    }

    void clicksSetAndClearOnlyTheRegionsBits()
    {
        // A black zigzag over rows 0 and 1, linked at corners, in white; the
        // odd width leaves the mask's last byte of each row partly used.
        QImage image(37, 3, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        for (int x = 0; x < 37; ++x)
            image.setPixel(x, x % 2, qRgb(0, 0, 0));
        const auto zigzag = [](int x, int y) { return y == x % 2; };
        ToolHarness h(image, "Magic Wand");
        h.selectRect(QRect(0, 2, 37, 1));
        h.press(0, 0, Qt::ShiftModifier);
        QCOMPARE(h.maskMismatches([&](int x, int y) { return y == 2 || zigzag(x, y); }), 0);
        h.press(36, 2, Qt::AltModifier);
        QCOMPARE(h.maskMismatches(zigzag), 0);
        h.press(1, 0, Qt::ShiftModifier);
        QCOMPARE(h.maskMismatches([](int, int) { return true; }), 0);
        h.press(36, 0, Qt::AltModifier);
        QCOMPARE(h.maskMismatches([&](int x, int y) { return !zigzag(x, y); }), 0);
    }
};

QTEST_MAIN(TestMagicWandTool)
#include "tst_magicwandtool.moc"
