// SPDX-License-Identifier: MIT
#include <QRandomGenerator>
#include <QSet>
#include <QTest>

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

    void indexedImageSetsClearsAndLeavesBitmapBits()
    {
        // The wand's way of writing the mask relies on this painter behaviour;
        // an odd width puts pixels in the last, partly used byte of each row.
        QBitmap bits(37, 2);
        bits.fill(Qt::color0);
        QPainter(&bits).fillRect(QRect(0, 1, 37, 1), Qt::color1);
        // Black writes every third pixel from 0, white every third from 1.
        for (const auto& [ink, phase] : {std::pair(0xff000000u, 0), std::pair(0xffffffffu, 1)}) {
            std::vector<unsigned char> pattern(74);
            for (int i = 0; i < 74; ++i)
                pattern[size_t(i)] = (i % 37) % 3 == phase;
            QImage indexed(pattern.data(), 37, 2, 37, QImage::Format_Indexed8);
            indexed.setColorTable({0x00ffffffu, ink});
            QPainter(&bits).drawImage(0, 0, indexed);
        }
        const QImage result = bits.toImage();
        for (int x = 0; x < 37; ++x) {
            QCOMPARE(result.pixelIndex(x, 0), x % 3 == 0 ? 1 : 0);
            QCOMPARE(result.pixelIndex(x, 1), x % 3 == 1 ? 0 : 1);
        }
    }
};

QTEST_MAIN(TestMagicWandTool)
#include "tst_magicwandtool.moc"
