// SPDX-License-Identifier: MIT
#include <QTest>
#include <memory>

#include "canvas/canvas.h"
#include "tools/scrolltool.h"

namespace {

// A shown 100 x 100 canvas over a 100 x 100 image at four widget pixels per
// image pixel: view (37.5, 37.5, 25, 25).
std::unique_ptr<Canvas> zoomed_canvas()
{
    QImage image(100, 100, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    auto canvas = std::make_unique<Canvas>(image);
    canvas->resize(100, 100);
    if (!canvas->init())
        return nullptr;
    canvas->show();
    if (!QTest::qWaitForWindowExposed(canvas.get()))
        return nullptr;
    canvas->resetView();
    canvas->zoom(4);
    return canvas;
}

void send_space(Canvas& canvas, QEvent::Type type)
{
    QKeyEvent event(type, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    QApplication::sendEvent(&canvas, &event);
}

// A plain tool that shows a cursor of its own while active.
class CrossTool : public Tool
{
public:
    void activeEvent(bool active) override
    {
        if (active)
            canvas->pushCursor(QCursor(Qt::CrossCursor));
        else
            canvas->popCursor();
    }
};

} // namespace

class TestScrollTool : public QObject
{
    Q_OBJECT

private slots:
    void dragPansByImageUnits();
    void otherButtonsDoNothing();
    void cursorStaysBalanced();
};

void TestScrollTool::dragPansByImageUnits()
{
    auto canvas = zoomed_canvas();
    QVERIFY(canvas);
    QCOMPARE(canvas->viewRect(), QRectF(37.5, 37.5, 25, 25));
    send_space(*canvas, QEvent::KeyPress);
    QCOMPARE(canvas->cursor().shape(), Qt::OpenHandCursor);

    const QPointF grabbed = canvas->widgetToImage(20, 50);
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(20, 50));
    QCOMPARE(canvas->cursor().shape(), Qt::ClosedHandCursor);
    for (int x : {30, 45, 60})
        QTest::mouseMove(canvas.get(), QPoint(x, 50));
    // 40 widget pixels to the right: the window moves 10 image pixels left,
    // and the grabbed point is under the pointer again.
    QCOMPARE(canvas->viewRect(), QRectF(27.5, 37.5, 25, 25));
    QCOMPARE(canvas->widgetToImage(60, 50), grabbed);
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, QPoint(60, 50));
    QCOMPARE(canvas->cursor().shape(), Qt::OpenHandCursor);

    // Moves without the button pan nothing.
    QTest::mouseMove(canvas.get(), QPoint(90, 90));
    QCOMPARE(canvas->viewRect(), QRectF(27.5, 37.5, 25, 25));
}

void TestScrollTool::otherButtonsDoNothing()
{
    auto canvas = zoomed_canvas();
    QVERIFY(canvas);
    send_space(*canvas, QEvent::KeyPress);
    QTest::mousePress(canvas.get(), Qt::RightButton, {}, QPoint(20, 50));
    QTest::mouseMove(canvas.get(), QPoint(60, 50));
    QCOMPARE(canvas->cursorDepth(), 1);
    QTest::mouseRelease(canvas.get(), Qt::RightButton, {}, QPoint(60, 50));
    QCOMPARE(canvas->viewRect(), QRectF(37.5, 37.5, 25, 25));
    QCOMPARE(canvas->cursorDepth(), 1);
    QCOMPARE(canvas->cursor().shape(), Qt::OpenHandCursor);
}

void TestScrollTool::cursorStaysBalanced()
{
    auto canvas = zoomed_canvas();
    QVERIFY(canvas);
    CrossTool cross;
    canvas->pushTool(&cross);

    // Button down under the cross tool, up under the hand: the release
    // belongs to no press of the hand and pops nothing.
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(10, 10));
    send_space(*canvas, QEvent::KeyPress);
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, QPoint(10, 10));
    QCOMPARE(canvas->cursorDepth(), 1);
    send_space(*canvas, QEvent::KeyRelease);
    QCOMPARE(canvas->cursorDepth(), 1);
    QCOMPARE(canvas->cursor().shape(), Qt::CrossCursor);

    // Two presses before one release push one closed hand; Space let go
    // in mid-drag takes both hands away.
    send_space(*canvas, QEvent::KeyPress);
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(10, 10));
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(12, 10));
    QCOMPARE(canvas->cursorDepth(), 2);
    send_space(*canvas, QEvent::KeyRelease);
    QCOMPARE(canvas->cursorDepth(), 1);
    QCOMPARE(canvas->cursor().shape(), Qt::CrossCursor);
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, QPoint(12, 10));
    QCOMPARE(canvas->cursorDepth(), 1);
    QCOMPARE(canvas->unpairedCursorPops(), 0);
}

QTEST_MAIN(TestScrollTool)
#include "tst_scrolltool.moc"
