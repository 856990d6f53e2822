// SPDX-License-Identifier: MIT
// Extreme sizes: tiny pictures, every magnification from 1/64 to 64, absurd
// zooms, degenerate bitmaps and (ZARN_EXTREMES_HUGE=1) a 12000x8000 picture.
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QBitmap>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QSlider>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "app/mainwindow.h"
#include "app/sliderdialog.h"
#include "canvas/canvas.h"
#include "canvas/edgedetect.h"
#include "filters/zarnifyfilter.h"
#include "filters/zarnonimatefilter.h"
#include "support/modal.h"
#include "tools/tool.h"

namespace {

const QStringList kTools = {"Move",    "Brush", "Text",      "Eyedropper",
                            "Marquee", "Lasso", "Magic Wand"};

// Opaque and different in every pixel, so that any misplaced pixel shows.
QImage picture(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb((x * 41 + 7) % 256, (y * 29 + 90) % 256, (x + y) % 200));
    return image;
}

// A widget position, held within reach of an int whatever the view (at an
// absurd zoom the picture lies far beyond any screen, or nowhere at all).
QPoint onScreen(const QPointF& p)
{
    auto clamp = [](double v) { return std::isnan(v) ? 0 : int(std::clamp(v, -1e6, 1e6)); };
    return QPoint(clamp(p.x()), clamp(p.y()));
}

int setPixels(const QBitmap& bitmap)
{
    const QImage bits = bitmap.toImage().convertToFormat(QImage::Format_Mono);
    int count = 0;
    for (int y = 0; y < bits.height(); ++y)
        for (int x = 0; x < bits.width(); ++x)
            count += bits.pixelIndex(x, y) == Qt::color1 ? 1 : 0;
    return count;
}

QBitmap bitmapOf(const QStringList& rows)
{
    QImage image(int(rows.first().size()), int(rows.size()), QImage::Format_Mono);
    image.setColor(0, QColor(Qt::white).rgb());
    image.setColor(1, QColor(Qt::black).rgb());
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, rows[y][x] == '#' ? 1 : 0);
    return QBitmap::fromImage(image);
}

} // namespace

class TestExtremes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        window = new MainWindow; // lives to the end, like the program's own window
        window->resize(420, 330);
        window->show();
    }
    void cleanup()
    {
        QMetaObject::invokeMethod(window, "fileClose");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        canvas = nullptr;
    }
    void toolsOnTinyPictures_data();
    void toolsOnTinyPictures();
    void filtersOnTinyPictures_data() { toolsOnTinyPictures_data(); }
    void filtersOnTinyPictures();
    void everyMagnification_data();
    void everyMagnification();
    void absurdZoom();
    void degenerateEdges();
    void hugePicture();

private:
    void install(const QImage& image)
    {
        canvas = new Canvas(image);
        window->setCanvas(canvas);
        QCoreApplication::processEvents(); // lets newCanvasDone() fit the view
        canvas->resetView();
    }

    void pickTool(const QString& label)
    {
        for (QAction* action : window->toolActions()->actions())
            if (action->text() == label)
                action->trigger();
    }

    void mouse(QEvent::Type type, const QPoint& at, Qt::MouseButton button,
               Qt::KeyboardModifiers mods = {})
    {
        const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
        QMouseEvent event(type, QPointF(at), canvas->mapToGlobal(QPointF(at)),
                          type == QEvent::MouseMove ? Qt::NoButton : button, held, mods);
        QApplication::sendEvent(canvas, &event);
    }

    // Presses at the first point, moves through all, releases at the last.
    void drag(const QList<QPoint>& path, Qt::MouseButton button = Qt::LeftButton,
              Qt::KeyboardModifiers mods = {})
    {
        mouse(QEvent::MouseButtonPress, path.first(), button, mods);
        for (const QPoint& p : path)
            mouse(QEvent::MouseMove, p, button, mods);
        mouse(QEvent::MouseButtonRelease, path.last(), button, mods);
    }

    // At the widget pixel whose image position is nearest the point.
    void click(const QPointF& imagePoint)
    {
        const QPointF w = canvas->imageToWidget(QPoint(0, 0)) +
                          imagePoint * (canvas->width() / canvas->viewRect().width());
        const QPoint at(int(std::floor(w.x())), int(std::floor(w.y())));
        mouse(QEvent::MouseButtonPress, at, Qt::LeftButton);
        mouse(QEvent::MouseButtonRelease, at, Qt::LeftButton);
    }

    // A press, and a release unless Control is held (the zoom keys repeat).
    void key(int code, Qt::KeyboardModifiers mods = {}, const QString& text = {})
    {
        QKeyEvent press(QEvent::KeyPress, code, mods, text);
        QApplication::sendEvent(window, &press);
        QKeyEvent release(QEvent::KeyRelease, code, mods, text);
        if (!(mods & Qt::ControlModifier))
            QApplication::sendEvent(window, &release);
    }

    void runFilter(const QString& label, bool maximum)
    {
        if (QStringList{"Zarnelate", "Zarnify", "Zarnelure"}.contains(label)) {
            whenModal([maximum](QWidget* w) {
                if (auto* dialog = dynamic_cast<SliderDialog*>(w)) {
                    QSlider* slider = dialog->valueSlider();
                    slider->setValue(maximum ? slider->maximum() : slider->minimum());
                    dialog->accept();
                } else {
                    w->close();
                }
            });
        }
        for (QAction* menu : window->menuBar()->actions())
            for (QAction* action : menu->menu()->actions())
                if (action->text() == label)
                    action->trigger();
    }

    void expectIntact(const QSize& size)
    {
        QCOMPARE(window->currentCanvas(), canvas);
        QCOMPARE(canvas->image().size(), size);
        QCOMPARE(canvas->image().format(), QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(canvas->mask().size(), size);
        QVERIFY(canvas->undoCount() <= 20);
        QCOMPARE(canvas->unpairedCursorPops(), 0);
        QVERIFY(canvas->cursorDepth() <= 2);
        if (canvas->tool())
            QCOMPARE(canvas->tool()->activeCanvas(), canvas);
    }

    void selectAll(bool all)
    {
        canvas->mask().fill(all ? Qt::color1 : Qt::color0);
        canvas->updateMaskStuff();
    }

    void gestures(const QSize& size);
    void everyTool(const QSize& size);

    MainWindow* window = nullptr;
    Canvas* canvas = nullptr;
};

// Clicks and drags inside, on the edges of and far outside the picture, with
// every button and the selection modifiers, and the keys the tools read.
void TestExtremes::gestures(const QSize& size)
{
    const QPoint topLeft = onScreen(canvas->imageToWidget(QPoint(0, 0)));
    const QPoint bottomRight = onScreen(canvas->imageToWidget(QPoint(size.width(), size.height())));
    // clang-format off
    const QList<QPoint> points = {topLeft, bottomRight - QPoint(1, 1), (topLeft + bottomRight) / 2,
        topLeft - QPoint(3, 3), bottomRight + QPoint(3, 3), QPoint(-5000, -5000), QPoint(5000, 5000)};
    // clang-format on
    for (Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton})
        for (Qt::KeyboardModifiers mods :
             {Qt::KeyboardModifiers(), Qt::KeyboardModifiers(Qt::ShiftModifier),
              Qt::KeyboardModifiers(Qt::AltModifier | Qt::ShiftModifier)})
            drag(points, button, mods);
    for (const auto& [code, text] :
         {std::pair(Qt::Key_BracketLeft, "["), std::pair(Qt::Key_BracketRight, "]"),
          std::pair(Qt::Key_BracketRight, "]"), std::pair(Qt::Key_3, "3")})
        key(code, {}, text);
    canvas->repaint();
}

void TestExtremes::everyTool(const QSize& size)
{
    for (const QString& label : kTools) {
        pickTool(label);
        QCOMPARE(canvas->tool(), window->registeredTool(label));
        gestures(size);
        if (label == "Text") {
            whenModal([](QWidget* w) { w->close(); }); // the font dialog, cancelled
            key(Qt::Key_F, {}, "f");
        }
        expectIntact(size);
    }
}

void TestExtremes::toolsOnTinyPictures_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(1, 1), QSize(1, 300), QSize(300, 1), QSize(2, 2)})
        QTest::newRow(qPrintable(QString("%1x%2").arg(size.width()).arg(size.height()))) << size;
}

void TestExtremes::toolsOnTinyPictures()
{
    QFETCH(QSize, size);
    const QImage original = picture(size.width(), size.height());
    install(original);
    window->setDrawColor(Qt::black);
    everyTool(size);

    // Worked results at the picture's first pixel and across all of it.
    selectAll(false);
    pickTool("Magic Wand");
    click(QPointF(0.2, 0.2));
    QCOMPARE(canvas->mask().toImage().pixelIndex(0, 0), int(Qt::color1));

    pickTool("Marquee");
    drag({canvas->imageToWidget(QPoint(0, 0)).toPoint() - QPoint(4, 4),
          canvas->imageToWidget(QPoint(size.width(), size.height())).toPoint() + QPoint(4, 4)});
    QCOMPARE(setPixels(canvas->mask()), size.width() * size.height());

    pickTool("Eyedropper");
    canvas->image() = original;
    click(QPointF(0.2, 0.2));
    QCOMPARE(window->drawColor(), QColor(original.pixel(0, 0)));

    // One brush stamp changes the picture; one undo gives it back exactly.
    canvas->clearMask();
    window->setDrawColor(Qt::black);
    pickTool("Brush");
    key(Qt::Key_9, {}, "9");
    const QImage unpainted = canvas->image();
    const int undos = canvas->undoCount();
    click(QPointF(size.width() / 2.0, size.height() / 2.0));
    QCOMPARE(canvas->undoCount(), std::min(undos + 1, 20));
    QVERIFY(canvas->image() != unpainted);
    canvas->undo();
    QCOMPARE(canvas->image(), unpainted);
    expectIntact(size);
}

void TestExtremes::filtersOnTinyPictures()
{
    QFETCH(QSize, size);
    const QImage original = picture(size.width(), size.height());
    install(original);

    runFilter("Zarnert", false);
    QImage inverted = original;
    inverted.invertPixels(); // exact: the picture is opaque
    QCOMPARE(canvas->image(), inverted);
    canvas->image() = original;

    // Size 100 needs 2500 pixels for one stamp: none is drawn, the picture
    // stays, the undo step is there.
    int undos = canvas->undoCount();
    runFilter("Zarnelate", true);
    QCOMPARE(canvas->image(), original);
    QCOMPARE(canvas->undoCount(), std::min(undos + 1, 20));
    runFilter("Zarnelate", false); // size 4: w*h/4 stamps, none for 1x1
    expectIntact(size);
    canvas->image() = original;

    for (bool maximum : {false, true}) {
        runFilter("Zarnify", maximum);
        for (const QPoint p : {QPoint(0, 0), QPoint(size.width() - 1, size.height() - 1)})
            QCOMPARE(canvas->image().pixel(p), zarnify_pixel(original.pixel(p), maximum ? 100 : 1));
        canvas->image() = original;
    }

    // The height map and the silhouette tables are far larger than these
    // pictures: only their top-left corner is used.
    for (bool maximum : {false, true}) {
        runFilter("Zarnelure", maximum);
        expectIntact(size);
        if (size == QSize(1, 1))
            QCOMPARE(canvas->image(), original); // every source clamps to the one pixel
        canvas->image() = original;
    }

    runFilter("Zarnonimate", false);
    const ZarnonimateFilter probe(nullptr);
    QVERIFY(!probe.rowTables().empty());
    const auto [offset, inside] = probe.rowTables()[0][0];
    QCOMPARE(canvas->image().pixel(0, 0),
             inside ? original.pixel(std::min(offset, size.width() - 1), 0) : qRgb(0, 0, 0));
    expectIntact(size);

    runFilter("Last", false);
    expectIntact(size);
}

void TestExtremes::everyMagnification_data()
{
    QTest::addColumn<double>("magnification");
    for (int power = -6; power <= 6; ++power)
        QTest::newRow(qPrintable(QString("2^%1").arg(power))) << std::ldexp(1.0, power);
    QTest::newRow("1.5^-10") << std::pow(1.5, -10);
    QTest::newRow("1.5^10") << std::pow(1.5, 10);
}

void TestExtremes::everyMagnification()
{
    QFETCH(double, magnification);
    const QImage original = picture(3, 2);
    install(original);
    canvas->zoom(magnification);
    QCOMPARE(canvas->width() / canvas->viewRect().width(), magnification);

    // Mapping: widget -> image -> widget is exact to rounding, anywhere.
    for (const QPoint p :
         {QPoint(0, 0), QPoint(canvas->width() - 1, canvas->height() - 1), QPoint(-3000, 7000)}) {
        const QPointF back =
            canvas->imageToWidget(QPoint(0, 0)) + (canvas->widgetToImage(p)) * magnification;
        QVERIFY2(std::abs(back.x() - p.x()) < 1e-6 && std::abs(back.y() - p.y()) < 1e-6,
                 qPrintable(QString("%1,%2").arg(back.x()).arg(back.y())));
    }
    QVERIFY(std::abs(canvas->inverseView().width() - 3 * magnification) <= 2);

    // Painting with a selection (so the outline is built) and a tool preview.
    selectAll(true);
    pickTool("Brush");
    QCOMPARE(canvas->grab().size(), canvas->size());
    pickTool("Move"); // no preview from here on
    const QImage plain = canvas->grab().toImage();
    QCOMPARE(plain.pixel(0, 0), QColor(Qt::gray).rgb()); // the small picture is centred
    if (magnification >= 8) {
        // A whole block per image pixel: its middle shows the pixel itself.
        // Painting maps through the view rounded to whole image pixels.
        const QRectF v = canvas->viewRect();
        const QRect window(std::floor(v.x() + 0.5), std::floor(v.y() + 0.5),
                           std::floor(v.width() + 0.5), std::floor(v.height() + 0.5));
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) {
                const QPoint middle(
                    int((x + 0.5 - window.x()) * canvas->width() / window.width()),
                    int((y + 0.5 - window.y()) * canvas->height() / window.height()));
                QCOMPARE(plain.pixel(middle), original.pixel(x, y));
            }
        QVERIFY(!canvas->outlineBitmap().isNull()); // the frame of the selection
    }

    // Tools at this magnification: a stamp and a selection at the middle.
    pickTool("Brush");
    click(QPointF(1.5, 1.0));
    pickTool("Lasso");
    drag({QPoint(0, 0), QPoint(canvas->width(), 0), QPoint(canvas->width(), canvas->height()),
          QPoint(0, 0)});
    canvas->repaint();
    expectIntact(QSize(3, 2));
}

// Zooming has no bounds: thousands of presses take the view beyond what a
// double holds (a width of 0 one way, infinity and NaN the other). Every tool
// and the painting must survive that, and Control+0 must bring it all back.
void TestExtremes::absurdZoom()
{
    const QSize size(40, 30);
    // 2000 presses leave the range of a double; 100 stay finite but far
    // beyond an int.
    for (const auto& [code, presses] :
         {std::pair(int(Qt::Key_Equal), 2000), std::pair(int(Qt::Key_Minus), 2000),
          std::pair(int(Qt::Key_Minus), 100)}) {
        install(picture(size.width(), size.height()));
        selectAll(true);
        for (int i = 0; i < presses; ++i)
            key(code, Qt::ControlModifier);
        canvas->repaint();
        // Arrow steps scale with the view: after a huge zoom-out they push its
        // corner as far right and down as its size reaches.
        for (int i = 0; i < 3; ++i) {
            key(Qt::Key_Right);
            key(Qt::Key_Down);
            canvas->repaint();
        }
        everyTool(size);
        key(Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(canvas->viewRect().width(), double(canvas->width()));
        QCOMPARE(canvas->widgetToImage(canvas->width() / 2, canvas->height() / 2),
                 QPointF(size.width() / 2, size.height() / 2));
        canvas->repaint();
    }
}

void TestExtremes::degenerateEdges()
{
    // Rows 0 and h-1 and columns 0 and w-1 are border: every set pixel of a
    // bitmap one or two pixels high, or one wide, is an edge pixel.
    const QList<QStringList> allBorder = {
        {"#.##..###"}, {"##.#", "#..#"}, {"#", ".", "#", "#"}, {"#"}, {"##", "##"}};
    for (const QStringList& rows : allBorder)
        QCOMPARE(find_edges(bitmapOf(rows)).toImage().convertToFormat(QImage::Format_Mono),
                 bitmapOf(rows).toImage().convertToFormat(QImage::Format_Mono));
    QVERIFY(find_edges(bitmapOf({"."})).isNull());
    QVERIFY(find_edges(bitmapOf({"...", "..."})).isNull());
    QVERIFY(find_edges(QBitmap()).isNull());

    // Garbage in the padding of every row: one pixel wide, none of it set.
    QImage padded(1, 3, QImage::Format_Mono);
    padded.setColor(0, QColor(Qt::white).rgb());
    padded.setColor(1, QColor(Qt::black).rgb());
    for (int y = 0; y < padded.height(); ++y)
        std::memset(padded.scanLine(y), 0x7f, size_t(padded.bytesPerLine()));
    const QBitmap unset = QBitmap::fromImage(padded);
    QCOMPARE(setPixels(unset), 0);
    QVERIFY(find_edges(unset).isNull());

    // The same mask on a canvas: an empty selection, which restricts nothing.
    install(picture(1, 3));
    canvas->mask() = unset;
    canvas->updateMaskStuff();
    QVERIFY(canvas->isMaskEmpty());
    canvas->repaint();
    runFilter("Zarnert", false);
    QCOMPARE(canvas->image().pixel(0, 2), qRgb(255 - 7, 255 - 148, 255 - 2)); // of (7, 148, 2)
}

void TestExtremes::hugePicture()
{
    if (qgetenv("ZARN_EXTREMES_HUGE") != "1")
        QSKIP("12000x8000 only in the soak: ZARN_EXTREMES_HUGE=1 (scripts/soak.sh extremes)");
    const QSize size(12000, 8000);
    install(picture(size.width(), size.height()));
    window->setDrawColor(Qt::darkRed);
    everyTool(size);
    for (const char* filter :
         {"Zarnert", "Zarnelate", "Zarnify", "Zarnelure", "Zarnonimate", "Last"}) {
        runFilter(filter, true);
        expectIntact(size);
    }
    for (int i = 0; i < 25; ++i)
        canvas->undo();
    expectIntact(size);
}

QTEST_MAIN(TestExtremes)
#include "tst_extremes.moc"
