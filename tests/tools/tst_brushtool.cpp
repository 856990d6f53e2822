// SPDX-License-Identifier: MIT
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

const QImage white = filled(300, 200, 0xffffffff);

} // namespace

class TestBrushTool : public QObject
{
    Q_OBJECT

private slots:
    void createBrushKeepsExactlyTheSetPixels()
    {
        QBitmap shape(512, 512);
        shape.fill(Qt::color0);
        const QRect set(100, 50, 200, 400);
        QPainter(&shape).fillRect(set, Qt::color1);
        const QImage full = create_brush(shape, QColor(200, 10, 20), 256);
        QCOMPARE(full.size(), QSize(512, 512));
        for (int y = 0; y < 512; ++y)
            for (int x = 0; x < 512; ++x)
                QCOMPARE(full.pixel(x, y), set.contains(x, y) ? qRgb(200, 10, 20) : 0u);
        QCOMPARE(create_brush(shape, Qt::blue, 4).size(), QSize(8, 8));
    }

    void previewThenOneStampPerPressAndMove()
    {
        ToolHarness h(white, "Brush");
        QCOMPARE(h.status(), QString("Resize brush with [ and ]"));
        h.selectRect(QRect(0, 0, 10, 10));
        h.move(40, 60);
        const QRect shown = changedArea(filled(300, 200, 0xff000000), h.preview(300, 200));
        QVERIFY(QRect(25, 45, 30, 30).contains(shown) && shown.width() >= 28);
        QCOMPARE(h.canvas->image(), white);

        h.canvas->clearMask();
        h.window.setDrawColor(Qt::black);
        const int snapshots = h.canvas->undoCount();
        h.press(100, 100);
        h.release(100, 100);
        QCOMPARE(h.canvas->undoCount(), snapshots + 1);
        QVERIFY(QRect(85, 85, 30, 30).contains(changedArea(white, h.canvas->image())));
        // Black over white leaves 255 minus the brush's alpha; a second stamp
        // would darken the soft edges further.
        const QImage brush = create_brush(ShapeProbe().silhouette(), Qt::black, 15);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 30; ++x)
                QVERIFY(qAbs(qRed(h.canvas->image().pixel(85 + x, 85 + y)) -
                             (255 - qAlpha(brush.pixel(x, y)))) <= 1);
        h.canvas->undo();
        QCOMPARE(h.canvas->image(), white);

        h.press(50, 100, {}, Qt::RightButton);
        h.move(100, 100);
        h.release(100, 100, Qt::RightButton);
        QCOMPARE(h.canvas->image(), white);
        QCOMPARE(h.canvas->undoCount(), snapshots);
        h.drag({{50, 100}, {100, 100}, {150, 100}});
        QCOMPARE(h.canvas->undoCount(), snapshots + 1);
        for (int x : {50, 75, 100, 125, 150, 170})
            QCOMPARE(h.canvas->image().pixel(x, 100) == 0xffffffff, x % 50 != 0);
    }

    void keysStepSizeAndSetOpacity()
    {
        ToolHarness h(white, "Brush");
        auto* brush = static_cast<BrushTool*>(h.tool);
        h.type("[", 20);
        QList<int> up{brush->brushSize()};
        for (int i = 0; i < 40 && up.last() < 256; ++i) {
            h.type("]");
            up << brush->brushSize();
        }
        QCOMPARE(up, QList<int>({1,  2,  3,  4,  5,   6,   7,   8,   9,   10,  11,
                                 12, 13, 14, 15, 20,  25,  30,  35,  40,  45,  50,
                                 60, 70, 80, 90, 100, 125, 150, 175, 200, 250, 256}));
        // Going down, each boundary belongs to the smaller step.
        for (const auto& [from, below] :
             {std::pair(1, 1), {15, 14}, {20, 15}, {50, 45}, {100, 90}, {200, 175}, {256, 206}}) {
            h.type("[", 30);
            h.type("]", up.indexOf(from));
            h.type("[");
            QCOMPARE(brush->brushSize(), below);
        }
        h.type("]", 2);
        QCOMPARE(brush->brushSize(), 256);

        h.type("a-");
        QCOMPARE(brush->brushOpacity(), 100);
        h.type("5");
        h.window.setDrawColor(Qt::black);
        h.press(100, 100);
        QVERIFY(qAbs(qRed(h.canvas->image().pixel(100, 100)) - 128) <= 1);
        QCOMPARE(qAlpha(h.canvas->image().pixel(100, 100)), 255);
    }

    void stampIsClippedToTheSelection()
    {
        ToolHarness h(white, "Brush");
        h.selectRect(QRect(0, 0, 100, 200));
        h.press(100, 100);
        const QRect changed = changedArea(white, h.canvas->image());
        QVERIFY(changed.right() == 99 && changed.left() < 95);
        h.canvas->clearMask();
        h.press(100, 100);
        QVERIFY(changedArea(white, h.canvas->image()).right() > 105);
    }
};

QTEST_MAIN(TestBrushTool)
#include "tst_brushtool.moc"
