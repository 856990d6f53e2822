// SPDX-License-Identifier: MIT
#include <QTest>

#include "tools/marqueetool.h"
#include "tools/toolharness.h"

namespace {

bool inRect(int x, int y, int left, int top, int right, int bottom)
{
    return x >= left && x < right && y >= top && y < bottom;
}

} // namespace

class TestMarqueeTool : public QObject
{
    Q_OBJECT

private slots:
    void shiftAddsAltSubtractsAndAltWins()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Marquee");
        QCOMPARE(h.status(), QString("Press Shift or Alt to add and subtract selection"));
        QCOMPARE(h.canvas->cursor().shape(), Qt::CrossCursor);
        h.drag({{10, 10}, {50, 30}});
        h.drag({{40, 20}, {80, 60}}, Qt::ShiftModifier);
        const auto unionOfBoth = [](int x, int y) {
            return inRect(x, y, 10, 10, 50, 30) || inRect(x, y, 40, 20, 80, 60);
        };
        QCOMPARE(h.maskMismatches(unionOfBoth), 0);
        h.drag({{0, 0}, {30, 100}}, Qt::AltModifier);
        QCOMPARE(h.maskMismatches([&](int x, int y) { return x >= 30 && unionOfBoth(x, y); }), 0);
        h.drag({{0, 0}, {60, 100}}, Qt::AltModifier | Qt::ShiftModifier);
        QCOMPARE(h.maskMismatches([](int x, int y) { return inRect(x, y, 60, 20, 80, 60); }), 0);

        h.canvas->clearMask();
        h.drag({{0, 0}, {100, 100}}, Qt::AltModifier);
        QVERIFY(h.canvas->isMaskEmpty());
    }

    void dragDirectionReleasePointButtonsAndClick()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Marquee");
        const auto rect = [](int x, int y) { return inRect(x, y, 20, 30, 70, 50); };
        h.drag({{70, 50}, {20, 30}});
        QCOMPARE(h.maskMismatches(rect), 0);
        h.drag({{70, 30}, {20, 50}});
        QCOMPARE(h.maskMismatches(rect), 0);

        // The rectangle ends at the last move, not where the button comes up.
        h.press(20, 30);
        h.move(70, 50);
        h.release(90, 90);
        QCOMPARE(h.maskMismatches(rect), 0);

        // A right press or release neither starts nor ends a gesture.
        h.press(10, 10, {}, Qt::RightButton);
        h.release(10, 10, Qt::RightButton);
        QCOMPARE(h.maskMismatches(rect), 0);
        h.press(20, 30);
        h.move(30, 40);
        h.release(30, 40, Qt::RightButton);
        QVERIFY(static_cast<MarqueeTool*>(h.tool)->isDragging());
        h.release(30, 40);
        QCOMPARE(h.maskMismatches([](int x, int y) { return inRect(x, y, 20, 30, 30, 40); }), 0);

        h.drag({{40, 40}});
        QVERIFY(h.canvas->isMaskEmpty());
    }

    void rubberBandIsOneScreenPixelAtAnyZoom()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Marquee");
        h.press(10, 10);
        h.move(20, 15);
        QImage screen = filled(200, 200, 0xff000000);
        QPainter painter(&screen);
        painter.scale(4, 4); // four screen pixels per image pixel
        h.tool->paintEvent(&painter);
        painter.end();
        QCOMPARE(screen.pixel(60, 40), 0xffffffffu); // top edge
        QCOMPARE(screen.pixel(60, 41), 0xff000000u);
        QCOMPARE(screen.pixel(80, 50), 0xffffffffu); // right edge
        QCOMPARE(screen.pixel(79, 50), 0xff000000u);
        QCOMPARE(screen.pixel(60, 50), 0xff000000u); // inside stays unfilled
    }
};

QTEST_MAIN(TestMarqueeTool)
#include "tst_marqueetool.moc"
