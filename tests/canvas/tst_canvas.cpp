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
    using Canvas::documentImage;
    using Canvas::outlineDirty;
    using Canvas::undoList;
    using Canvas::wormPattern;

    void stopAnimation() { findChild<QTimer*>()->stop(); }
};

QString spot(const QPoint& w, const QPointF& i)
{
    return QStringLiteral("%1,%2 %3,%4").arg(w.x()).arg(w.y()).arg(i.x()).arg(i.y());
}

// Writes down what the canvas hands it; shows a cross while active, like
// the selection tools.
class RecordingTool : public Tool
{
public:
    QStringList calls;
    int paints = 0;

    void mousePressEvent(const QPoint& w, const QPointF& i, Qt::MouseButton button,
                         Qt::MouseButtons, Qt::KeyboardModifiers) override
    {
        calls << QStringLiteral("press %1 %2").arg(spot(w, i)).arg(button);
    }
    void mouseReleaseEvent(const QPoint& w, const QPointF&, Qt::MouseButton, Qt::MouseButtons,
                           Qt::KeyboardModifiers) override
    {
        calls << QStringLiteral("release %1,%2").arg(w.x()).arg(w.y());
    }
    void keyPressEvent(int, const QString& text, Qt::KeyboardModifiers) override
    {
        calls << "key " + text;
    }
    void keyReleaseEvent(int key, const QString&, Qt::KeyboardModifiers) override
    {
        calls << QStringLiteral("keyup %1").arg(key, 0, 16);
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

// A canvas of the given widget size over image, set up as the main window
// does it: sized, initialised, view reset.
std::unique_ptr<ProbeCanvas> make_canvas(QSize widget, const QImage& image)
{
    auto canvas = std::make_unique<ProbeCanvas>(image);
    canvas->resize(widget);
    // Should init() fail, the checks fail on the missing mask and history.
    if (canvas->init())
        canvas->stopAnimation();
    canvas->resetView();
    return canvas;
}

QImage pattern_image(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x * 5, y * 7, 100));
    return image;
}

QImage filled(QSize size, QRgb colour)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(colour);
    return image;
}

int set_pixels(const QBitmap& bitmap)
{
    const QImage image = bitmap.toImage();
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, y) == QColor(Qt::color1) ? 1 : 0;
    return count;
}

void select_rect(Canvas& canvas, const QRect& rect)
{
    QPainter painter(&canvas.mask());
    painter.fillRect(rect, Qt::color1);
    painter.end();
    canvas.updateMaskStuff();
}

void send_key(Canvas& canvas, QEvent::Type type, int key, bool autoRepeat = false,
              Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString& text = {})
{
    QKeyEvent event(type, key, modifiers, text, autoRepeat);
    QApplication::sendEvent(&canvas, &event);
}

} // namespace

class TestCanvas : public QObject
{
    Q_OBJECT

private slots:
    void newDocumentAndInit();
    void openedImagesAreConverted();
    void nullImageAndUnsizedWidgetAreSafe();
    void undoHistory();
    void snapshotsSharePixelsUntilNextWrite();
    void applyImageWithMask();
    void maskOperationsAndCaches();
    void viewNumbers();
    void resizeKeepsMagnification();
    void keyTable();
    void spaceHandTool();
    void dragStartedUnderToolEndsUnderHand();
    void mouseRouting();
    void paintsImageGreyAndStripes();
    void outlineAtMagnification();
};

void TestCanvas::newDocumentAndInit()
{
    ProbeCanvas canvas;
    QCOMPARE(canvas.image().size(), QSize(800, 600));
    QCOMPARE(canvas.image().format(), QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(canvas.image(), filled(QSize(800, 600), 0xFFFFFFFF));
    QCOMPARE(canvas.viewRect(), QRectF());
    QVERIFY(canvas.mask().isNull());

    QVERIFY(canvas.init());
    QVERIFY(!canvas.isChanged());
    QVERIFY(canvas.isMaskEmpty());
    QCOMPARE(canvas.mask().size(), QSize(800, 600));
    QCOMPARE(canvas.undoCount(), 1);
    QCOMPARE(canvas.redoCount(), 0);
}

void TestCanvas::openedImagesAreConverted()
{
    // 8-bit indexed, 24-bit, 32-bit with alpha, 1-bit grey; a resolution of
    // their own is not kept.
    const QImage fresh(1, 1, QImage::Format_ARGB32_Premultiplied);
    for (const char* file : {"basn3p08.png", "basn2c08.png", "basn6a08.png", "basn0g01.png"}) {
        QImage source(QStringLiteral(ZARN_TESTDATA_DIR "/png/") + file);
        source.setDotsPerMeterX(5000);
        source.setDotsPerMeterY(7000);
        const QImage image = Canvas(source).image();
        QCOMPARE(image.format(), QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(image.dotsPerMeterX(), fresh.dotsPerMeterX());
        QCOMPARE(image.dotsPerMeterY(), fresh.dotsPerMeterY());
        QCOMPARE(image.pixel(5, 7), source.convertToFormat(image.format()).pixel(5, 7));
    }
}

void TestCanvas::nullImageAndUnsizedWidgetAreSafe()
{
    ProbeCanvas canvas{QImage()};
    QCOMPARE(canvas.image().size(), QSize(1, 1));
    QCOMPARE(canvas.image().pixel(0, 0), 0u);
    QVERIFY(canvas.init());
    canvas.resize(0, 0);
    canvas.resetView();
    canvas.zoom(1.5);
    QVERIFY(std::isfinite(canvas.screenToImage(16)));
    QVERIFY(std::isfinite(canvas.widgetToImage(5, 5).x()));
    canvas.invertMask();
    QVERIFY(!canvas.isMaskEmpty());

    // Painted before any resetView(): nothing but the grey background.
    ProbeCanvas fresh;
    fresh.resize(30, 20);
    QVERIFY(fresh.init());
    select_rect(fresh, QRect(0, 0, 800, 600));
    const QImage shot = fresh.grab().toImage();
    QCOMPARE(shot.convertToFormat(QImage::Format_RGB32),
             filled(QSize(30, 20), QColor(Qt::gray).rgb()).convertToFormat(QImage::Format_RGB32));
}

void TestCanvas::undoHistory()
{
    auto canvas = make_canvas(QSize(100, 100), filled(QSize(10, 10), 0xFFFFFFFF));
    auto marker = [&] { return canvas->image().pixel(0, 0); };

    // The initial entry: undo keeps the pixels, a second undo does nothing.
    canvas->undo();
    QCOMPARE(marker(), 0xFFFFFFFFu);
    QCOMPARE(canvas->undoCount(), 0);
    QCOMPARE(canvas->redoCount(), 1);
    canvas->undo();
    QCOMPARE(canvas->redoCount(), 1);
    canvas->redo();
    QCOMPARE(canvas->undoCount(), 1);
    QCOMPARE(canvas->redoCount(), 0);

    // 25 changes, each after its snapshot: the 20 newest snapshots stay,
    // i.e. those taken before changes 6 to 25 (holding markers 5 to 24).
    for (uint i = 1; i <= 25; ++i) {
        canvas->undoSnapshot();
        canvas->image().setPixel(0, 0, 0xFF000000u | i);
    }
    QCOMPARE(canvas->undoCount(), 20);
    QCOMPARE(canvas->undoList.front().pixel(0, 0), 0xFF000005u);
    for (int i = 0; i < 21; ++i)
        canvas->undo();
    QCOMPARE(marker(), 0xFF000005u);
    QCOMPARE(canvas->redoCount(), 20);

    // The changed flag: only snapshots set it.
    canvas->setChanged(false);
    canvas->redo();
    QVERIFY(!canvas->isChanged());
    canvas->undo();
    QVERIFY(!canvas->isChanged());
    // A snapshot after an undo throws the redo list away.
    canvas->undoSnapshot();
    QVERIFY(canvas->isChanged());
    QCOMPARE(canvas->redoCount(), 0);
    const QRgb before = marker();
    canvas->redo();
    QCOMPARE(marker(), before);

    // The selection is not part of the history, and undo leaves the outline.
    select_rect(*canvas, QRect(2, 2, 3, 3));
    canvas->grab();
    QVERIFY(!canvas->outlineDirty);
    canvas->undo();
    canvas->redo();
    QVERIFY(!canvas->outlineDirty);
    QCOMPARE(set_pixels(canvas->mask()), 9);
}

void TestCanvas::snapshotsSharePixelsUntilNextWrite()
{
    auto canvas = make_canvas(QSize(100, 100), pattern_image(64, 64));
    canvas->image().setPixel(0, 0, 0xFF112233u); // the document now owns its pixels
    const uchar* own = canvas->image().constBits();

    canvas->undoSnapshot();
    const QImage& snapshot = canvas->undoList.back();
    QCOMPARE(canvas->image().constBits(), own);
    QCOMPARE(snapshot.constBits(), own);
    QCOMPARE(snapshot.cacheKey(), canvas->image().cacheKey());

    canvas->image().setPixel(1, 1, 0xFF445566u);
    QVERIFY(canvas->image().constBits() != snapshot.constBits());
    QCOMPARE(snapshot.pixel(1, 1), pattern_image(64, 64).pixel(1, 1));

    // Undo hands the snapshot's buffer back as it is.
    const uchar* shared = snapshot.constBits();
    canvas->undo();
    QCOMPARE(canvas->image().constBits(), shared);
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
    select_rect(*canvas, QRect(10, 10, 15, 15));
    canvas->applyImageWithMask(result);
    // Red inside the rectangle only, and not where the result is transparent.
    for (QPoint p : {QPoint(10, 10), QPoint(24, 24), QPoint(20, 20), QPoint(9, 10), QPoint(25, 24)})
        QCOMPARE(canvas->image().pixel(p), QRect(10, 10, 15, 15).contains(p) && p != QPoint(20, 20)
                                               ? 0xFFFF0000u
                                               : 0xFFFFFFFFu);

    // A checkerboard selection on a big picture has millions of clip
    // rectangles; a half-transparent result must blend exactly as a painter
    // does, on selected pixels only.
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
    for (QPoint p : {QPoint(0, 0), QPoint(1, 0), QPoint(0, 1), QPoint(2999, 1999), QPoint(2998, 1999)})
        QCOMPARE(canvas->image().pixel(p),
                 (p.x() + p.y()) % 2 == 0 ? expected.pixel(p) : 0xFFFFFFFFu);
}

void TestCanvas::maskOperationsAndCaches()
{
    // 801 pixels leave padding bytes at each row's end.
    auto canvas = make_canvas(QSize(100, 100), filled(QSize(801, 7), 0xFFFFFFFF));
    QVERIFY(canvas->isMaskEmpty());
    canvas->invertMask();
    QVERIFY(!canvas->isMaskEmpty());
    QCOMPARE(set_pixels(canvas->mask()), 801 * 7);
    QCOMPARE(canvas->maskRegion(), QRegion(0, 0, 801, 7));

    // Writing through mask() must not leave a stale answer behind.
    canvas->mask().fill(Qt::color0);
    QVERIFY(canvas->isMaskEmpty());
    QVERIFY(canvas->maskRegion().isEmpty());
    canvas->mask().fill(Qt::color1);
    QVERIFY(!canvas->isMaskEmpty());
    canvas->clearMask();
    QVERIFY(canvas->isMaskEmpty());

    select_rect(*canvas, QRect(3, 1, 790, 4));
    QCOMPARE(canvas->maskRegion(), QRegion(3, 1, 790, 4));
    const QImage original = canvas->mask().toImage();
    canvas->invertMask();
    QCOMPARE(set_pixels(canvas->mask()), 801 * 7 - 790 * 4);
    canvas->invertMask();
    QCOMPARE(canvas->mask().toImage(), original);
}

void TestCanvas::viewNumbers()
{
    auto canvas = make_canvas(QSize(600, 400), filled(QSize(800, 600), 0xFFFFFFFF));
    QCOMPARE(canvas->viewRect(), QRectF(100, 100, 600, 400));
    QCOMPARE(canvas->widgetToImage(0, 0), QPointF(100, 100));
    QCOMPARE(canvas->widgetToImage(300, 200), QPointF(400, 300));
    QCOMPARE(canvas->imageToWidget(400, 300), QPointF(300, 200));
    QCOMPARE(canvas->inverseView(), QRect(QPoint(-100, -100), QPoint(700, 500)));
    QCOMPARE(canvas->screenToImage(16), 12.0);

    // Half a pixel off: -100.5 rounds up to -100, 699.5 to 700.
    canvas->translate(QPointF(0.5, 0));
    QCOMPARE(canvas->inverseView(), QRect(QPoint(-100, -100), QPoint(700, 500)));
    canvas->resetView();

    canvas->zoom(1.5);
    const QRectF zoomed = canvas->viewRect();
    QCOMPARE(canvas->center(), QPointF(400, 300));
    QCOMPARE(zoomed.x(), 200.0);
    QCOMPARE(zoomed.width(), 400.0);
    QVERIFY(std::abs(zoomed.height() - 400.0 * 400.0 / 600.0) < 1e-9);
    QVERIFY(std::abs(zoomed.y() - (300 - 200.0 / 1.5)) < 1e-9);
    QCOMPARE(canvas->screenToImage(16), 8.0);
    canvas->zoom(2.0 / 3.0);
    QVERIFY(std::abs(canvas->viewRect().width() - 600) < 1e-9);
    QVERIFY(std::abs(canvas->viewRect().height() - 400) < 1e-9);

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

    canvas->setCenter(QPointF(0, 0));
    QCOMPARE(canvas->viewRect(), QRectF(-300, -200, 600, 400));

    auto odd = make_canvas(QSize(601, 401), filled(QSize(801, 601), 0xFFFFFFFF));
    QCOMPARE(odd->viewRect(), QRectF(100, 100, 601, 401));
}

void TestCanvas::resizeKeepsMagnification()
{
    auto canvas = make_canvas(QSize(600, 400), filled(QSize(800, 600), 0xFFFFFFFF));
    canvas->show(); // the first resize event, with no previous size, scales nothing
    QVERIFY(QTest::qWaitForWindowExposed(canvas.get()));
    QCOMPARE(canvas->viewRect(), QRectF(100, 100, 600, 400));
    canvas->resize(1200, 400);
    QCOMPARE(canvas->viewRect(), QRectF(100, 100, 1200, 400));
    canvas->resize(600, 200);
    QCOMPARE(canvas->viewRect(), QRectF(100, 100, 600, 200));
}

void TestCanvas::keyTable()
{
    // 700 pixels shown 600 wide: the arrow step is 16 * 600 / 700 = 13.7.
    auto canvas = make_canvas(QSize(600, 400), filled(QSize(700, 600), 0xFFFFFFFF));
    RecordingTool tool;
    canvas->pushTool(&tool);
    tool.calls.clear();
    const QPointF start = canvas->viewRect().topLeft();

    QTest::keyClick(canvas.get(), Qt::Key_Right);
    QCOMPARE(canvas->viewRect().topLeft(), start + QPointF(13, 0));
    QTest::keyClick(canvas.get(), Qt::Key_Left);
    QTest::keyClick(canvas.get(), Qt::Key_Left);
    QTest::keyClick(canvas.get(), Qt::Key_Down);
    QTest::keyClick(canvas.get(), Qt::Key_Up);
    QTest::keyClick(canvas.get(), Qt::Key_Up);
    QCOMPARE(canvas->viewRect().topLeft(), start + QPointF(-13, -13));

    // Without Control the view keys are swallowed; only releases get through.
    for (int key : {Qt::Key_Plus, Qt::Key_Equal, Qt::Key_Minus, Qt::Key_0})
        QTest::keyClick(canvas.get(), Qt::Key(key));
    QCOMPARE(canvas->viewRect().width(), 600.0);
    QTest::keyClick(canvas.get(), Qt::Key_A);
    QCOMPARE(tool.calls, QStringList({"keyup 1000014", "keyup 1000012", "keyup 1000012",
                                      "keyup 1000015", "keyup 1000013", "keyup 1000013", "keyup 2b",
                                      "keyup 3d", "keyup 2d", "keyup 30", "key a", "keyup 41"}));

    QTest::keyClick(canvas.get(), Qt::Key_Equal, Qt::ControlModifier);
    QCOMPARE(canvas->viewRect().width(), 400.0);
    QTest::keyClick(canvas.get(), Qt::Key_Plus, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(std::abs(canvas->viewRect().width() - 400 / 1.5) < 1e-9);
    QTest::keyClick(canvas.get(), Qt::Key_Minus, Qt::ControlModifier);
    QVERIFY(std::abs(canvas->viewRect().width() - 400) < 1e-9);
    QTest::keyClick(canvas.get(), Qt::Key_0, Qt::ControlModifier);
    QCOMPARE(canvas->viewRect(), QRectF(50, 100, 600, 400));

    // A view 40 pixels wide over 700: the step is below one pixel.
    canvas->zoom(15);
    const QPointF zoomed = canvas->viewRect().topLeft();
    QTest::keyClick(canvas.get(), Qt::Key_Right);
    QCOMPARE(canvas->viewRect().topLeft(), zoomed);
}

void TestCanvas::spaceHandTool()
{
    auto canvas = make_canvas(QSize(100, 100), filled(QSize(50, 50), 0xFFFFFFFF));
    RecordingTool tool;
    canvas->pushTool(&tool);
    QCOMPARE(canvas->cursor().shape(), Qt::CrossCursor);

    send_key(*canvas, QEvent::KeyPress, Qt::Key_Space, false, {}, " ");
    for (int i = 0; i < 3; ++i) {
        send_key(*canvas, QEvent::KeyRelease, Qt::Key_Space, true, {}, " ");
        send_key(*canvas, QEvent::KeyPress, Qt::Key_Space, true, {}, " ");
    }
    QCOMPARE(canvas->toolDepth(), 2);
    QCOMPARE(canvas->tool(), canvas->handTool());
    QCOMPARE(canvas->cursor().shape(), Qt::OpenHandCursor);
    send_key(*canvas, QEvent::KeyRelease, Qt::Key_Space, false, {}, " ");
    QCOMPARE(canvas->toolDepth(), 1);
    QCOMPARE(canvas->tool(), &tool);
    QCOMPARE(canvas->cursorDepth(), 1);
    QCOMPARE(canvas->cursor().shape(), Qt::CrossCursor);
    QCOMPARE(tool.calls, QStringList({"on", "off", "on"}));

    // A tool picked while Space is held stays when Space comes up.
    RecordingTool picked;
    send_key(*canvas, QEvent::KeyPress, Qt::Key_Space);
    canvas->popTool();
    canvas->pushTool(&picked);
    send_key(*canvas, QEvent::KeyRelease, Qt::Key_Space);
    QCOMPARE(canvas->toolDepth(), 2);
    QCOMPARE(canvas->tool(), &picked);

    // With no tool at all Space still gives the hand, and takes it back.
    auto bare = make_canvas(QSize(100, 100), filled(QSize(50, 50), 0xFFFFFFFF));
    send_key(*bare, QEvent::KeyPress, Qt::Key_Space);
    QCOMPARE(bare->tool(), bare->handTool());
    send_key(*bare, QEvent::KeyRelease, Qt::Key_Space);
    QVERIFY(!bare->hasTool());
    QCOMPARE(bare->cursorDepth(), 0);
    QCOMPARE(bare->cursor().shape(), Qt::ArrowCursor);
    bare->popCursor(); // unpaired: ignored
    bare->popTool();
    QCOMPARE(bare->cursor().shape(), Qt::ArrowCursor);
}

void TestCanvas::dragStartedUnderToolEndsUnderHand()
{
    auto canvas = make_canvas(QSize(100, 100), filled(QSize(50, 50), 0xFFFFFFFF));
    canvas->show();
    QVERIFY(QTest::qWaitForWindowExposed(canvas.get()));
    RecordingTool marquee;
    canvas->pushTool(&marquee);
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(10, 10));
    send_key(*canvas, QEvent::KeyPress, Qt::Key_Space);
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, QPoint(20, 20));
    QCOMPARE(canvas->cursorDepth(), 1);
    QCOMPARE(canvas->cursor().shape(), Qt::OpenHandCursor);
    send_key(*canvas, QEvent::KeyRelease, Qt::Key_Space);
    QCOMPARE(canvas->cursorDepth(), 1);
    QCOMPARE(canvas->cursor().shape(), Qt::CrossCursor);
    QCOMPARE(canvas->unpairedCursorPops(), 0);
    QCOMPARE(marquee.calls, QStringList({"on", "press 10,10 -15,-15 1", "off", "on"}));
}

void TestCanvas::mouseRouting()
{
    auto canvas = make_canvas(QSize(100, 80), filled(QSize(50, 40), 0xFFFFFFFF));
    canvas->show();
    QVERIFY(QTest::qWaitForWindowExposed(canvas.get()));
    canvas->zoom(2); // view (0, 0, 50, 40): two widget pixels per image pixel

    QTest::mouseMove(canvas.get(), QPoint(30, 40));
    RecordingTool tool;
    canvas->pushTool(&tool);
    QCOMPARE(tool.lastWidgetPos(), QPoint(30, 40));
    QCOMPARE(tool.lastImagePos(), QPointF(15, 20));

    // Presses and releases pass both positions but store neither.
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(10, 20));
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, QPoint(11, 20));
    QCOMPARE(tool.calls.mid(1), QStringList({"press 10,20 5,10 1", "release 11,20"}));
    QCOMPARE(tool.lastWidgetPos(), QPoint(30, 40));

    // A view change tells the tool where the pointer now is.
    canvas->translate(5, 0);
    QCOMPARE(tool.lastImagePos(), QPointF(20, 20));

    // The canvas repaints after a move, not after a press.
    QCoreApplication::processEvents();
    const int painted = tool.paints;
    QTest::mousePress(canvas.get(), Qt::RightButton, {}, QPoint(12, 20));
    QCoreApplication::processEvents();
    QCOMPARE(tool.paints, painted);
    QTest::mouseMove(canvas.get(), QPoint(40, 40));
    QCoreApplication::processEvents();
    QCOMPARE(tool.paints, painted + 1);
    QCOMPARE(tool.lastImagePos(), QPointF(25, 20));
    QTest::mouseRelease(canvas.get(), Qt::RightButton, {}, QPoint(40, 40));
}

void TestCanvas::paintsImageGreyAndStripes()
{
    const QImage picture = pattern_image(40, 30);
    auto canvas = make_canvas(QSize(100, 80), picture); // image at widget (30, 25)
    // Shown, so that grabbing sends no resize events of its own.
    canvas->show();
    QVERIFY(QTest::qWaitForWindowExposed(canvas.get()));
    const QRgb grey = QColor(Qt::gray).rgb();
    const QRect shown(30, 25, 40, 30);
    auto expectedAt = [&](int x, int y, int phase, bool stripes) -> QRgb {
        if (!shown.contains(x, y))
            return grey;
        const bool frame =
            x == shown.left() || x == shown.right() || y == shown.top() || y == shown.bottom();
        if (stripes && frame)
            return canvas->wormPattern.pixel(((x - phase) % 8 + 8) % 8, y % 8) | 0xFF000000;
        return picture.pixel(x - 30, y - 25);
    };
    auto check = [&](int phase, bool stripes) {
        const QImage shot = canvas->grab().toImage().convertToFormat(QImage::Format_RGB32);
        for (int y = 0; y < shot.height(); ++y)
            for (int x = 0; x < shot.width(); ++x)
                if (shot.pixel(x, y) != expectedAt(x, y, phase, stripes))
                    return QStringLiteral("pixel %1,%2").arg(x).arg(y);
        return QString();
    };
    QCOMPARE(check(0, false), QString());

    canvas->mask().fill(Qt::color1);
    canvas->updateMaskStuff();
    QCOMPARE(check(0, true), QString());
    const qint64 outlineKey = canvas->outlineBitmap().cacheKey();
    for (int tick = 0; tick < 11; ++tick)
        canvas->wormTimeout();
    QCOMPARE(canvas->phase(), 11);
    QCOMPARE(check(3, true), QString());
    // Ticks repaint without rebuilding the outline.
    QCOMPARE(canvas->outlineBitmap().cacheKey(), outlineKey);

    canvas->clearMask();
    QCOMPARE(check(3, false), QString());
}

void TestCanvas::outlineAtMagnification()
{
    // One image pixel shown as a 4 x 4 block: its 12 border pixels.
    auto canvas = make_canvas(QSize(40, 40), filled(QSize(20, 20), 0xFFFFFFFF));
    canvas->zoom(4); // view (5, 5, 10, 10)
    select_rect(*canvas, QRect(7, 8, 1, 1));
    canvas->grab();
    QCOMPARE(set_pixels(canvas->outlineBitmap()), 12);
    const QImage outline = canvas->outlineBitmap().toImage();
    QCOMPARE(outline.pixelColor(8, 12), QColor(Qt::color1));
    QCOMPARE(outline.pixelColor(11, 15), QColor(Qt::color1));
    QCOMPARE(outline.pixelColor(9, 13), QColor(Qt::color0));
    QCOMPARE(outline.pixelColor(10, 14), QColor(Qt::color0));

    // Out of view: selected, yet no outline.
    canvas->translate(100, 0);
    canvas->grab();
    QVERIFY(!canvas->isMaskEmpty());
    QVERIFY(canvas->outlineBitmap().isNull());

    // At any magnification the outline is that of the mask as QPainter
    // draws it through the rounded view.
    auto big = make_canvas(QSize(97, 61), pattern_image(150, 90));
    {
        QPainter painter(&big->mask());
        painter.setPen(Qt::color1);
        painter.setBrush(Qt::color1);
        painter.drawEllipse(20, 10, 90, 60);
        for (int i = 0; i < 300; ++i)
            painter.drawPoint((i * 37) % 150, (i * 53) % 90);
    }
    big->updateMaskStuff();
    // Zoom and pan steps, with a change of the mask half-way through.
    const std::pair<double, QPointF> steps[] = {{1.0, {0, 0}},    {1.5, {3.3, -2.2}},
                                                {4.0, {-30, 10}}, {1 / 3.0, {0, 0}},
                                                {0.7, {17.5, 4}}, {2.5, {-60, -40}}};
    for (const auto& [factor, pan] : steps) {
        big->zoom(factor);
        big->translate(pan);
        if (factor < 1)
            big->invertMask();
        big->grab();
        const QRectF v = big->viewRect();
        QImage drawn(big->size(), QImage::Format_ARGB32_Premultiplied);
        drawn.fill(0xFFFFFFFF);
        QPainter painter(&drawn);
        painter.setWindow(QRect(int(std::floor(v.x() + 0.5)), int(std::floor(v.y() + 0.5)),
                                int(std::floor(v.width() + 0.5)),
                                int(std::floor(v.height() + 0.5))));
        painter.drawPixmap(0, 0, big->mask());
        painter.end();
        const QBitmap expected = find_edges(QBitmap::fromImage(drawn));
        QCOMPARE(big->outlineBitmap().toImage(), expected.toImage());
    }
}

QTEST_MAIN(TestCanvas)
#include "tst_canvas.moc"
