// SPDX-License-Identifier: MIT
#include <QTest>

#include "tools/toolharness.h"

namespace {

constexpr auto Press = QEvent::MouseButtonPress;
constexpr auto Move = QEvent::MouseMove;
constexpr auto Release = QEvent::MouseButtonRelease;

} // namespace

// The hand tool comes with Space held over the canvas; these gestures take
// widget pixels, since the view moves under the pointer.
class TestScrollTool : public QObject
{
    Q_OBJECT

private slots:
    void leftDragPansByImageUnitsRightDoesNothing()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Move");
        h.canvas->zoom(4);
        const QRectF view = h.canvas->viewRect();
        QTest::keyPress(h.canvas, Qt::Key_Space);
        QCOMPARE(h.canvas->cursor().shape(), Qt::OpenHandCursor);
        h.mouse(Press, {20, 50}, Qt::RightButton);
        h.mouse(Move, {60, 50});
        h.mouse(Release, {60, 50}, Qt::RightButton);
        QCOMPARE(h.canvas->viewRect(), view);
        QCOMPARE(h.canvas->cursorDepth(), 1);

        const QPointF grabbed = h.canvas->widgetToImage(20, 50);
        h.mouse(Press, {20, 50}, Qt::LeftButton);
        QCOMPARE(h.canvas->cursor().shape(), Qt::ClosedHandCursor);
        for (int x : {30, 45, 60})
            h.mouse(Move, {x, 50});
        // 40 widget pixels right at zoom 4: the window moves 10 image pixels left.
        QCOMPARE(h.canvas->viewRect(), view.translated(-10, 0));
        QCOMPARE(h.canvas->widgetToImage(60, 50), grabbed);
        h.mouse(Release, {60, 50}, Qt::LeftButton);
        QCOMPARE(h.canvas->cursor().shape(), Qt::OpenHandCursor);
        h.mouse(Move, {90, 90});
        QCOMPARE(h.canvas->viewRect(), view.translated(-10, 0));
    }

    void cursorStaysBalanced()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Marquee");
        // Button down under the marquee, up under the hand: that release
        // belongs to no press of the hand and pops nothing.
        h.mouse(Press, {10, 10}, Qt::LeftButton);
        QTest::keyPress(h.canvas, Qt::Key_Space);
        h.mouse(Release, {10, 10}, Qt::LeftButton);
        QCOMPARE(h.canvas->cursorDepth(), 1);
        QTest::keyRelease(h.canvas, Qt::Key_Space);
        QCOMPARE(h.canvas->cursorDepth(), 1);
        QCOMPARE(h.canvas->cursor().shape(), Qt::CrossCursor);

        // Two presses push one closed hand; Space let go in mid-drag takes
        // both hands away.
        QTest::keyPress(h.canvas, Qt::Key_Space);
        h.mouse(Press, {10, 10}, Qt::LeftButton);
        h.mouse(Press, {12, 10}, Qt::LeftButton);
        QCOMPARE(h.canvas->cursorDepth(), 2);
        QTest::keyRelease(h.canvas, Qt::Key_Space);
        h.mouse(Release, {12, 10}, Qt::LeftButton);
        QCOMPARE(h.canvas->cursorDepth(), 1);
        QCOMPARE(h.canvas->cursor().shape(), Qt::CrossCursor);
        QCOMPARE(h.canvas->unpairedCursorPops(), 0);
    }
};

QTEST_MAIN(TestScrollTool)
#include "tst_scrolltool.moc"
