// SPDX-License-Identifier: MIT
#include <cstring>

#include "support/zarntest.h"

namespace {

struct ProbeCanvas : Canvas
{
    using Canvas::Canvas;
    using Canvas::outlineDirty, Canvas::undoList, Canvas::wormPattern;
    int idleTicks = 0; // the worm timer's ticks go to its QTimer, not here
    void timerEvent(QTimerEvent* e) override { ++idleTicks, Canvas::timerEvent(e); }
};

// Writes down what the canvas hands it; shows a cross while active.
struct RecordingTool : Tool
{
    QStringList calls;
    void mousePressEvent(const QPoint& w, const QPointF& i, Qt::MouseButton, Qt::MouseButtons,
                         Qt::KeyboardModifiers) override
    {
        calls << QString("press %1,%2 %3,%4").arg(w.x()).arg(w.y()).arg(i.x()).arg(i.y());
    }
    void keyPressEvent(int, const QString& text, Qt::KeyboardModifiers) override { calls << text; }
    void keyReleaseEvent(int key, const QString&, Qt::KeyboardModifiers) override
    {
        calls << QString("up %1").arg(key, 0, 16);
    }
    void activeEvent(bool active) override
    {
        calls << (active ? "on" : "off");
        active ? canvas->pushCursor(QCursor(Qt::CrossCursor)) : canvas->popCursor();
    }
};

// Set up as the main window does it: sized, initialised, view fitted, shown.
std::unique_ptr<ProbeCanvas> makeCanvas(QSize widget, const QImage& image)
{
    auto canvas = std::make_unique<ProbeCanvas>(image);
    canvas->resize(widget);
    if (canvas->init())
        canvas->findChild<QTimer*>()->stop();
    canvas->resetView();
    canvas->show();
    return canvas;
}

void select(Canvas& canvas, const QRect& rect)
{
    QPainter(&canvas.mask()).fillRect(rect, Qt::color1);
    canvas.updateMaskStuff();
}

void space(Canvas& canvas, QEvent::Type type, bool autoRepeat = false)
{
    QKeyEvent event(type, Qt::Key_Space, Qt::NoModifier, " ", autoRepeat);
    QApplication::sendEvent(&canvas, &event);
}

} // namespace

class TestCanvas : public QObject
{
    Q_OBJECT

private slots:
    void undoHistory()
    {
        QImage indexed(ZARN_TESTDATA_DIR "/png/basn3p08.png"); // converted, own resolution dropped
        indexed.setDotsPerMeterX(5000);
        QVERIFY(Canvas(indexed).image() ==
                    indexed.convertToFormat(QImage::Format_ARGB32_Premultiplied) &&
                Canvas(indexed).image().dotsPerMeterX() ==
                    QImage(1, 1, QImage::Format_RGB32).dotsPerMeterX());
        auto canvas = makeCanvas(QSize(100, 100), filled(10, 10, 0xFFFFFFFF));
        // undo/redo entries, the changed flag and the marker in the blue channel.
        auto after = [&](void (Canvas::*step)()) {
            (canvas.get()->*step)();
            return QString::asprintf("%d/%d %d %d", canvas->undoCount(), canvas->redoCount(),
                                     canvas->isChanged(), qBlue(canvas->image().pixel(0, 0)));
        };
        QCOMPARE(after(&Canvas::undo), "0/1 0 255"); // the initial entry: the pixels stay
        QCOMPARE(after(&Canvas::undo), "0/1 0 255");
        QCOMPARE(after(&Canvas::redo), "1/0 0 255");
        for (uint i = 1; i <= 25; ++i) { // the snapshots before changes 6 to 25 stay
            canvas->undoSnapshot();
            canvas->image().setPixel(0, 0, 0xFF000000u | i);
        }
        QCOMPARE(canvas->undoList.front().pixel(0, 0), 0xFF000005u);
        canvas->setChanged(false);
        for (int i = 0; i < 19; ++i)
            canvas->undo();
        QCOMPARE(after(&Canvas::undo), "0/20 0 5");
        QCOMPARE(after(&Canvas::redo), "1/19 0 6");
        QCOMPARE(after(&Canvas::undoSnapshot), "2/0 1 6");
        // A resting stroke has the next snapshot's copy made ahead, here in
        // two slices; if the stroke goes on, that copy is stale and not taken.
        auto rested = makeCanvas(QSize(50, 50), positions(1100, 1000));
        rested->undoSnapshot();
        rested->image().setPixel(9, 9, 0xFF000001u);
        QTRY_VERIFY(rested->idleTicks >= 3); // a quiet tick, then a slice a tick
        rested->image().setPixel(9, 9, 0xFF000002u);
        rested->undoSnapshot();
        const QImage shown = std::as_const(*rested).image().copy();
        QCOMPARE(shown.pixel(9, 9), 0xFF000002u);
        QTRY_VERIFY(rested->idleTicks >= 5); // made again, then taken by the next write
        QCOMPARE(rested->image(), shown);
    }

    void maskAndApply()
    {
        QImage result = filled(40, 30, 0xFFFF0000);
        result.setPixel(20, 20, 0); // transparent: keeps the document's pixel
        auto canvas = makeCanvas(QSize(50, 50), filled(40, 30, 0xFFFFFFFF));
        canvas->applyImageWithMask(result);
        QVERIFY(canvas->image().pixel(39, 29) == 0xFFFF0000u &&
                canvas->image().pixel(20, 20) == 0xFFFFFFFFu);
        // A checkerboard of millions of clip rectangles; half-transparent blends.
        const int w = 3000, h = 2000;
        canvas = makeCanvas(QSize(50, 50), filled(w, h, 0xFFFFFFFF));
        QImage board(w, h, QImage::Format_MonoLSB);
        board.setColorTable({QColor(Qt::color0).rgba(), QColor(Qt::color1).rgba()});
        for (int y = 0; y < h; ++y)
            std::memset(board.scanLine(y), (y & 1) ? 0xAA : 0x55, size_t(board.bytesPerLine()));
        canvas->mask() = QBitmap::fromImage(board);
        canvas->applyImageWithMask(filled(w, h, 0x80800000));
        for (QPoint p : {QPoint(0, 0), QPoint(1, 0), QPoint(w - 1, h - 1), QPoint(w - 2, h - 1)})
            QCOMPARE(canvas->image().pixel(p), (p.x() + p.y()) % 2 ? 0xFFFFFFFFu : 0xFFFF7F7Fu);
        canvas = makeCanvas(QSize(100, 100), filled(801, 7, 0xFFFFFFFF)); // rows with padding
        QVERIFY(canvas->isMaskEmpty());
        canvas->invertMask();
        QCOMPARE(QRegion(std::as_const(*canvas).mask()), QRegion(0, 0, 801, 7));
        canvas->mask().fill(Qt::color0); // no stale cached answer after a write through mask()
        QVERIFY(canvas->isMaskEmpty());
        select(*canvas, QRect(800, 6, 1, 1));
        QVERIFY(!canvas->isMaskEmpty());
        select(*canvas, QRect(3, 1, 790, 4));
        canvas->invertMask();
        const QRegion expected = QRegion(0, 0, 801, 7) - QRect(3, 1, 790, 4) - QRect(800, 6, 1, 1);
        QVERIFY((QRegion(canvas->mask()) ^ expected).isEmpty());
        canvas->outlineDirty = false;
        canvas->clearMask();
        QVERIFY(canvas->isMaskEmpty() && canvas->outlineDirty);
    }

    void viewKeysAndHand()
    {
        auto canvas = makeCanvas(QSize(600, 400), filled(800, 600, 0xFFFFFFFF));
        QCOMPARE(canvas->viewRect(), QRectF(100, 100, 600, 400));
        QCOMPARE(canvas->imageToWidget(400, 300), QPointF(300, 200));
        canvas->translate(QPointF(0.5, 0)); // -100.5 rounds up to -100, 699.5 to 700
        QCOMPARE(canvas->inverseView(), QRect(QPoint(-100, -100), QPoint(700, 500)));
        canvas->translate(2.9, -2.9); // whole pixels only; below one the view stays
        canvas->translate(0.9, -0.9);
        QCOMPARE(canvas->viewRect().topLeft(), QPointF(102.5, 98));
        canvas->resize(1200, 400); // the view grows with the widget, at the same scale
        QCOMPARE(canvas->viewRect().size(), QSizeF(1200, 400));
        canvas->resize(600, 400);
        RecordingTool tool;
        canvas->pushTool(&tool);
        // Without Control the view keys are swallowed (their releases are
        // not); arrows step 16 screen pixels, 16 * 600 / 800 image pixels.
        QTest::keyClicks(canvas.get(), "+-0a");
        QTest::keyClick(canvas.get(), Qt::Key_Right);
        QTest::keyClick(canvas.get(), Qt::Key_Down);
        QCOMPARE(tool.calls.join(' '), "on up 2b up 2d up 30 a up 41 up 1000014 up 1000015");
        QCOMPARE(canvas->viewRect(), QRectF(114.5, 110, 600, 400));
        QTest::keyClick(canvas.get(), Qt::Key_0, Qt::ControlModifier);
        QTest::keyClick(canvas.get(), Qt::Key_Equal, Qt::ControlModifier); // in by 1.5
        QTest::keyClick(canvas.get(), Qt::Key_Left); // 400 of 800 wide: steps of 8
        QCOMPARE(canvas->viewRect(), QRectF(192, 300 - 400.0 / 3, 400, 800.0 / 3));
        QTest::keyClick(canvas.get(), Qt::Key_Minus, Qt::ControlModifier);
        QCOMPARE(canvas->viewRect(), QRectF(92, 100, 600, 400));
        // Space holds the hand over any tool, auto-repeat or not; a press and
        // release under different tools pair their cursors; the hand drags.
        canvas = makeCanvas(QSize(100, 100), filled(50, 50, 0xFFFFFFFF));
        auto stacks = [&canvas] {
            return QString::asprintf("%d %d %d", canvas->toolDepth(), canvas->cursorDepth(),
                                     int(canvas->cursor().shape()));
        };
        RecordingTool held;
        canvas->pushTool(&held);
        space(*canvas, QEvent::KeyPress);
        for (int i = 0; i < 3; ++i)
            space(*canvas, QEvent::KeyRelease, true), space(*canvas, QEvent::KeyPress, true);
        QCOMPARE(stacks() + (canvas->tool() == canvas->handTool() ? " hand" : ""),
                 QString("2 1 %1 hand").arg(Qt::OpenHandCursor));
        space(*canvas, QEvent::KeyRelease);
        QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(10, 10));
        space(*canvas, QEvent::KeyPress);
        QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, QPoint(20, 20));
        RecordingTool picked;
        canvas->popTool();
        canvas->pushTool(&picked);
        space(*canvas, QEvent::KeyRelease);
        QCOMPARE(stacks() + " " + QString::number(canvas->unpairedCursorPops()),
                 QString("2 1 %1 0").arg(Qt::CrossCursor));
        QCOMPARE(held.calls.join(' '), "on off on press 10,10 -15,-15 off on off");
        canvas->zoom(2); // 40 widget pixels at zoom 2 are 20 image pixels
        const QRectF view = canvas->viewRect();
        space(*canvas, QEvent::KeyPress);
        QTest::mousePress(canvas.get(), Qt::LeftButton, {}, QPoint(20, 50));
        QTest::mouseMove(canvas.get(), QPoint(60, 50));
        QCOMPARE(canvas->viewRect(), view.translated(-20, 0));
        canvas->popTool(), canvas->popTool(), canvas->popTool();
        QCOMPARE(stacks(), QString("0 0 %1").arg(Qt::ArrowCursor));
    }

    void paintingAndOutline()
    {
        const QImage picture =
            QImage(ZARN_TESTDATA_DIR "/png/basn2c08.png").convertToFormat(QImage::Format_RGB32);
        auto canvas = makeCanvas(QSize(100, 80), picture);
        // The first pixel that is wrong: grey around, the picture in the
        // middle and with stripes the pattern, shifted by phase, on its frame.
        auto mismatch = [&](int phase, bool stripes) {
            const QImage shot = canvas->grab().toImage().convertToFormat(QImage::Format_RGB32);
            for (int i = 0; i < 8000; ++i) {
                const int x = i % 100, y = i / 100;
                const bool inside = QRect(34, 24, 32, 32).contains(x, y),
                           frame = !QRect(35, 25, 30, 30).contains(x, y);
                const QRgb expected = !inside ? QColor(Qt::gray).rgb()
                                      : stripes && frame
                                          ? canvas->wormPattern.pixel((x - phase + 8) % 8, y % 8)
                                          : picture.pixel(x - 34, y - 24);
                if (shot.pixel(x, y) != (expected | 0xFF000000))
                    return QString("pixel %1,%2").arg(x).arg(y);
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
        // Zoomed and panned: the outline of the mask drawn through the rounded view.
        auto big = makeCanvas(QSize(97, 61), filled(150, 90, 0xFFFFFFFF));
        for (int i = 0; i < 300; ++i)
            select(*big, QRect((i * 37) % 150, (i * 53) % 90, 1 + i % 7, 1 + i % 5));
        for (const auto& [factor, pan] :
             {std::pair(4.0, QPointF(-30, 10)), {1 / 3.0, {0, 0}}, {2.5, {-60, -40}}}) {
            big->zoom(factor);
            big->translate(pan);
            if (factor < 1)
                big->invertMask();
            big->grab();
            const QRectF v = big->viewRect();
            auto round = [](double d) { return int(std::floor(d + 0.5)); };
            QImage drawn = filled(97, 61, 0xFFFFFFFF);
            QPainter painter(&drawn);
            painter.setWindow(round(v.x()), round(v.y()), round(v.width()), round(v.height()));
            painter.drawPixmap(0, 0, big->mask());
            painter.end();
            QCOMPARE(big->outlineBitmap().toImage(),
                     find_edges(QBitmap::fromImage(drawn)).toImage());
        }
    }

    // An edge pixel is set with a clear (or outside) pixel among its eight
    // neighbours: random rows across the scan's 64-bit words, padding bits set.
    void edgesFollowThePixelRule()
    {
        QRandomGenerator random(1);
        for (int width : {1, 3, 7, 63, 64, 65, 130}) {
            for (int density : {0, 15, 85, 97, 100}) {
                QImage bits(width, 5, QImage::Format_MonoLSB);
                bits.setColorTable({QColor(Qt::color0).rgba(), QColor(Qt::color1).rgba()});
                bits.fill(1);
                for (int i = 0; i < width * 5; ++i)
                    bits.setPixel(i % width, i / width, int(random.bounded(100)) < density);
                const QImage edges[] = {find_edges_in_bits(bits).toImage(),
                                        find_edges(QBitmap::fromImage(bits)).toImage()};
                auto set = [](const QImage& image, int x, int y) {
                    return image.valid(x, y) && image.pixelIndex(x, y);
                };
                QString expected, found[2];
                for (int i = 0, x = 0, y = 0; i < width * 5; x = ++i % width, y = i / width) {
                    bool border = false;
                    for (int d = 0; d < 9; ++d)
                        border = border || !set(bits, x + d % 3 - 1, y + d / 3 - 1);
                    expected += set(bits, x, y) && border ? '#' : '.';
                    for (int k : {0, 1})
                        found[k] += set(edges[k], x, y) ? '#' : '.';
                }
                QCOMPARE(found[0] + (edges[0].isNull() == !expected.contains('#') ? "" : " null?"),
                         expected);
                QCOMPARE(found[1], expected);
            }
        }
    }
};

QTEST_MAIN(TestCanvas)
#include "tst_canvas.moc"
