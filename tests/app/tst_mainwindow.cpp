// SPDX-License-Identifier: MIT
#include <QActionGroup>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QImageReader>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <memory>

#include "app/colorwidget.h"
#include "app/imagefile.h"
#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "filters/filter.h"
#include "support/modal.h"
#include "tools/tool.h"

namespace {

const QStringList kToolLabels = {"Move",    "Brush", "Text",      "Eyedropper",
                                 "Marquee", "Lasso", "Magic Wand"};

class Window : public MainWindow
{
public:
    using MainWindow::filterBump;
    using MainWindow::filterInvert;
    using MainWindow::filterZarnelate;
    using MainWindow::filterZarnify;
    using MainWindow::filterZarnonimate;

    void trigger(const QString& menuTitle, const QString& label) const
    {
        for (QAction* top : menuBar()->actions())
            for (QAction* entry : top->menu()->actions())
                if (top->text() == menuTitle && entry->text() == label)
                    return entry->trigger();
        QFAIL(qPrintable("no menu entry " + menuTitle + " > " + label));
    }

    QAction* toolAction(const QString& label) const
    {
        return toolActions()->actions().value(kToolLabels.indexOf(label));
    }

    void showActive()
    {
        show();
        activateWindow(); // a closed modal dialog takes the activation with it
        QVERIFY(QTest::qWaitForWindowActive(this));
    }
};

// Records what the canvas hands to the active tool.
class RecordingTool : public Tool
{
public:
    void keyPressEvent(int key, const QString& text, Qt::KeyboardModifiers) override
    {
        keys << key;
        texts << text;
    }
    void activeEvent(bool active) override { activations << active; }

    QList<int> keys;
    QStringList texts;
    QList<bool> activations;
};

// Closes any modal widget that appears while it lives and remembers its
// title; for commands that must not open a dialog.
class ModalGuard
{
public:
    ModalGuard()
    {
        QObject::connect(&timer, &QTimer::timeout, [this] {
            if (QWidget* w = QApplication::activeModalWidget()) {
                titles << w->windowTitle();
                w->close();
            }
        });
        timer.start(0);
    }

    QTimer timer;
    QStringList titles;
};

// Types the path into the next file dialog and accepts it; a null path
// cancels, and so does a path the dialog only navigates to (a folder).
// The shared string receives the dialog's caption.
std::shared_ptr<QString> answerFileDialog(const QString& path)
{
    auto caption = std::make_shared<QString>();
    whenModal([path, caption](QWidget* w) {
        auto* dialog = qobject_cast<QFileDialog*>(w);
        *caption = w->windowTitle();
        if (dialog && !path.isNull()) {
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            static_cast<QDialog*>(dialog)->accept(); // the file dialog's own accept
        }
        if (w->isVisible())
            w->close();
    });
    return caption;
}

// Pixels only: a reloaded file may describe its gamma as another colour space.
bool samePixels(const QImage& a, const QImage& b)
{
    return a.size() == b.size() && a.format() == b.format() &&
           QByteArrayView(a.constBits(), a.sizeInBytes()) ==
               QByteArrayView(b.constBits(), b.sizeInBytes());
}

void settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void startState();
    void newAndClose();
    void openTestPngs();
    void openIgnoresNonImages();
    void save();
    void commandsWithoutDocumentDoNothing();
    void toolShortcutsSwitchTools();
    void keysAndMouse();
    void servicesAndAbout();
    void lastFilter();

private:
    QTemporaryDir dir;
};

void TestMainWindow::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QVERIFY(dir.isValid());
}

// A failed check can leave a dialog driver polling; let it run out so that
// it cannot answer the next test's dialog.
void TestMainWindow::cleanup()
{
    for (int round = 0; round < 250; ++round)
        QCoreApplication::processEvents();
}

void TestMainWindow::startState()
{
    Window w;
    QStringList toolBar;
    for (QAction* a : w.findChild<QToolBar*>()->actions())
        toolBar << QString("%1|%2|%3|%4%5%6")
                       .arg(a->text(), a->toolTip(), a->shortcut().toString())
                       .arg(a->isCheckable())
                       .arg(a->isChecked())
                       .arg(a->isEnabled());
    QCOMPARE(toolBar,
             QStringList({"Move|Move (V)|V|100", "Brush|Brush (B)|B|100", "Text|Text (T)|T|100",
                          "Eyedropper|Eyedropper (I)|I|100", "Marquee|Marquee (M)|M|100",
                          "Lasso|Lasso (L)|L|100", "Magic Wand|Magic Wand (W)|W|100"}));
    QCOMPARE(w.toolBarArea(w.findChild<QToolBar*>()), Qt::LeftToolBarArea);
    QVERIFY(w.toolActions()->isExclusive());
    QSet<Tool*> tools;
    for (const QString& label : kToolLabels)
        tools << w.registeredTool(label);
    QCOMPARE(tools.size(), 7);
    QVERIFY(!tools.contains(nullptr));

    QStringList menus;
    for (QAction* top : w.menuBar()->actions()) {
        QStringList entries;
        for (QAction* e : top->menu()->actions())
            entries << (e->isSeparator() ? "-"
                                         : e->text() + "=" + e->shortcut().toString() +
                                               (e->isEnabled() && !e->isCheckable() ? "" : "!"));
        menus << top->text() + ": " + entries.join(", ");
    }
    QCOMPARE(menus,
             QStringList({"File: New...=Ctrl+N, Open...=Ctrl+O, Save...=Ctrl+S, Close=Ctrl+W, -, "
                          "Quit=Ctrl+Q",
                          "Edit: Undo=Ctrl+Z, Redo=Ctrl+R, -, Select All=Ctrl+A, "
                          "Clear Selection=Ctrl+D, Invert Selection=Ctrl+Shift+I",
                          "Filters: Last=Ctrl+F, -, Zarnert=Ctrl+I, Zarnelate=, Zarnify=, "
                          "Zarnelure=, Zarnonimate=",
                          "Help: About="}));
    const QSet<Filter*> filters = {w.filterInvert, w.filterZarnelate, w.filterZarnify, w.filterBump,
                                   w.filterZarnonimate};
    QCOMPARE(filters.size(), 5);
    for (Filter* filter : filters)
        QCOMPARE(filter ? filter->parent() : nullptr, static_cast<QObject*>(&w));

    QCOMPARE(w.windowTitle(), QString());
    QVERIFY(!w.currentCanvas() && w.currentFilename().isNull() && !w.previousFilter());
    QVERIFY(w.centralWidget() && !qobject_cast<Canvas*>(w.centralWidget()));
    QCOMPARE(w.drawColor(), QColor(0, 128, 0));
    QDockWidget* dock = w.findChild<QDockWidget*>();
    QCOMPARE(w.dockWidgetArea(dock), Qt::RightDockWidgetArea);
    QCOMPARE(dock->widget(), static_cast<QWidget*>(w.colorSwatch()));
}

void TestMainWindow::newAndClose()
{
    Window w;
    w.resize(800, 500);
    w.showActive();
    const QSize placeholderSize = w.centralWidget()->size();

    w.trigger("File", "New...");
    QPointer<Canvas> first = w.currentCanvas();
    QVERIFY(first && w.centralWidget() == first);
    QCOMPARE(w.windowTitle(), QString("Untitled"));
    QVERIFY(w.currentFilename().isEmpty() && !w.currentFilename().isNull());
    QVERIFY(w.toolActions()->isEnabled());
    QCOMPARE(first->size(), placeholderSize);
    // Needs the canvas: a blank white picture, its view fitted once the loop runs.
    QCOMPARE(first->image().size(), QSize(800, 600));
    QCOMPARE(first->image().pixel(799, 599), qRgb(255, 255, 255));
    settle();
    QVERIFY(!first->viewRect().isEmpty());

    // New over an unsaved document replaces it without asking.
    first->undoSnapshot();
    ModalGuard guard;
    w.trigger("File", "New...");
    QVERIFY(guard.titles.isEmpty() && w.currentCanvas() != first);
    settle();
    QVERIFY(first.isNull());

    QPointer<Canvas> second = w.currentCanvas();
    QTest::keyClick(&w, Qt::Key_W, Qt::ControlModifier); // File > Close by its shortcut
    QCOMPARE(w.currentCanvas(), nullptr);
    QCOMPARE(w.windowTitle(), QString(""));
    QVERIFY(w.currentFilename().isNull());
    QVERIFY(!w.toolActions()->isEnabled());
    QVERIFY(!qobject_cast<Canvas*>(w.centralWidget()));
    settle();
    QVERIFY(second.isNull());

    QWidget* placeholder = w.centralWidget();
    w.trigger("File", "Close");
    QCOMPARE(w.centralWidget(), placeholder);
}

void TestMainWindow::openTestPngs()
{
    Window w;
    // Every colour type and bit depth, interlaced or not, and the transparency
    // variants; tst_imagefile reads the whole collection without the dialog,
    // whose construction alone costs tens of milliseconds per file.
    const QDir source(QDir::cleanPath(ZARN_TESTDATA_DIR "/png"));
    const QStringList names = source.entryList(
        {"basn*.png", "ibasn*.png", "ftb*.png", "ftp*.png", "*-16-sRGB-tRNS.png"}, QDir::Files);
    QVERIFY(names.size() >= 40);
    const QImage fresh(1, 1, QImage::Format_ARGB32_Premultiplied);
    for (const QString& name : names) {
        const QString path = source.filePath(name);
        auto caption = answerFileDialog(path);
        w.trigger("File", "Open...");
        QCOMPARE(*caption, QString("Open Image"));
        QCOMPARE(w.windowTitle(), name);
        QCOMPARE(w.currentFilename(), path);
        const QImage& image = w.currentCanvas()->image();
        QCOMPARE(image.format(), QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(image.size(), QImageReader(path).size());
        QCOMPARE(image.dotsPerMeterX(), fresh.dotsPerMeterX());
        QCOMPARE(image.dotsPerMeterY(), fresh.dotsPerMeterY());
        settle();
    }

    const QString saved = dir.filePath("roundtrip.png");
    auto caption = answerFileDialog(saved);
    w.trigger("File", "Save...");
    QCOMPARE(*caption, QString("Save Image"));
    QVERIFY(samePixels(load_image_file(saved), w.currentCanvas()->image()));
}

void TestMainWindow::openIgnoresNonImages()
{
    Window w;
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    const QString text = dir.filePath("readme.txt");
    const QString empty = dir.filePath("empty.png");
    const QString truncated = dir.filePath("truncated.png");
    QFile textFile(text);
    QVERIFY(textFile.open(QIODevice::WriteOnly) && textFile.write("not a picture") > 0);
    textFile.close();
    QVERIFY(QFile(empty).open(QIODevice::WriteOnly));
    QVERIFY(QFile::copy(ZARN_TESTDATA_DIR "/png/basn6a08.png", truncated));
    QVERIFY(QFile::resize(truncated, 100));

    for (const QString& path : {text, empty, truncated, dir.path(), QString()}) {
        auto caption = answerFileDialog(path);
        w.trigger("File", "Open...");
        QCOMPARE(*caption, QString("Open Image"));
        QCOMPARE(w.currentCanvas(), canvas);
        QCOMPARE(w.windowTitle(), QString("Untitled"));
    }
}

void TestMainWindow::save()
{
    Window w;
    answerFileDialog(ZARN_TESTDATA_DIR "/png/basn2c08.png");
    w.trigger("File", "Open...");
    Canvas* canvas = w.currentCanvas();
    canvas->undoSnapshot(); // needs the canvas: marks the document changed

    // Saving under a name that cannot be written changes nothing.
    for (const char* name : {"picture.unknownsuffix", "nowhere/picture.png"}) {
        auto caption = answerFileDialog(dir.filePath(name));
        w.trigger("File", "Save...");
        QCOMPARE(*caption, QString("Save Image"));
        QCOMPARE(w.windowTitle(), QString("basn2c08.png"));
        QVERIFY(canvas->isChanged());
        QVERIFY(!QFile::exists(dir.filePath(name)));
    }
    answerFileDialog(QString());
    w.trigger("File", "Save...");
    QCOMPARE(w.windowTitle(), QString("basn2c08.png"));

    // A document opened from a file still asks for a name.
    const QString target = dir.filePath("picture.png");
    auto caption = answerFileDialog(target);
    w.showActive();
    QTest::keyClick(&w, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(*caption, QString("Save Image"));
    QCOMPARE(w.windowTitle(), QString("picture.png"));
    QCOMPARE(w.currentFilename(), target);
    QVERIFY(!canvas->isChanged());
    QVERIFY(samePixels(load_image_file(target), canvas->image()));
}

void TestMainWindow::commandsWithoutDocumentDoNothing()
{
    Window w;
    ModalGuard guard;
    for (const char* label : {"Save...", "Close"})
        w.trigger("File", label);
    for (const char* label : {"Undo", "Redo", "Select All", "Clear Selection", "Invert Selection"})
        w.trigger("Edit", label);
    for (const char* label :
         {"Last", "Zarnert", "Zarnelate", "Zarnify", "Zarnelure", "Zarnonimate"})
        w.trigger("Filters", label);
    QCoreApplication::processEvents();
    QCOMPARE(guard.titles, QStringList());
    QVERIFY(!w.previousFilter() && !w.currentCanvas());

    // Tool letters are dropped while the tool actions are disabled.
    w.showActive();
    QTest::keyClick(&w, Qt::Key_B);
    QVERIFY(!w.toolAction("Brush")->isChecked());
}

void TestMainWindow::toolShortcutsSwitchTools()
{
    Window w;
    w.showActive();
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    QCOMPARE(canvas->toolDepth(), 0);

    const QList<Qt::Key> letters = {Qt::Key_V, Qt::Key_B, Qt::Key_T, Qt::Key_I,
                                    Qt::Key_M, Qt::Key_L, Qt::Key_W};
    for (int i = 0; i < letters.size(); ++i) {
        QTest::keyClick(&w, letters[i]);
        QVERIFY2(w.toolAction(kToolLabels[i])->isChecked(), qPrintable(kToolLabels[i]));
        // Needs the canvas's tool stack.
        QCOMPARE(canvas->tool(), w.registeredTool(kToolLabels[i]));
        QCOMPARE(canvas->toolDepth(), 1);
    }

    // Re-picking the checked tool deactivates and activates it again; the
    // letter itself never reaches a tool.
    auto* recorder = new RecordingTool; // outlives the canvas like the real tools
    canvas->popTool();
    canvas->pushTool(recorder);
    QTest::keyClick(&w, Qt::Key_M);
    QCOMPARE(recorder->activations, (QList<bool>{true, false}));
    QVERIFY(recorder->keys.isEmpty());
    QCOMPARE(canvas->tool(), w.registeredTool("Marquee"));

    // A tool picked while Space holds the hand tool goes above the previous one.
    QTest::keyPress(&w, Qt::Key_Space);
    QCOMPARE(canvas->tool(), static_cast<Tool*>(canvas->handTool()));
    QTest::keyClick(&w, Qt::Key_B);
    QTest::keyRelease(&w, Qt::Key_Space);
    QCOMPARE(canvas->tool(), w.registeredTool("Brush"));
    QCOMPARE(canvas->toolDepth(), 2);

    // A new document starts without an active tool; the checked action stays.
    w.trigger("File", "New...");
    QCOMPARE(w.currentCanvas()->toolDepth(), 0);
    QVERIFY(w.toolAction("Brush")->isChecked());
    QTest::keyClick(&w, Qt::Key_L);
    QCOMPARE(w.currentCanvas()->tool(), w.registeredTool("Lasso"));
}

void TestMainWindow::keysAndMouse()
{
    Window w;
    w.showActive();
    w.trigger("File", "New...");
    auto* recorder = new RecordingTool;
    w.currentCanvas()->pushTool(recorder);

    QTest::keyClick(&w, Qt::Key_BracketRight);
    QTest::keyClick(&w, Qt::Key_5);
    QCOMPARE(recorder->keys, (QList<int>{Qt::Key_BracketRight, Qt::Key_5}));
    QCOMPARE(recorder->texts, (QStringList{"]", "5"}));
    w.trigger("File", "Close");
    QTest::keyClick(&w, Qt::Key_5); // dropped: no canvas
    QCOMPARE(recorder->keys.size(), 2);

    for (auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease, QEvent::MouseMove}) {
        QMouseEvent event(type, QPointF(5, 5), QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&w, &event);
        QVERIFY(event.isAccepted()); // the window swallows them
    }
}

void TestMainWindow::servicesAndAbout()
{
    Window w;
    w.setStatus("Resize brush with [ and ]");
    QCOMPARE(w.statusBar()->currentMessage(), QString("Resize brush with [ and ]"));
    w.setStatus("");
    QCOMPARE(w.statusBar()->currentMessage(), QString());
    w.setDrawColor(QColor(1, 2, 3));
    QCOMPARE(w.drawColor(), QColor(1, 2, 3));
    QCOMPARE(w.colorSwatch()->color(), QColor(1, 2, 3));

    QString text;
    whenModal([&text](QWidget* box) {
        if (auto* message = qobject_cast<QMessageBox*>(box))
            text = message->windowTitle() + ": " + message->text();
        box->close();
    });
    w.trigger("Help", "About");
    QCOMPARE(text, QString("About: What zarn?"));
}

void TestMainWindow::lastFilter()
{
    Window w;
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    const int undoBefore = canvas->undoCount();
    {
        ModalGuard guard;
        w.trigger("Filters", "Last");
        QCoreApplication::processEvents();
        QVERIFY(guard.titles.isEmpty());
    }
    QCOMPARE(w.previousFilter(), nullptr);
    QCOMPARE(canvas->undoCount(), undoBefore);

    // Zarnert by its shortcut is remembered; the pixels need the invert filter.
    w.showActive();
    QTest::keyClick(&w, Qt::Key_I, Qt::ControlModifier);
    QCOMPARE(w.previousFilter(), w.filterInvert);
    QCOMPARE(canvas->image().pixel(10, 10), qRgb(0, 0, 0));

    // A cancelled settings dialog still makes the filter the last one.
    QString dialogTitle;
    whenModal([&dialogTitle](QWidget* dialog) {
        dialogTitle = dialog->windowTitle();
        dialog->close();
    });
    const int undoAfterInvert = canvas->undoCount();
    w.trigger("Filters", "Zarnelate");
    QCOMPARE(dialogTitle, QString("Zarnelate")); // needs the Zarnelate filter
    QCOMPARE(w.previousFilter(), w.filterZarnelate);
    QCOMPARE(canvas->undoCount(), undoAfterInvert);

    // It survives Close and New; Last then repeats it without a dialog.
    w.trigger("File", "Close");
    w.trigger("File", "New...");
    const int freshUndo = w.currentCanvas()->undoCount();
    ModalGuard guard;
    w.trigger("Filters", "Last");
    QCOMPARE(guard.titles, QStringList());
    QCOMPARE(w.currentCanvas()->undoCount(), freshUndo + 1);
    QCOMPARE(w.previousFilter(), w.filterZarnelate);
}

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
