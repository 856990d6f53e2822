// SPDX-License-Identifier: MIT
#include <QTest>

#include "tools/marqueetool.h"
#include "tools/toolharness.h"

namespace {

std::function<bool(int, int)> rect(int left, int top, int right, int bottom)
{
    return [=](int x, int y) { return x >= left && x < right && y >= top && y < bottom; };
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
        h.drag({{10, 10}, {50, 30}});
        h.drag({{40, 20}, {80, 60}}, Qt::ShiftModifier);
        const auto both = [](int x, int y) {
            return rect(10, 10, 50, 30)(x, y) || rect(40, 20, 80, 60)(x, y);
        };
        QCOMPARE(h.maskMismatches(both), 0);
        h.drag({{0, 0}, {30, 100}}, Qt::AltModifier);
        QCOMPARE(h.maskMismatches([&](int x, int y) { return x >= 30 && both(x, y); }), 0);
        h.drag({{0, 0}, {60, 100}}, Qt::AltModifier | Qt::ShiftModifier);
        QCOMPARE(h.maskMismatches(rect(60, 20, 80, 60)), 0);
        h.canvas->clearMask();
        h.drag({{0, 0}, {100, 100}}, Qt::AltModifier);
        QVERIFY(h.canvas->isMaskEmpty());
    }

    void dragDirectionReleasePointButtonsAndClick()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Marquee");
        h.drag({{70, 50}, {20, 30}});
        QCOMPARE(h.maskMismatches(rect(20, 30, 70, 50)), 0);
        h.drag({{70, 30}, {20, 50}});
        QCOMPARE(h.maskMismatches(rect(20, 30, 70, 50)), 0);
        // The rubber band is one screen pixel wide at a zoom of 4; the
        // rectangle ends at the last move, not where the button comes up.
        h.press(20, 30);
        h.move(70, 50);
        const QImage shown = h.preview(300, 220, 4);
        for (const QPoint& edge : {QPoint(160, 120), QPoint(280, 160)})
            QCOMPARE(shown.pixel(edge), 0xffffffffu);
        for (const QPoint& beside : {QPoint(160, 121), QPoint(279, 160), QPoint(160, 160)})
            QCOMPARE(shown.pixel(beside), 0xff000000u);
        h.release(90, 90);
        QCOMPARE(h.maskMismatches(rect(20, 30, 70, 50)), 0);

        // A right press or release neither starts nor ends a gesture.
        h.press(10, 10, {}, Qt::RightButton);
        h.release(10, 10, Qt::RightButton);
        QCOMPARE(h.maskMismatches(rect(20, 30, 70, 50)), 0);
        h.press(20, 30);
        h.move(30, 40);
        h.release(30, 40, Qt::RightButton);
        QVERIFY(static_cast<MarqueeTool*>(h.tool)->isDragging());
        h.release(30, 40);
        QCOMPARE(h.maskMismatches(rect(20, 30, 30, 40)), 0);
        h.drag({{40, 40}});
        QVERIFY(h.canvas->isMaskEmpty());
    }
};

QTEST_MAIN(TestMarqueeTool)
#include "tst_marqueetool.moc"
