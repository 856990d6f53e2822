// SPDX-License-Identifier: MIT
#include <QPainter>
#include <QTest>

#include "tools/brushtool.h"
#include "tools/toolharness.h"

namespace {

// Exposes the silhouette that the tool loads at construction.
class ShapeProbe : public BrushTool
{
public:
    const QBitmap& silhouette() const { return shape; }
};

QRect changedArea(const QImage& before, const QImage& after)
{
    QRect area;
    for (int y = 0; y < after.height(); ++y)
        for (int x = 0; x < after.width(); ++x)
            if (before.pixel(x, y) != after.pixel(x, y))
                area |= QRect(x, y, 1, 1);
    return area;
}

} // namespace

class TestBrushTool : public QObject
{
    Q_OBJECT

private slots:
    void createBrushKeepsExactlyTheSetPixels()
    {
        QBitmap shape(512, 512);
        shape.fill(Qt::color0);
        QPainter(&shape).fillRect(QRect(100, 50, 200, 400), Qt::color1);
        const QImage full = create_brush(shape, QColor(200, 10, 20), 256);
        QCOMPARE(full.size(), QSize(512, 512));
        for (int y = 0; y < 512; ++y)
            for (int x = 0; x < 512; ++x)
                QCOMPARE(full.pixel(x, y),
                         QRect(100, 50, 200, 400).contains(x, y) ? qRgb(200, 10, 20) : 0u);
        const QImage small = create_brush(shape, QColor(0, 0, 255, 128), 4);
        QCOMPARE(small.size(), QSize(8, 8));
        QCOMPARE(qAlpha(small.pixel(3, 4)), 128);
        QCOMPARE(small.pixel(7, 0), 0u);

        ShapeProbe probe;
        const QImage art(":/data/zarn_bitmap.png");
        const QImage bits = probe.silhouette().toImage();
        QCOMPARE(bits.size(), QSize(512, 512));
        for (const QPoint p : {QPoint(256, 100), QPoint(256, 400), QPoint(0, 511), QPoint(5, 5)})
            QCOMPARE(bits.pixelIndex(p) == 1, qGray(art.pixel(p)) < 128);
    }

    void clickStampsOnceCentredAndUndoes()
    {
        ToolHarness h(filled(200, 200, 0xffffffff), "Brush");
        h.window.setDrawColor(Qt::black);
        const QImage before = h.canvas->image();
        const int snapshots = h.canvas->undoCount();
        h.press(100, 100);
        h.release(100, 100);
        QCOMPARE(h.canvas->undoCount(), snapshots + 1);
        QVERIFY(QRect(85, 85, 30, 30).contains(changedArea(before, h.canvas->image())));
        // Black over white leaves 255 minus the brush's alpha: a second
        // stamp on the same spot would darken the soft edges further.
        const QImage brush = create_brush(ShapeProbe().silhouette(), Qt::black, 15);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 30; ++x)
                QVERIFY(qAbs(qRed(h.canvas->image().pixel(85 + x, 85 + y)) -
                             (255 - qAlpha(brush.pixel(x, y)))) <= 1);
        h.canvas->undo();
        QCOMPARE(h.canvas->image(), before);
    }

    void dragStampsEachMoveWithGapsAndRightButtonPaintsNothing()
    {
        ToolHarness h(filled(300, 200, 0xffffffff), "Brush");
        const QImage before = h.canvas->image();
        const int snapshots = h.canvas->undoCount();
        h.press(50, 100, {}, Qt::RightButton);
        h.move(100, 100);
        h.release(100, 100, Qt::RightButton);
        QCOMPARE(h.canvas->image(), before);
        QCOMPARE(h.canvas->undoCount(), snapshots);

        h.drag({{50, 100}, {100, 100}, {150, 100}});
        QCOMPARE(h.canvas->undoCount(), snapshots + 1);
        const QImage& after = h.canvas->image();
        for (int x : {50, 100, 150})
            QVERIFY(after.pixel(x, 100) != 0xffffffff);
        for (int x : {75, 125, 170})
            QCOMPARE(after.pixel(x, 100), 0xffffffffu);
    }

    void keysStepSizeAndSetOpacity()
    {
        ToolHarness h(filled(200, 200, 0xffffffff), "Brush");
        auto* brush = static_cast<BrushTool*>(h.tool);
        h.type("[", 20);
        QCOMPARE(brush->brushSize(), 1);
        QList<int> up{1};
        for (int i = 0; i < 40 && up.last() < 256; ++i) {
            h.type("]");
            up << brush->brushSize();
        }
        QCOMPARE(up, QList<int>({1,  2,  3,  4,  5,   6,   7,   8,   9,   10,  11,
                                 12, 13, 14, 15, 20,  25,  30,  35,  40,  45,  50,
                                 60, 70, 80, 90, 100, 125, 150, 175, 200, 250, 256}));
        h.type("]");
        QList<int> down{brush->brushSize()};
        for (int i = 0; i < 40 && down.last() > 1; ++i) {
            h.type("[");
            down << brush->brushSize();
        }
        QCOMPARE(down, QList<int>({256, 206, 156, 131, 106, 81, 71, 61, 51, 41, 36, 31, 26,
                                   21,  16,  11,  10,  9,   8,  7,  6,  5,  4,  3,  2,  1}));
        // Going down, each boundary belongs to the smaller step.
        for (const auto& [boundary, below] : {std::pair(15, 14), {50, 45}, {100, 90}, {200, 175}}) {
            while (brush->brushSize() < boundary)
                h.type("]");
            h.type("[");
            QCOMPARE(brush->brushSize(), below);
        }
        h.type("[", 30);
        h.type("]", 13);
        brush->resize(1);
        brush->resize(2);
        QCOMPARE(brush->brushSize(), 25);

        h.type("a-[");
        QCOMPARE(brush->brushOpacity(), 100);
        h.type("5");
        QCOMPARE(brush->brushOpacity(), 50);
        h.window.setDrawColor(Qt::black);
        h.press(100, 100);
        const QImage& image = h.canvas->image();
        QVERIFY(qAbs(qRed(image.pixel(100, 100)) - 128) <= 1);
        QCOMPARE(qAlpha(image.pixel(100, 100)), 255);
    }

    void regionWithinMatchesTheIntersection()
    {
        QBitmap noise(97, 61);
        noise.fill(Qt::color0);
        QPainter painter(&noise);
        for (int i = 0; i < 2000; ++i)
            painter.fillRect(QRect((i * 37) % 97, (i * 53) % 61, 1 + i % 3, 1), Qt::color1);
        painter.end();
        const QRegion region(noise);
        for (const QRect area : {QRect(-5, -5, 30, 30), QRect(40, 20, 1, 1), QRect(90, 50, 20, 20),
                                 QRect(0, 0, 97, 61), QRect(200, 0, 5, 5)})
            QVERIFY((region_within(region, area) ^ region.intersected(area)).isEmpty());
    }

    void stampIsClippedToTheSelection()
    {
        ToolHarness h(filled(200, 200, 0xffffffff), "Brush");
        h.selectRect(QRect(0, 0, 100, 200));
        const QImage before = h.canvas->image();
        h.press(100, 100);
        const QRect changed = changedArea(before, h.canvas->image());
        QCOMPARE(changed.right(), 99);
        QVERIFY(changed.left() < 95);
        h.selectRect(QRect(0, 0, 10, 10));
        h.press(150, 150);
        QCOMPARE(changedArea(before, h.canvas->image()), changed);
        h.canvas->clearMask();
        h.press(100, 100);
        QVERIFY(changedArea(before, h.canvas->image()).right() > 105);
    }

    void previewFollowsThePointerWithoutPainting()
    {
        ToolHarness h(filled(200, 200, 0xffffffff), "Brush");
        QCOMPARE(h.canvas->cursor().shape(), Qt::BlankCursor);
        QCOMPARE(h.status(), QString("Resize brush with [ and ]"));
        h.selectRect(QRect(0, 0, 10, 10));
        h.move(40, 60);
        QImage out = filled(200, 200, 0xff000000);
        QPainter painter(&out);
        h.tool->paintEvent(&painter);
        painter.end();
        const QRect preview = changedArea(filled(200, 200, 0xff000000), out);
        QVERIFY(QRect(25, 45, 30, 30).contains(preview));
        QVERIFY(preview.width() >= 28 && preview.height() >= 20);
        QCOMPARE(h.canvas->image(), filled(200, 200, 0xffffffff));
    }
};

QTEST_MAIN(TestBrushTool)
#include "tst_brushtool.moc"
