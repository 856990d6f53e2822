// SPDX-License-Identifier: MIT
#include <QPainter>
#include <QTest>
#include <QTimer>
#include <cmath>
#include <cstring>
#include <memory>

#include "canvas/canvas.h"
#include "canvas/edgedetect.h"
#include "tools/tool.h"

namespace {

// Opens the canvas's own state to the checks below.
class ProbeCanvas : public Canvas
{
public:
    using Canvas::Canvas;
    using Canvas::outlineDirty;
    using Canvas::undoList;
    using Canvas::wormPattern;
};

// Writes down what the canvas hands it; shows a cross while active, like
// the selection tools.
class RecordingTool : public Tool
{
public:
    QStringList calls;
    int paints = 0;

    void mousePressEvent(const QPoint& w, const QPointF& i, Qt::MouseButton, Qt::MouseButtons,
                         Qt::KeyboardModifiers) override
    {
        calls << QStringLiteral("press %1,%2 %3,%4").arg(w.x()).arg(w.y()).arg(i.x()).arg(i.y());
    }
    void keyPressEvent(int, const QString& text, Qt::KeyboardModifiers) override
    {
        calls << "key " + text;
    }
    void keyReleaseEvent(int key, const QString&, Qt::KeyboardModifiers) override
    {
        calls << QStringLiteral("up %1").arg(key, 0, 16);
    }
    void activeEvent(bool active) override
    {
        calls << (active ? "on" : "off");
        if (active)
            canvas->pushCursor(QCursor(Qt::CrossCursor));
        else
            canvas->popCursor();
    }
    void paintEvent(QPainter*) override { ++paints; }
};

QImage filled(QSize size, QRgb colour)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(colour);
    return image;
}

// Set up as the main window does it: sized, initialised, view reset; shown
// when the test needs real resize or mouse events.
std::unique_ptr<ProbeCanvas> make_canvas(QSize widget, const QImage& image, bool shown = false)
{
    auto canvas = std::make_unique<ProbeCanvas>(image);
    canvas->resize(widget);
    if (canvas->init()) // should it fail, the checks fail on the missing mask and history
        canvas->findChild<QTimer*>()->stop();
    canvas->resetView();
    if (shown) {
        canvas->show();
        if (!QTest::qWaitForWindowExposed(canvas.get()))
            qFatal("the canvas was never shown");
    }
    return canvas;
}

// The same pixels, however the two happen to be cut into rectangles.
bool same_area(const QRegion& a, const QRegion& b)
{
    return (a ^ b).isEmpty();
}

void select_rect(Canvas& canvas, const QRect& rect)
{
    QPainter(&canvas.mask()).fillRect(rect, Qt::color1);
    canvas.updateMaskStuff();
}

void send_key(Canvas& canvas, QEvent::Type type, int key, bool autoRepeat = false)
{
    QKeyEvent event(type, key, Qt::NoModifier, key == Qt::Key_Space ? " " : "", autoRepeat);
    QApplication::sendEvent(&canvas, &event);
}

} // namespace

class TestCanvas : public QObject
{
    Q_OBJECT

private slots:
    void oddDocuments();
    void undoHistory();
    void applyImageWithMask();
    void maskOperations();
    void viewNumbers();
    void keyTable();
    void spaceHandTool();
    void mouseRouting();
    void paintsImageGreyAndStripes();
    void outlineAtMagnification();
};

void TestCanvas::oddDocuments()
{
    // Indexed, 24-bit, 32-bit with alpha, 1-bit grey; a resolution of their own is dropped.
    const QImage fresh(1, 1, QImage::Format_ARGB32_Premultiplied);
    for (const char* file : {"basn3p08.png", "basn2c08.png", "basn6a08.png", "basn0g01.png"}) {
        QImage source(QStringLiteral(ZARN_TESTDATA_DIR "/png/") + file);
        source.setDotsPerMeterX(5000);
        source.setDotsPerMeterY(7000);
        const QImage image = Canvas(source).image();
        QCOMPARE(image.format(), QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(QSize(image.dotsPerMeterX(), image.dotsPerMeterY()),
                 QSize(fresh.dotsPerMeterX(), fresh.dotsPerMeterY()));
        QCOMPARE(image.pixel(5, 7), source.convertToFormat(image.format()).pixel(5, 7));
    }

    // A null image on a widget of no size: nothing divides by zero.
    auto canvas = make_canvas(QSize(0, 0), QImage());
    QCOMPARE(canvas->image().size(), QSize(1, 1));
    canvas->zoom(1.5);
    QVERIFY(std::isfinite(canvas->screenToImage(16)));
    QVERIFY(std::isfinite(canvas->widgetToImage(5, 5).x()));
    canvas->invertMask();
    QVERIFY(!canvas->isMaskEmpty());
}

void TestCanvas::undoHistory()
{
    auto canvas = make_canvas(QSize(100, 100), filled(QSize(10, 10), 0xFFFFFFFF));
    // undo/redo entries, the changed flag and the blue of the marker pixel.
    auto state = [&] {
        return QString("%1/%2 %3 %4")
            .arg(canvas->undoCount())
            .arg(canvas->redoCount())
            .arg(canvas->isChanged())
            .arg(qBlue(canvas->image().pixel(0, 0)));
    };
    auto after = [&](void (Canvas::*step)()) {
        (canvas.get()->*step)();
        return state();
    };
    QVERIFY(canvas->isMaskEmpty());
    QCOMPARE(state(), "1/0 0 255");
    QCOMPARE(after(&Canvas::undo), "0/1 0 255"); // the initial entry: the pixels stay
    QCOMPARE(after(&Canvas::undo), "0/1 0 255");
    QCOMPARE(after(&Canvas::redo), "1/0 0 255");

    // 25 changes, each after its snapshot: the snapshots before changes 6 to
    // 25 stay, holding markers 5 to 24.
    for (uint i = 1; i <= 25; ++i) {
        canvas->undoSnapshot();
        canvas->image().setPixel(0, 0, 0xFF000000u | i);
    }
    QCOMPARE(canvas->undoCount(), 20);
    QCOMPARE(canvas->undoList.front().pixel(0, 0), 0xFF000005u);

    // A snapshot keeps the document's pixels; the document gets its own copy.
    const uchar* own = canvas->image().constBits();
    canvas->undoSnapshot();
    QCOMPARE(canvas->undoList.back().constBits(), own);
    QVERIFY(canvas->image().constBits() != own);
    canvas->image().setPixel(0, 0, 0xFF000026u);
    QVERIFY(canvas->image().constBits() != own);
    QCOMPARE(canvas->undoList.back().pixel(0, 0), 0xFF000019u);
    canvas->undo();
    QCOMPARE(canvas->image().constBits(), own);

    // Undo and redo leave the changed flag; a snapshot after an undo drops the redo list.
    canvas->setChanged(false);
    for (int i = 0; i < 20; ++i)
        canvas->undo();
    QCOMPARE(state(), "0/20 0 6");
    QCOMPARE(after(&Canvas::redo), "1/19 0 7");
    QCOMPARE(after(&Canvas::undoSnapshot), "2/0 1 7");
    QCOMPARE(after(&Canvas::redo), "2/0 1 7");
}

void TestCanvas::applyImageWithMask()
{
    const QSize size(40, 30);
    QImage result = filled(size, 0xFFFF0000);
    result.setPixel(5, 5, 0); // transparent: keeps the document's pixel
    result.setPixel(20, 20, 0);
    auto canvas = make_canvas(QSize(50, 50), filled(size, 0xFFFFFFFF));
    canvas->applyImageWithMask(result);
    QCOMPARE(canvas->image().pixel(0, 0), 0xFFFF0000u);
    QCOMPARE(canvas->image().pixel(39, 29), 0xFFFF0000u);
    QCOMPARE(canvas->image().pixel(5, 5), 0xFFFFFFFFu);
    QCOMPARE(canvas->undoCount(), 1);

    canvas = make_canvas(QSize(50, 50), filled(size, 0xFFFFFFFF));
    const QRect selected(10, 10, 15, 15);
    select_rect(*canvas, selected);
    canvas->applyImageWithMask(result);
    for (QPoint p : {QPoint(10, 10), QPoint(24, 24), QPoint(20, 20), QPoint(9, 10), QPoint(25, 24)})
        QCOMPARE(canvas->image().pixel(p),
                 selected.contains(p) && p != QPoint(20, 20) ? 0xFFFF0000u : 0xFFFFFFFFu);

    // A checkerboard selection on a big picture has millions of clip
    // rectangles; a half-transparent result blends as a painter does, on
    // selected pixels only.
    const QSize big(3000, 2000);
    canvas = make_canvas(QSize(50, 50), filled(big, 0xFFFFFFFF));
    QImage board(big, QImage::Format_MonoLSB);
    board.setColor(0, QColor(Qt::color0).rgba());
    board.setColor(1, QColor(Qt::color1).rgba());
    for (int y = 0; y < big.height(); ++y)
        std::memset(board.scanLine(y), (y & 1) ? 0xAA : 0x55, board.bytesPerLine());
    canvas->mask() = QBitmap::fromImage(board);
    canvas->updateMaskStuff();
    const QImage half = filled(big, 0x80800000);
    QImage expected = filled(big, 0xFFFFFFFF);
    QPainter(&expected).drawImage(0, 0, half);
    canvas->applyImageWithMask(half);
    for (QPoint p :
         {QPoint(0, 0), QPoint(1, 0), QPoint(0, 1), QPoint(2999, 1999), QPoint(2998, 1999)})
        QCOMPARE(canvas->image().pixel(p),
                 (p.x() + p.y()) % 2 == 0 ? expected.pixel(p) : 0xFFFFFFFFu);
}

void TestCanvas::maskOperations()
{
    // 801 pixels leave padding bytes at each row's end.
    auto canvas = make_canvas(QSize(100, 100), filled(QSize(801, 7), 0xFFFFFFFF));
    QVERIFY(canvas->isMaskEmpty());
    canvas->invertMask();
    QVERIFY(!canvas->isMaskEmpty());
    QCOMPARE(QRegion(canvas->mask()), QRegion(0, 0, 801, 7));
    QCOMPARE(canvas->maskRegion(), QRegion(0, 0, 801, 7));
    // Writing through mask() leaves no stale cached answer behind.
    canvas->mask().fill(Qt::color0);
    QVERIFY(canvas->isMaskEmpty());
    QVERIFY(canvas->maskRegion().isEmpty());

    select_rect(*canvas, QRect(3, 1, 790, 4));
    const QImage original = canvas->mask().toImage();
    canvas->invertMask();
    QVERIFY(same_area(canvas->mask(), QRegion(0, 0, 801, 7) - QRegion(3, 1, 790, 4)));
    canvas->invertMask();
    QCOMPARE(canvas->mask().toImage(), original);
}

void TestCanvas::viewNumbers()
{
    auto canvas = make_canvas(QSize(600, 400), filled(QSize(800, 600), 0xFFFFFFFF), true);
    QCOMPARE(canvas->viewRect(), QRectF(100, 100, 600, 400));
    QCOMPARE(canvas->widgetToImage(0, 0), QPointF(100, 100));
    QCOMPARE(canvas->widgetToImage(300, 200), QPointF(400, 300));
    QCOMPARE(canvas->imageToWidget(400, 300), QPointF(300, 200));
    QCOMPARE(canvas->inverseView(), QRect(QPoint(-100, -100), QPoint(700, 500)));
    canvas->translate(QPointF(0.5, 0)); // -100.5 rounds up to -100, 699.5 to 700
    QCOMPARE(canvas->inverseView(), QRect(QPoint(-100, -100), QPoint(700, 500)));
    canvas->resetView();

    canvas->zoom(1.5);
    QCOMPARE(canvas->center(), QPointF(400, 300));
    QCOMPARE(canvas->viewRect(), QRectF(200, 300 - 200 / 1.5, 400, 400.0 * 400 / 600));
    QCOMPARE(canvas->screenToImage(16), 8.0);
    canvas->zoom(2.0 / 3.0); // back to within rounding error
    QCOMPARE(canvas->viewRect(), QRectF(100, 100, 600, 400));

    // The double overload moves by whole pixels; below one pixel the view
    // stays, yet the outline is still marked for a rebuild.
    canvas->resetView();
    canvas->translate(2.9, -2.9);
    QCOMPARE(canvas->viewRect().topLeft(), QPointF(102, 98));
    canvas->translate(QPointF(2.9, -2.9));
    QCOMPARE(canvas->viewRect().topLeft(), QPointF(104.9, 95.1));
    canvas->grab();
    QVERIFY(!canvas->outlineDirty);
    canvas->translate(0.9, -0.9);
    QCOMPARE(canvas->viewRect().topLeft(), QPointF(104.9, 95.1));
    QVERIFY(canvas->outlineDirty);

    canvas->resetView();
    canvas->resize(1200, 400);
    QCOMPARE(canvas->viewRect(), QRectF(100, 100, 1200, 400));
    canvas->zoom(1.5); // as wide as the image
    QCOMPARE(canvas->screenToImage(16), 16.0);
    auto odd = make_canvas(QSize(601, 401), filled(QSize(801, 601), 0xFFFFFFFF));
    QCOMPARE(odd->viewRect(), QRectF(100, 100, 601, 401));
}

void TestCanvas::keyTable()
{
    auto canvas = make_canvas(QSize(600, 400), filled(QSize(800, 600), 0xFFFFFFFF));
    RecordingTool tool;
    canvas->pushTool(&tool);
    tool.calls.clear();
    auto click = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(canvas.get(), key, modifiers);
    };
    // Without Control the view keys are swallowed; arrows step by
    // 16 * 600 / 800 = 12; only the releases reach the tool.
    for (Qt::Key key : {Qt::Key_Plus, Qt::Key_Equal, Qt::Key_Minus, Qt::Key_0, Qt::Key_Right,
                        Qt::Key_Down, Qt::Key_Down, Qt::Key_A})
        click(key);
    QCOMPARE(canvas->viewRect(), QRectF(112, 124, 600, 400));
    QCOMPARE(tool.calls, QStringList({"up 2b", "up 3d", "up 2d", "up 30", "up 1000014",
                                      "up 1000015", "up 1000015", "key a", "up 41"}));

    click(Qt::Key_0, Qt::ControlModifier);
    click(Qt::Key_Equal, Qt::ControlModifier);
    QCOMPARE(canvas->viewRect(), QRectF(200, 300 - 400.0 / 3, 400, 800.0 / 3));
    click(Qt::Key_Left); // a view 400 wide over 800: steps of 8
    click(Qt::Key_Up);
    QCOMPARE(canvas->viewRect().topLeft(), QPointF(192, 300 - 400.0 / 3 - 8));
    click(Qt::Key_Plus, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(canvas->viewRect().width(), 400 / 1.5);
    click(Qt::Key_Minus, Qt::ControlModifier);
    QCOMPARE(canvas->viewRect().width(), 400.0);
    click(Qt::Key_0, Qt::ControlModifier);
    QCOMPARE(canvas->viewRect(), QRectF(100, 100, 600, 400));

    canvas->zoom(15); // a view 40 wide: a step of 0.8 moves nothing
    const QRectF close = canvas->viewRect();
    click(Qt::Key_Right);
    QCOMPARE(canvas->viewRect(), close);
}

void TestCanvas::spaceHandTool()
{
    auto canvas = make_canvas(QSize(100, 100), filled(QSize(50, 50), 0xFFFFFFFF), true);
    // Tool stack depth and top, cursor stack depth and the cursor shown.
    auto stacks = [](Canvas& c) {
        const char* top = !c.tool() ? "none" : c.tool() == c.handTool() ? "hand" : "tool";
        const QMap<int, QString> shapes = {
            {Qt::ArrowCursor, "arrow"}, {Qt::CrossCursor, "cross"}, {Qt::OpenHandCursor, "open"}};
        const QString cursor = shapes.value(c.cursor().shape(), "?");
        return QString("%1 %2, %3 %4").arg(c.toolDepth()).arg(top).arg(c.cursorDepth()).arg(cursor);
    };
    RecordingTool tool;
    canvas->pushTool(&tool);
    // Auto-repeat: one push, one pop; neither press nor release reaches the tool.
    send_key(*canvas, QEvent::KeyPress, Qt::Key_Space);
    for (int i = 0; i < 3; ++i) {
        send_key(*canvas, QEvent::KeyRelease, Qt::Key_Space, true);
        send_key(*canvas, QEvent::KeyPress, Qt::Key_Space, true);
    }
    QCOMPARE(stacks(*canvas), "2 hand, 1 open");
    send_key(*canvas, QEvent::KeyRelease, Qt::Key_Space);
    QCOMPARE(stacks(*canvas), "1 tool, 1 cross");
    QCOMPARE(tool.calls, QStringList({"on", "off", "on"}));

    // Press under the tool, Space, release under the hand, Space up: the
    // cursor stack is never popped empty.
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(10, 10));
    send_key(*canvas, QEvent::KeyPress, Qt::Key_Space);
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, QPoint(20, 20));
    QCOMPARE(stacks(*canvas), "2 hand, 1 open");
    send_key(*canvas, QEvent::KeyRelease, Qt::Key_Space);
    QCOMPARE(stacks(*canvas), "1 tool, 1 cross");
    QCOMPARE(canvas->unpairedCursorPops(), 0);
    QCOMPARE(tool.calls.mid(3), QStringList({"press 10,10 -15,-15", "off", "on"}));

    // A tool picked while Space is held stays when Space comes up.
    RecordingTool picked;
    send_key(*canvas, QEvent::KeyPress, Qt::Key_Space);
    canvas->popTool();
    canvas->pushTool(&picked);
    send_key(*canvas, QEvent::KeyRelease, Qt::Key_Space);
    QCOMPARE(stacks(*canvas), "2 tool, 1 cross");
    QCOMPARE(canvas->tool(), &picked);

    // With no tool Space still gives the hand and takes it back; the last
    // pop shows the arrow.
    auto bare = make_canvas(QSize(100, 100), filled(QSize(50, 50), 0xFFFFFFFF));
    send_key(*bare, QEvent::KeyPress, Qt::Key_Space);
    QCOMPARE(stacks(*bare), "1 hand, 1 open");
    send_key(*bare, QEvent::KeyRelease, Qt::Key_Space);
    QCOMPARE(stacks(*bare), "0 none, 0 arrow");
    QCOMPARE(bare->unpairedCursorPops(), 0);
}

void TestCanvas::mouseRouting()
{
    auto canvas = make_canvas(QSize(100, 80), filled(QSize(50, 40), 0xFFFFFFFF), true);
    canvas->zoom(2); // view (0, 0, 50, 40): two widget pixels per image pixel
    QTest::mouseMove(canvas.get(), QPoint(30, 40));
    RecordingTool tool;
    canvas->pushTool(&tool); // learns the last move's position at once
    QCOMPARE(tool.lastWidgetPos(), QPoint(30, 40));
    QCOMPARE(tool.lastImagePos(), QPointF(15, 20));

    // The canvas repaints after a move, not after a press.
    QCoreApplication::processEvents();
    const int painted = tool.paints;
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(12, 20));
    QCoreApplication::processEvents();
    QCOMPARE(tool.paints, painted);
    QCOMPARE(tool.calls.last(), "press 12,20 6,10");
    QTest::mouseMove(canvas.get(), QPoint(40, 40));
    QCoreApplication::processEvents();
    QCOMPARE(tool.paints, painted + 1);
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, QPoint(40, 40));
}

void TestCanvas::paintsImageGreyAndStripes()
{
    const QImage picture = QImage(ZARN_TESTDATA_DIR "/png/basn2c08.png")
                               .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    auto canvas = make_canvas(QSize(100, 80), picture, true);
    const QRect shown(34, 24, 32, 32);
    // The first pixel that is not grey around the image, the image inside
    // and, with stripes, the pattern shifted by phase on its frame.
    auto mismatch = [&](int phase, bool stripes) {
        const QImage shot = canvas->grab().toImage().convertToFormat(QImage::Format_RGB32);
        for (int y = 0; y < shot.height(); ++y) {
            for (int x = 0; x < shot.width(); ++x) {
                QRgb expected =
                    shown.contains(x, y) ? picture.pixel(x - 34, y - 24) : QColor(Qt::gray).rgb();
                if (stripes && shown.contains(x, y) && !shown.adjusted(1, 1, -1, -1).contains(x, y))
                    expected = canvas->wormPattern.pixel((x - phase + 8) % 8, y % 8) | 0xFF000000;
                if (shot.pixel(x, y) != expected)
                    return QStringLiteral("pixel %1,%2").arg(x).arg(y);
            }
        }
        return QString();
    };
    QCOMPARE(mismatch(0, false), QString());
    canvas->mask().fill(Qt::color1);
    canvas->updateMaskStuff();
    QCOMPARE(mismatch(0, true), QString());
    const qint64 outlineKey = canvas->outlineBitmap().cacheKey();
    for (int tick = 0; tick < 11; ++tick)
        canvas->wormTimeout();
    QCOMPARE(mismatch(11 & 7, true), QString());
    QCOMPARE(canvas->outlineBitmap().cacheKey(), outlineKey); // ticks rebuild nothing
    canvas->clearMask();
    QCOMPARE(mismatch(3, false), QString());
}

void TestCanvas::outlineAtMagnification()
{
    // One image pixel shown as a 4 x 4 block: its 12 border pixels, not the 2 x 2 inside.
    auto canvas = make_canvas(QSize(40, 40), filled(QSize(20, 20), 0xFFFFFFFF));
    canvas->zoom(4); // view (5, 5, 10, 10)
    select_rect(*canvas, QRect(7, 8, 1, 1));
    canvas->grab();
    QVERIFY(same_area(canvas->outlineBitmap(), QRegion(8, 12, 4, 4) - QRegion(9, 13, 2, 2)));
    canvas->translate(100, 0); // out of view: selected, yet no outline
    canvas->grab();
    QVERIFY(!canvas->isMaskEmpty());
    QVERIFY(canvas->outlineBitmap().isNull());

    // Scaled, panned, and after a change of the mask, the outline is that of
    // the mask as a painter draws it through the rounded view (the canvas
    // expands only the part of the mask the drawing reads).
    auto big = make_canvas(QSize(97, 61), filled(QSize(150, 90), 0xFFFFFFFF));
    for (int i = 0; i < 300; ++i)
        select_rect(*big, QRect((i * 37) % 150, (i * 53) % 90, 1 + i % 7, 1 + i % 5));
    const std::pair<double, QPointF> steps[] = {
        {4.0, {-30, 10}}, {1 / 3.0, {0, 0}}, {2.5, {-60, -40}}};
    for (const auto& [factor, pan] : steps) {
        big->zoom(factor);
        big->translate(pan);
        if (factor < 1)
            big->invertMask();
        big->grab();
        const QRectF v = big->viewRect();
        auto round = [](double d) { return int(std::floor(d + 0.5)); };
        QImage drawn = filled(big->size(), 0xFFFFFFFF);
        QPainter painter(&drawn);
        painter.setWindow(round(v.x()), round(v.y()), round(v.width()), round(v.height()));
        painter.drawPixmap(0, 0, big->mask());
        painter.end();
        QCOMPARE(big->outlineBitmap().toImage(), find_edges(QBitmap::fromImage(drawn)).toImage());
    }
}

QTEST_MAIN(TestCanvas)
#include "tst_canvas.moc"
