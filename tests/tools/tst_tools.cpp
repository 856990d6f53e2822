// SPDX-License-Identifier: MIT
#include <QFontDialog>
#include <QRandomGenerator>
#include <QStatusBar>
#include <cmath>
#include <queue>

#include "support/zarntest.h"
#include "tools/brushtool.h"
#include "tools/magicwandtool.h"
#include "tools/marqueetool.h"
#include "tools/texttool.h"

namespace {

// Where the red channels differ by more than threshold.
QRect changedArea(const QImage& before, const QImage& after, int threshold = 0)
{
    QRect area;
    for (int y = 0; y < after.height(); ++y)
        for (int x = 0; x < after.width(); ++x)
            if (before.pixel(x, y) != after.pixel(x, y) &&
                qAbs(qRed(before.pixel(x, y)) - qRed(after.pixel(x, y))) >= threshold)
                area |= QRect(x, y, 1, 1);
    return area;
}

// The tool's preview alone, over black, at scale screen pixels per image pixel.
QImage preview(Tool* tool, int width, int height, qreal scale = 1)
{
    QImage screen = filled(width, height, 0xff000000);
    QPainter painter(&screen);
    painter.scale(scale, scale);
    tool->paintEvent(&painter);
    return screen;
}

std::function<bool(int, int)> inRect(int left, int top, int right, int bottom)
{
    return [=](int x, int y) { return x >= left && x < right && y >= top && y < bottom; };
}

QString status(Harness& h)
{
    return h.window.statusBar()->currentMessage();
}

// The fill pixel by pixel: tested when taken from the queue, neighbours in
// the documented order.
void referenceFill(unsigned seed, int tolerance, unsigned char* queued, unsigned char* selected,
                   const std::vector<unsigned*>& rows, std::queue<QPoint>& queue, int w, int h)
{
    const int dx[8] = {-1, 1, 0, 0, -1, -1, 1, 1}, dy[8] = {0, 0, -1, 1, -1, 1, -1, 1};
    for (; !queue.empty(); queue.pop()) {
        const QPoint p = queue.front();
        if (pixel_diff(seed, rows[size_t(p.y())][p.x()]) > tolerance)
            continue;
        selected[p.y() * w + p.x()] = 1;
        for (int i = 0; i < 8; ++i) {
            const int x = p.x() + dx[i], y = p.y() + dy[i];
            if (x >= 0 && y >= 0 && x < w && y < h && !queued[y * w + x]) {
                queued[y * w + x] = 1;
                queue.push(QPoint(x, y));
            }
        }
    }
}

const QImage white = filled(300, 200, 0xffffffff);

} // namespace

class TestTools : public QObject
{
    Q_OBJECT

private slots:
    void brushStamps();
    void brushSizeSteps_data();
    void brushSizeSteps();
    void textStamp();
    void textKeysAndFontDialog();
    void eyedropper();
    void marqueeAndModifiers();
    void lasso();
    void wandTolerances();
    void wandMatchesThePixelByPixelFill();
    void handTool();
};

void TestTools::brushStamps()
{
    QBitmap shape(512, 512);
    shape.fill(Qt::color0);
    QPainter(&shape).fillRect(QRect(100, 50, 200, 400), Qt::color1);
    const QImage full = create_brush(shape, QColor(200, 10, 20), 256);
    QCOMPARE(changedArea(filled(512, 512, 0), full), QRect(100, 50, 200, 400));
    QCOMPARE(full.pixel(100, 50), qRgb(200, 10, 20));

    Harness h(white, "Brush");
    QCOMPARE(status(h), QString("Resize brush with [ and ]"));
    h.move(40, 60); // the preview is a 30-pixel square about the pointer; nothing painted
    const QRect shown = changedArea(filled(300, 200, 0xff000000), preview(h.tool, 300, 200));
    QVERIFY(QRect(25, 45, 30, 30).contains(shown) && shown.width() >= 28);
    QCOMPARE(h.canvas->image(), white);

    h.window.setDrawColor(Qt::black);
    const int snapshots = h.canvas->undoCount();
    h.press(100, 100);
    h.release(100, 100);
    QCOMPARE(h.canvas->undoCount(), snapshots + 1);
    QCOMPARE(changedArea(white, h.canvas->image()), QRect(85, 85, 30, 30));
    h.canvas->undo();
    h.press(50, 100, {}, Qt::RightButton); // only the left button paints
    h.move(100, 100);
    h.release(100, 100, Qt::RightButton);
    QCOMPARE(h.canvas->image(), white);
    h.drag({{50, 100}, {100, 100}, {150, 100}}); // one snapshot, one stamp per point
    QCOMPARE(h.canvas->undoCount(), snapshots + 1);
    for (int x : {50, 75, 100, 125, 150, 170})
        QCOMPARE(h.canvas->image().pixel(x, 100) == 0xffffffff, x % 50 != 0);

    // Clipped to the selection; half opacity gives mid grey over white.
    h.canvas->undo();
    h.selectRect(QRect(0, 0, 100, 200));
    h.type("5");
    h.press(100, 100);
    QCOMPARE(changedArea(white, h.canvas->image()).right(), 99);
    QVERIFY(qAbs(qRed(h.canvas->image().pixel(99, 100)) - 128) <= 1);
    h.type("a-0"); // a letter means nothing; "-" and "0" belong to the view
    QCOMPARE(static_cast<BrushTool*>(h.tool)->brushOpacity(), 50);
}

void TestTools::brushSizeSteps_data()
{
    QTest::addColumn<QString>("keys");
    QTest::addColumn<int>("size");
    QTest::newRow("start") << "" << 15;
    QTest::newRow("smallest") << QString(20, '[') << 1;
    QTest::newRow("1 to 15 by one") << QString(20, '[') + QString(14, ']') << 15;
    QTest::newRow("then by 5") << "]" << 20;
    QTest::newRow("20 down to 15") << "][" << 15;
    QTest::newRow("50 up by 10") << "]]]]]]]]" << 60;
    QTest::newRow("50 down by 5") << "]]]]]]][" << 45;
    QTest::newRow("100 up by 25") << QString(13, ']') << 125;
    QTest::newRow("100 down by 10") << QString(12, ']') + "[" << 90;
    QTest::newRow("200 up, capped") << QString(18, ']') << 256;
    QTest::newRow("256 down by 50") << QString(18, ']') + "[" << 206;
}

void TestTools::brushSizeSteps()
{
    QFETCH(QString, keys);
    QFETCH(int, size);
    Harness h(white, "Brush");
    h.type(keys);
    QCOMPARE(static_cast<BrushTool*>(h.tool)->brushSize(), size);
}

void TestTools::textStamp()
{
    Harness h(filled(600, 300, 0xffffffff), "Text");
    QCOMPARE(status(h), QString("Resize text with [ and ], press F to select font"));
    h.window.setDrawColor(Qt::black);
    const int snapshots = h.canvas->undoCount();
    h.press(100, 200);
    h.move(300, 250); // a drag does not repeat the word
    h.release(300, 250);
    QCOMPARE(h.canvas->undoCount(), snapshots + 1);
    const QImage full = h.canvas->image();
    // The left end of the baseline at the click; at 72 points "Zarn" is
    // about 50 pixels tall and has no descenders.
    const QRect word = changedArea(filled(600, 300, 0xffffffff), full, 128);
    QVERIFY2(word.bottom() <= 200 && word.bottom() >= 197 && word.top() < 160,
             qPrintable(QString::number(word.bottom())));
    QVERIFY(word.left() >= 100 && word.left() < 110 && word.width() > 100 && word.right() < 350);
    h.canvas->undo();
    h.type("3"); // 30 % black over white leaves 178 where the word was solid
    h.selectRect(QRect(0, 0, 150, 300));
    h.press(100, 200);
    int solid = 0;
    for (int y = 100; y <= 200; ++y)
        for (int x = 100; x < 400; ++x) {
            const bool inked = x < 150 && qRed(full.pixel(x, y)) == 0;
            const QRgb pixel = h.canvas->image().pixel(x, y);
            solid += inked;
            QVERIFY(inked ? qAbs(qRed(pixel) - 178) <= 1 : x < 150 || pixel == 0xffffffffu);
        }
    QVERIFY(solid > 50);
}

void TestTools::textKeysAndFontDialog()
{
    Harness h(filled(100, 100, 0xffffffff), "Text");
    auto* text = static_cast<TextTool*>(h.tool);
    QStringList titles;
    const auto cancel = [&titles](QWidget* dialog) {
        titles << dialog->windowTitle();
        static_cast<QDialog*>(dialog)->reject();
    };
    whenModal(cancel, 0); // a capital F opens nothing
    QTest::sendKeyEvent(QTest::Click, h.canvas, Qt::Key_F, QString("F"), Qt::ShiftModifier);
    QCoreApplication::processEvents();
    whenModal(cancel);
    h.type("f");
    QCOMPARE(titles, QStringList("Select Font"));
    QCOMPARE(text->textFont().pointSize(), 72);
    h.type("[", 36);
    QCOMPARE(text->textFont().pointSize(), 2);
    whenModal([](QWidget* dialog) {
        auto* fonts = qobject_cast<QFontDialog*>(dialog);
        QFont chosen = fonts->currentFont();
        chosen.setPointSize(20);
        fonts->setCurrentFont(chosen);
        fonts->accept();
    });
    h.type("f");
    QCOMPARE(text->textFont().pointSize(), 20);
    h.type("]");
    QCOMPARE(text->textFont().pointSize(), 22);
}

void TestTools::eyedropper()
{
    QImage picture(20, 20, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            picture.setPixel(x, y, qRgb(x * 10, y * 10, 77));
    picture.setPixel(0, 0, 0x80808080); // half-transparent white reads as opaque mid grey
    Harness h(picture, "Eyedropper");
    const auto pick = [&h](const QPointF& p) {
        h.window.setDrawColor(Qt::blue);
        h.tool->mousePressEvent(QPoint(), p, Qt::LeftButton, Qt::LeftButton, {});
        return h.window.drawColor();
    };
    QCOMPARE(pick({9.5, 9.49}), QColor(100, 90, 77)); // halves round up, also below zero
    QCOMPARE(pick({-0.5, 3}), QColor(0, 30, 77));
    QCOMPARE(pick({-0.6, 3}), QColor(Qt::blue));
    QCOMPARE(pick({19.49, 2}), QColor(190, 20, 77));
    QCOMPARE(pick({19.5, 2}), QColor(Qt::blue));
    QCOMPARE(pick({3, -1e300}), QColor(Qt::blue));
    QCOMPARE(pick({0, 0}), QColor(128, 128, 128));
    h.press(4, 7);
    h.move(12, 12); // a drag picks nothing more, nor does the right button
    h.release(12, 12);
    h.press(5, 5, {}, Qt::RightButton);
    QCOMPARE(h.window.drawColor(), QColor(40, 70, 77));
}

void TestTools::marqueeAndModifiers()
{
    Harness h(filled(100, 100, 0xffffffff), "Marquee");
    QCOMPARE(status(h), QString("Press Shift or Alt to add and subtract selection"));
    QCOMPARE(h.canvas->cursor().shape(), Qt::CrossCursor);
    h.drag({{70, 30}, {20, 50}}); // any direction
    h.drag({{40, 20}, {80, 60}}, Qt::ShiftModifier);
    const auto both = [](int x, int y) {
        return inRect(20, 30, 70, 50)(x, y) || inRect(40, 20, 80, 60)(x, y);
    };
    QCOMPARE(h.maskMismatches(both), 0);
    h.drag({{0, 0}, {30, 100}}, Qt::AltModifier);
    QCOMPARE(h.maskMismatches([&](int x, int y) { return x >= 30 && both(x, y); }), 0);
    h.drag({{0, 0}, {60, 100}}, Qt::AltModifier | Qt::ShiftModifier); // Alt wins
    QCOMPARE(h.maskMismatches(inRect(60, 20, 80, 60)), 0);

    // The band is one screen pixel wide at zoom 4; the rectangle ends at the
    // last move, not where the button comes up; a right button ends nothing.
    h.press(20, 30);
    h.move(70, 50);
    const QImage shown = preview(h.tool, 300, 220, 4);
    QCOMPARE(shown.pixel(160, 120), 0xffffffffu);
    QCOMPARE(shown.pixel(280, 160), 0xffffffffu);
    QCOMPARE(shown.pixel(160, 121), 0xff000000u);
    QCOMPARE(shown.pixel(279, 160), 0xff000000u);
    h.release(90, 90, Qt::RightButton);
    QVERIFY(static_cast<MarqueeTool*>(h.tool)->isDragging());
    h.release(90, 90);
    QCOMPARE(h.maskMismatches(inRect(20, 30, 70, 50)), 0);
    h.drag({{40, 40}}); // a click clears
    QVERIFY(h.canvas->isMaskEmpty());
}

void TestTools::lasso()
{
    Harness h(filled(100, 100, 0xffffffff), "Lasso");
    const auto selected = [&h](int x, int y) {
        return h.canvas->mask().toImage().pixelIndex(x, y) == 1;
    };
    h.drag({{10, 10}, {90, 50}, {90, 10}, {10, 50}}); // a figure eight fills both loops
    QVERIFY(selected(20, 30) && selected(80, 30) && !selected(50, 15) && !selected(50, 45));
    QList<QPoint> star; // the centre is wound twice: even-odd would leave it out
    for (int k = 0; k < 5; ++k) {
        const double angle = (-90 + 144 * k) * M_PI / 180;
        star << QPoint(50 + qRound(45 * std::cos(angle)), 50 + qRound(45 * std::sin(angle)));
    }
    h.drag(star);
    QVERIFY(selected(50, 50) && selected(50, 15) && !selected(80, 20));
    h.drag({{50, 50}, {90, 90}}); // fewer than three points only clear
    QVERIFY(h.canvas->isMaskEmpty());
    h.drag({{10, 10}, {30, 10}, {10, 30}});
    h.drag({{60, 60}, {90, 60}, {60, 90}}, Qt::ShiftModifier);
    h.drag({{0, 0}, {30, 0}, {0, 30}}, Qt::AltModifier);
    QVERIFY(!selected(11, 11) && selected(17, 17) && selected(65, 65) && !selected(40, 40));
    // The preview is an open polyline; the release point is no corner.
    h.press(10, 10);
    h.move(50, 10);
    h.move(10, 50);
    const QImage shown = preview(h.tool, 100, 100);
    QVERIFY(shown.pixel(30, 10) == 0xffffffffu && shown.pixel(30, 30) == 0xffffffffu);
    QVERIFY(shown.pixel(10, 30) == 0xff000000u);
    h.release(90, 90);
    QVERIFY(selected(15, 15) && !selected(70, 75));
}

void TestTools::wandTolerances()
{
    QCOMPARE(pixel_diff(0x00102030, 0xff112233), 6);
    QCOMPARE(pixel_diff(0xff000000, 0x00ffffff), 765);
    // Black diagonal, corners joining, a near-black pixel and a clear one.
    const QRgb w = 0xffffffff, b = 0xff000000;
    const QRgb pixels[] = {0, w, w, w, w, b, w, b, w, w,          w, w,
                           w, w, b, w, w, w, w, w, w, 0xff010101, w, w};
    QImage image(6, 4, QImage::Format_ARGB32_Premultiplied);
    std::copy(std::begin(pixels), std::end(pixels), reinterpret_cast<QRgb*>(image.bits()));
    Harness h(image, "Magic Wand");
    QCOMPARE(
        status(h),
        QString("Press Shift or Alt to add and subtract selection, [ and ] to change tolerance"));
    auto* wand = static_cast<MagicWandTool*>(h.tool);
    h.type("[", 61);
    QCOMPARE(wand->currentTolerance(), 3);
    const auto only = [](QList<QPoint> set) {
        return [set](int x, int y) { return set.contains(QPoint(x, y)); };
    };
    h.press(1, 1); // tolerance is inclusive, alpha ignored
    QCOMPARE(h.maskMismatches(only({{0, 0}, {1, 1}, {2, 2}, {3, 3}})), 0);
    h.type("[", 10);
    QCOMPARE(wand->currentTolerance(), 0);
    h.press(2, 2, Qt::ShiftModifier);
    h.press(5, 0, Qt::ShiftModifier);
    QCOMPARE(h.maskMismatches(only({{0, 0}, {1, 1}, {2, 2}, {3, 3}, {5, 0}})), 0);
    h.press(0, 0, Qt::AltModifier | Qt::ShiftModifier);
    QCOMPARE(h.maskMismatches(only({{3, 3}, {5, 0}})), 0);
    const auto pressAt = [&h](const QPointF& p) {
        h.tool->mousePressEvent(QPoint(), p, Qt::LeftButton, Qt::LeftButton, {});
    };
    pressAt({-0.6, 2}); // outside: the selection stays
    QCOMPARE(h.maskMismatches(only({{3, 3}, {5, 0}})), 0);
    pressAt({-0.5, 1.6}); // halves round up: pixel (0, 2), whose white region is all the white
    QCOMPARE(h.maskMismatches([&](int x, int y) { return image.pixel(x, y) == w; }), 0);
    h.type("]", 1000);
    QCOMPARE(wand->currentTolerance(), 1000);
    h.press(3, 3);
    QCOMPARE(h.maskMismatches([](int, int) { return true; }), 0);
}

void TestTools::wandMatchesThePixelByPixelFill()
{
    QRandomGenerator random(2024);
    for (int round = 0; round < 600; ++round) {
        const int w = 1 + int(random.bounded(45u)), h = 1 + int(random.bounded(45u)),
                  kind = round % 4;
        std::vector<unsigned> pixels(size_t(w * h));
        for (size_t i = 0; i < pixels.size(); ++i) {
            const unsigned r = random.generate(), odd = (int(i) % w + int(i) / w) % 2;
            pixels[i] = kind == 0   ? r
                        : kind == 1 ? (r % 6 ? 0xff2080c0u : r)
                        : kind == 2 ? (r % 8 ? (odd ? 0xff000000u : 0xffffffffu) : r)
                                    : 0xff808080u + (r % 3) * 0x010101u;
        }
        std::vector<unsigned*> rows;
        for (int y = 0; y < h; ++y)
            rows.push_back(pixels.data() + size_t(y * w));
        const int tolerance = int(random.bounded(kind == 0 ? 800u : 6u));
        // Sometimes several starts, on the border or repeated, and walls.
        std::queue<QPoint> mine, theirs;
        for (int i = 0; i < (round % 5 ? 1 : 4); ++i) {
            QPoint p(int(random.bounded(unsigned(w))), int(random.bounded(unsigned(h))));
            p = i == 1 ? QPoint(w - 1, p.y()) : i == 3 ? mine.front() : p;
            mine.push(p);
            theirs.push(p);
        }
        std::vector<unsigned char> queued(pixels.size()), selected(pixels.size());
        for (auto& mark : queued)
            mark = round % 7 == 0 && random.bounded(9u) == 0;
        auto expectQueued = queued, expectSelected = selected;
        const unsigned seed = rows[size_t(mine.front().y())][mine.front().x()];
        flood_fill(seed, tolerance, queued.data(), selected.data(), rows, mine, w, h);
        referenceFill(seed, tolerance, expectQueued.data(), expectSelected.data(), rows, theirs, w,
                      h);
        QVERIFY2(queued == expectQueued && selected == expectSelected && mine.empty(),
                 qPrintable(QString("round %1").arg(round)));
    }
}

void TestTools::handTool()
{
    Harness h(filled(100, 100, 0xffffffff), "Marquee");
    h.canvas->zoom(4);
    const QRectF view = h.canvas->viewRect();
    QTest::keyPress(h.canvas, Qt::Key_Space);
    QCOMPARE(h.canvas->cursor().shape(), Qt::OpenHandCursor);
    h.mouse(QEvent::MouseButtonPress, {20, 50}, Qt::RightButton);
    h.mouse(QEvent::MouseMove, {60, 50});
    h.mouse(QEvent::MouseButtonRelease, {60, 50}, Qt::RightButton);
    QCOMPARE(h.canvas->viewRect(), view);
    h.mouse(QEvent::MouseButtonPress, {20, 50}, Qt::LeftButton);
    h.mouse(QEvent::MouseButtonPress, {20, 50}, Qt::LeftButton); // one closed hand only
    QCOMPARE(h.canvas->cursor().shape(), Qt::ClosedHandCursor);
    QCOMPARE(h.canvas->cursorDepth(), 2);
    for (int x : {30, 45, 60})
        h.mouse(QEvent::MouseMove, {x, 50});
    // 40 widget pixels right at zoom 4 move the view 10 image pixels left.
    QCOMPARE(h.canvas->viewRect(), view.translated(-10, 0));
    h.mouse(QEvent::MouseButtonRelease, {60, 50}, Qt::LeftButton);
    QCOMPARE(h.canvas->cursor().shape(), Qt::OpenHandCursor);
    h.mouse(QEvent::MouseMove, {90, 90});
    QCOMPARE(h.canvas->viewRect(), view.translated(-10, 0));
    // Space let go in mid-drag takes both hands away.
    h.mouse(QEvent::MouseButtonPress, {10, 10}, Qt::LeftButton);
    QTest::keyRelease(h.canvas, Qt::Key_Space);
    h.mouse(QEvent::MouseButtonRelease, {12, 10}, Qt::LeftButton);
    QCOMPARE(h.canvas->cursorDepth(), 1);
    QCOMPARE(h.canvas->cursor().shape(), Qt::CrossCursor);
    QCOMPARE(h.canvas->unpairedCursorPops(), 0);
}

QTEST_MAIN(TestTools)
#include "tst_tools.moc"
