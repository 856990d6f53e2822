// SPDX-License-Identifier: MIT
#include <QColorDialog>
#include <QColorSpace>
#include <QDir>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QImageReader>
#include <QLabel>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSplashScreen>
#include <QTemporaryDir>
#include <QToolBar>

#include "app/colorwidget.h"
#include "app/imagefile.h"
#include "app/splash.h"
#include "support/zarntest.h"

namespace {

class Window : public MainWindow
{
public:
    using MainWindow::filterInvert;
    using MainWindow::filterZarnelate;

    void trigger(const QString& menu, const QString& label) const
    {
        for (QAction* top : menuBar()->actions())
            for (QAction* entry : top->menu()->actions())
                if (top->text() == menu && entry->text() == label)
                    return entry->trigger();
        QFAIL(qPrintable("no menu entry " + menu + " > " + label));
    }
    // Title, file name ("-" when none), the document's state, the tools'.
    QString document() const
    {
        const char* state = !canvas ? "none" : canvas->isChanged() ? "changed" : "unchanged";
        return QString("%1|%2|%3|tools %4")
            .arg(windowTitle(), filename.isNull() ? "-" : filename, state)
            .arg(toolActions()->isEnabled() ? "on" : "off");
    }
    QString checkedTool() const
    {
        QAction* checked = toolActions()->checkedAction();
        return checked ? checked->text() : QString();
    }
    void showActive()
    {
        show();
        activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(this));
    }
};

class KeyRecorder : public Tool
{
public:
    void keyPressEvent(int, const QString& text, Qt::KeyboardModifiers) override { keys << text; }
    void activeEvent(bool active) override { keys << (active ? "on" : "off"); }
    QStringList keys;
};

// Runs command, closing every modal widget that appears; returns their
// titles, with a message box's text after a colon.
QStringList dialogsDuring(const std::function<void()>& command)
{
    QStringList titles;
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [&titles] {
        if (QWidget* w = QApplication::activeModalWidget()) {
            auto* box = qobject_cast<QMessageBox*>(w);
            titles << w->windowTitle() + (box ? ": " + box->text() : "");
            w->close();
        }
    });
    closer.start(0);
    command();
    QCoreApplication::processEvents();
    return titles;
}

void settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

class TestApp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void menusToolBarAndNoDocument();
    void newSelectAndClose();
    void openAndSave();
    void toolShortcutsAndKeys();
    void lastFilter();
    void colorSwatch();
    void sliderDialog_data();
    void sliderDialog();
    void splashAndPluginPath();
    void imageFiles();
    void resources();

private:
    QTemporaryDir dir;
};

void TestApp::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QVERIFY(dir.isValid());
}

// A failed check can leave a dialog driver polling: let it run out.
void TestApp::cleanup()
{
    for (int round = 0; round < 250; ++round)
        QCoreApplication::processEvents();
}

void TestApp::menusToolBarAndNoDocument()
{
    Window w;
    QStringList toolBar;
    for (QAction* a : w.findChild<QToolBar*>()->actions())
        toolBar << QString("%1|%2|%3|%4%5")
                       .arg(a->text(), a->toolTip(), a->shortcut().toString())
                       .arg(a->isCheckable())
                       .arg(a->isEnabled());
    QCOMPARE(toolBar,
             QStringList({"Move|Move (V)|V|10", "Brush|Brush (B)|B|10", "Text|Text (T)|T|10",
                          "Eyedropper|Eyedropper (I)|I|10", "Marquee|Marquee (M)|M|10",
                          "Lasso|Lasso (L)|L|10", "Magic Wand|Magic Wand (W)|W|10"}));
    QStringList menus; // label=shortcut, "-" a separator
    for (QAction* top : w.menuBar()->actions()) {
        QStringList entries;
        for (QAction* e : top->menu()->actions())
            entries << (e->isSeparator() ? "-" : e->text() + "=" + e->shortcut().toString());
        menus << top->text() + ": " + entries.join(", ");
    }
    QCOMPARE(
        menus,
        QStringList(
            {"File: New...=Ctrl+N, Open...=Ctrl+O, Save...=Ctrl+S, Close=Ctrl+W, -, Quit=Ctrl+Q",
             "Edit: Undo=Ctrl+Z, Redo=Ctrl+R, -, Select All=Ctrl+A, "
             "Clear Selection=Ctrl+D, Invert Selection=Ctrl+Shift+I",
             "Filters: Last=Ctrl+F, -, Zarnert=Ctrl+I, Zarnelate=, Zarnify=, Zarnelure=, "
             "Zarnonimate=",
             "Help: About="}));
    // Without a document every command but About does nothing, silently.
    const QStringList dialogs = dialogsDuring([&w] {
        for (QAction* top : w.menuBar()->actions())
            for (QAction* entry : top->menu()->actions())
                if (!QStringList({"New...", "Open...", "Quit"}).contains(entry->text()))
                    entry->trigger();
    });
    QCOMPARE(dialogs, QStringList("About: What zarn?"));
    QCOMPARE(w.document(), "|-|none|tools off");
    QVERIFY(!w.previousFilter());
    w.showActive();
    QTest::keyClick(&w, Qt::Key_B); // tool letters are dropped while disabled
    QCOMPARE(w.checkedTool(), QString());
}

void TestApp::newSelectAndClose()
{
    Window w;
    w.showActive();
    w.trigger("File", "New...");
    QPointer<Canvas> first = w.currentCanvas();
    QVERIFY(first && w.centralWidget() == first);
    QCOMPARE(w.document(), "Untitled||unchanged|tools on");
    QCOMPARE(first->image(), filled(800, 600, 0xFFFFFFFF));
    w.trigger("Edit", "Select All");
    QCOMPARE(QRegion(first->mask()), QRegion(0, 0, 800, 600));
    w.trigger("Edit", "Invert Selection");
    QVERIFY(first->isMaskEmpty());
    first->undoSnapshot(); // unsaved: New replaces it without asking
    QCOMPARE(dialogsDuring([&w] { w.trigger("File", "New..."); }), QStringList());
    settle();
    QVERIFY(first.isNull());
    QPointer<Canvas> second = w.currentCanvas();
    QTest::keyClick(&w, Qt::Key_W, Qt::ControlModifier);
    QCOMPARE(w.document(), "|-|none|tools off");
    settle();
    QVERIFY(second.isNull());
}

void TestApp::openAndSave()
{
    Window w;
    // Opened through the dialog: converted, default resolution, title and path.
    for (const char* name : {"basn3p02.png", "basn0g16.png", "basn2c08.png"}) {
        const QString path = QDir::cleanPath(ZARN_TESTDATA_DIR "/png/") + "/" + name;
        auto caption = answerFileDialog(path);
        w.trigger("File", "Open...");
        QCOMPARE(*caption + " " + w.document(),
                 QString("Open Image ") + name + "|" + path + "|unchanged|tools on");
        QCOMPARE(w.currentCanvas()->image(), load_image_file(path));
        QCOMPARE(w.currentCanvas()->image().dotsPerMeterX(),
                 QImage(1, 1, QImage::Format_RGB32).dotsPerMeterX());
    }
    // Text, a folder, a cancel: nothing changes.
    Canvas* canvas = w.currentCanvas();
    canvas->undoSnapshot();
    for (const QString& path : {QString(ZARN_SOURCE_DIR "/README.md"), dir.path(), QString()}) {
        answerFileDialog(path);
        w.trigger("File", "Open...");
        QCOMPARE(w.currentCanvas(), canvas);
    }
    const QString opened = w.currentFilename(); // a failed save changes nothing
    for (const QString& name :
         {dir.filePath("picture.unknownsuffix"), dir.filePath("nowhere/picture.png"), QString()}) {
        auto caption = answerFileDialog(name);
        w.trigger("File", "Save...");
        QCOMPARE(*caption + " " + w.document(),
                 "Save Image basn2c08.png|" + opened + "|changed|tools on");
        QVERIFY(name.isNull() || !QFile::exists(name));
    }
    const QString target = dir.filePath("picture.png");
    answerFileDialog(target);
    w.showActive();
    QTest::keyClick(&w, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(w.document(), "picture.png|" + target + "|unchanged|tools on");
    QImage reloaded = load_image_file(target);
    reloaded.setColorSpace(canvas->image().colorSpace());
    QCOMPARE(reloaded, canvas->image());
}

void TestApp::toolShortcutsAndKeys()
{
    Window w;
    w.showActive();
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    QCOMPARE(canvas->toolDepth(), 0);
    const QStringList labels = {"Move",    "Brush", "Text",      "Eyedropper",
                                "Marquee", "Lasso", "Magic Wand"};
    for (int i = 0; i < labels.size(); ++i) {
        QTest::keyClick(&w, "vbtimlw"[i]);
        QCOMPARE(w.checkedTool(), labels[i]);
        QCOMPARE(canvas->tool(), w.registeredTool(labels[i]));
        QCOMPARE(canvas->toolDepth(), 1);
    }
    // Other keys reach the tool; re-picking the checked tool deactivates and
    // activates it again; the letter itself never reaches a tool.
    auto* recorder = new KeyRecorder; // outlives the canvas like the real tools
    canvas->popTool();
    canvas->pushTool(recorder);
    QTest::keyClick(&w, Qt::Key_BracketRight);
    QTest::keyClick(&w, Qt::Key_5);
    QTest::keyClick(&w, Qt::Key_M);
    QCOMPARE(recorder->keys, QStringList({"on", "]", "5", "off"}));
    QCOMPARE(canvas->tool(), w.registeredTool("Marquee"));
    QTest::keyPress(&w, Qt::Key_Space); // picked under the hand: goes above the old tool
    QCOMPARE(canvas->tool(), static_cast<Tool*>(canvas->handTool()));
    QTest::keyClick(&w, Qt::Key_B);
    QTest::keyRelease(&w, Qt::Key_Space);
    QCOMPARE(canvas->tool(), w.registeredTool("Brush"));
    QCOMPARE(canvas->toolDepth(), 2);
    w.trigger("File", "New..."); // no active tool; the checked action stays
    QCOMPARE(w.currentCanvas()->toolDepth(), 0);
    QCOMPARE(w.checkedTool(), QString("Brush"));
}

void TestApp::lastFilter()
{
    Window w;
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    QCOMPARE(dialogsDuring([&w] { w.trigger("Filters", "Last"); }), QStringList());
    QCOMPARE(canvas->undoCount(), 1);
    w.showActive();
    QTest::keyClick(&w, Qt::Key_I, Qt::ControlModifier);
    QCOMPARE(w.previousFilter(), w.filterInvert);
    QCOMPARE(canvas->image().pixel(10, 10), qRgb(0, 0, 0));
    // A cancelled settings dialog still makes the filter the last one.
    QCOMPARE(dialogsDuring([&w] { w.trigger("Filters", "Zarnelate"); }), QStringList("Zarnelate"));
    QCOMPARE(w.previousFilter(), w.filterZarnelate);
    QCOMPARE(canvas->undoCount(), 2);
    w.trigger("File", "Close"); // it survives Close and New; Last repeats it without asking
    w.trigger("File", "New...");
    QCOMPARE(dialogsDuring([&w] { w.trigger("Filters", "Last"); }), QStringList());
    QCOMPARE(w.currentCanvas()->undoCount(), 2);
}

void TestApp::colorSwatch()
{
    Window w;
    w.showActive();
    ColorWidget* swatch = w.colorSwatch();
    QCOMPARE(w.drawColor(), QColor(0, 128, 0));
    QVERIFY(swatch->width() <= 64 && swatch->height() <= 64);
    QSignalSpy spy(swatch, &ColorWidget::colorChanged);
    QStringList seen; // the dialog's title and starting colour; an invalid pick cancels
    auto answer = [&seen](const QColor& pick) {
        return [&seen, pick](QWidget* dialog) {
            auto* colors = qobject_cast<QColorDialog*>(dialog);
            seen << dialog->windowTitle() + " " + colors->currentColor().name();
            colors->setCurrentColor(pick);
            pick.isValid() ? colors->accept() : colors->reject();
        };
    };
    whenModal(answer(QColor(10, 20, 30)));
    QTest::mouseClick(swatch, Qt::LeftButton);
    whenModal(answer(QColor()));
    QTest::mouseClick(swatch, Qt::LeftButton);
    whenModal(answer(Qt::yellow), 5); // nothing opens for the right button
    QTest::mouseClick(swatch, Qt::RightButton);
    cleanup();
    QCOMPARE(seen, QStringList({"Select Color #008000", "Select Color #0a141e"}));
    QCOMPARE(w.drawColor(), QColor(10, 20, 30));
    QCOMPARE(spy.count(), 1);
    w.setDrawColor(QColor(200, 10, 20));
    QCOMPARE(QColor(swatch->grab().toImage().pixel(1, 1)), QColor(200, 10, 20));
}

void TestApp::sliderDialog_data()
{
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("initial");
    QTest::addColumn<QString>("shown"); // set only once the slider moves off its minimum
    QTest::newRow("size") << 4 << 30 << "30";
    QTest::newRow("at minimum") << 4 << 4 << "";
    QTest::newRow("zero") << -100 << 0 << "";
    QTest::newRow("negative") << -100 << -1 << "-1";
}

void TestApp::sliderDialog()
{
    QFETCH(int, minimum);
    QFETCH(int, initial);
    QFETCH(QString, shown);
    SliderDialog dialog("Zarnify", "Value", initial, minimum, 100);
    auto* grid = qobject_cast<QGridLayout*>(dialog.layout());
    auto cell = [grid](int row, int column) {
        QLayoutItem* item = grid->itemAtPosition(row, column);
        QWidget* w = item ? item->widget() : nullptr;
        return qobject_cast<QLabel*>(w)        ? qobject_cast<QLabel*>(w)->text()
               : qobject_cast<QPushButton*>(w) ? qobject_cast<QPushButton*>(w)->text()
               : qobject_cast<QSlider*>(w)     ? "slider"
                                               : QString(w ? "?" : "");
    };
    auto cells = [&] {
        return dialog.windowTitle() + ": " + cell(0, 0) + "|" + cell(0, 1) + "|" + cell(0, 2) +
               "|" + cell(0, 3) + " / " + cell(1, 0) + cell(1, 1) + cell(1, 2) + "|" + cell(1, 3);
    };
    QCOMPARE(cells(), "Zarnify: Value|slider|" + shown + "|OK / |Cancel");
    dialog.valueSlider()->setValue(minimum + 1);
    QCOMPARE(cell(0, 2), QString::number(minimum + 1));
    whenModal(
        [&](QWidget*) { QTest::mouseClick(grid->itemAtPosition(0, 3)->widget(), Qt::LeftButton); });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QCOMPARE(dialog.value(), minimum + 1);
    whenModal([](QWidget* w) { QTest::keyClick(w, Qt::Key_Escape); });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
}

void TestApp::splashAndPluginPath()
{
    QSplashScreen splash(QPixmap(":/data/splash.png"));
    QStringList messages;
    QElapsedTimer clock;
    clock.start();
    run_splash_loop(&splash,
                    [&](const QString& message) { messages << message + "|" + splash.message(); });
    QVERIFY2(clock.elapsed() >= 2500, qPrintable(QString::number(clock.elapsed())));
    QStringList dots;
    for (int k = 0; k <= 20; ++k)
        dots << QString(k, '.') + "|" + QString(k, '.');
    QCOMPARE(messages, dots);
    QDir parent(QCoreApplication::applicationDirPath());
    parent.cdUp();
    QCOMPARE(add_plugin_path(), parent.absolutePath()); // without "plugins", its parent
    QVERIFY(parent.mkdir("plugins"));
    QCOMPARE(add_plugin_path(), parent.absoluteFilePath("plugins"));
    QVERIFY(QCoreApplication::libraryPaths().contains(parent.absoluteFilePath("plugins")));
    QVERIFY(parent.rmdir("plugins"));
}

// Every picture of the PNG suite, and a few other formats, loads converted
// and comes back unchanged from a save; the content decides, not the suffix.
void TestApp::imageFiles()
{
    const QDir suite(ZARN_TESTDATA_DIR "/png");
    const QStringList names = suite.entryList({"*.png"}, QDir::Files, QDir::Name);
    QVERIFY(names.size() > 100);
    for (const QString& name : names) {
        const QImage loaded = load_image_file(suite.filePath(name));
        QCOMPARE(loaded.size(), QImageReader(suite.filePath(name)).size());
        QVERIFY2(save_image_file(loaded, dir.filePath("copy.png")), qPrintable(name));
        QImage back = load_image_file(dir.filePath("copy.png"));
        back.setColorSpace(loaded.colorSpace());
        QVERIFY2(back == loaded && back.format() == QImage::Format_ARGB32_Premultiplied,
                 qPrintable(name));
    }
    for (const auto& [name, format] :
         {std::pair("p.tif", "TIFF"), {"p.webp", "WEBP"}, {"png.jpg", "PNG"}}) {
        QVERIFY(positions(7, 5).save(dir.filePath(name), format, 100));
        QCOMPARE(load_image_file(dir.filePath(name)), positions(7, 5));
    }
}

void TestApp::resources()
{
    QStringList shapes;
    for (const char* name : {"splash", "icon_move", "icon_brush", "icon_text", "icon_eye",
                             "icon_marquee", "icon_lasso", "icon_wand", "icon", "worm_8",
                             "zarn_bitmap", "zarn_bitmap_small", "bump5"}) {
        const QImage image(QString(":/data/%1.png").arg(name));
        shapes << QString("%1x%2/%3").arg(image.width()).arg(image.height()).arg(image.depth());
    }
    QCOMPARE(shapes.join(' '), "650x300/32 24x24/32 24x24/32 24x24/32 24x24/32 24x24/32 24x24/32 "
                               "24x24/32 32x32/32 8x8/1 512x512/1 128x128/1 64x64/32");
    const QImage worm = QImage(":/data/worm_8.png").convertToFormat(QImage::Format_RGB32);
    QString rows;
    for (int i = 0; i < 72; ++i)
        rows += i % 9 == 8 ? '/' : worm.pixel(i % 9, i / 9) == 0xffffffff ? 'W' : 'B';
    QCOMPARE(rows, "WWWBBBBW/WWBBBBWW/WBBBBWWW/BBBBWWWW/BBBWWWWB/BBWWWWBB/BWWWWBBB/WWWWBBBB/");
    // Every type the desktop entry offers to open is one the reader knows.
    QFile entry(ZARN_SOURCE_DIR "/packaging/org.example.Zarn.desktop");
    QVERIFY(entry.open(QIODevice::ReadOnly));
    const QByteArray text = entry.readAll();
    const QList<QByteArray> readable = QImageReader::supportedMimeTypes();
    for (const QByteArray& type :
         text.mid(text.indexOf("MimeType=") + 9).split('\n').first().split(';'))
        QVERIFY2(type.isEmpty() || readable.contains(type), type.constData());
}

QTEST_MAIN(TestApp)
#include "tst_app.moc"
