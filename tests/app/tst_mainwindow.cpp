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
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <cstring>
#include <memory>

#include "app/colorwidget.h"
#include "app/imagefile.h"
#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "filters/filter.h"
#include "support/modal.h"
#include "tools/tool.h"

namespace {

class Window : public MainWindow
{
public:
    using MainWindow::filterBump;
    using MainWindow::filterInvert;
    using MainWindow::filterZarnelate;
    using MainWindow::filterZarnify;
    using MainWindow::filterZarnonimate;
    using MainWindow::keyPressEvent;

    QAction* menuAction(const QString& menuTitle, const QString& label) const
    {
        for (QAction* top : menuBar()->actions()) {
            if (top->text() != menuTitle || !top->menu())
                continue;
            for (QAction* entry : top->menu()->actions())
                if (entry->text() == label)
                    return entry;
        }
        return nullptr;
    }

    void trigger(const QString& menuTitle, const QString& label) const
    {
        QAction* action = menuAction(menuTitle, label);
        QVERIFY2(action, qPrintable(menuTitle + " > " + label));
        action->trigger();
    }

    QAction* toolAction(const QString& label) const
    {
        for (QAction* action : toolActions()->actions())
            if (action->text() == label)
                return action;
        return nullptr;
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
        timer.setInterval(0);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            if (QWidget* w = QApplication::activeModalWidget()) {
                titles << w->windowTitle();
                w->close();
            }
        });
        timer.start();
    }

    QTimer timer;
    QStringList titles;
};

struct DialogSeen
{
    QString caption;
    bool seen = false;
};

// Types the path into the next file dialog and accepts it; a null path
// cancels. A path the dialog will not accept (a folder) cancels as well.
std::shared_ptr<DialogSeen> answerFileDialog(const QString& path)
{
    auto seen = std::make_shared<DialogSeen>();
    whenModal([path, seen](QWidget* w) {
        auto* dialog = qobject_cast<QFileDialog*>(w);
        if (!dialog) {
            w->close();
            return;
        }
        seen->seen = true;
        seen->caption = dialog->windowTitle();
        if (path.isNull()) {
            dialog->reject();
            return;
        }
        dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
        static_cast<QDialog*>(dialog)->accept(); // dispatches to the file dialog's own
        if (dialog->isVisible())
            dialog->reject();
    });
    return seen;
}

// Compares pixels only; a reloaded file may describe its gamma differently.
bool samePixels(const QImage& a, const QImage& b)
{
    if (a.size() != b.size() || a.format() != b.format())
        return false;
    for (int row = 0; row < a.height(); ++row)
        if (memcmp(a.constScanLine(row), b.constScanLine(row), size_t(a.width()) * 4) != 0)
            return false;
    return true;
}

void settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

const QStringList kToolLabels = {"Move",    "Brush", "Text",      "Eyedropper",
                                 "Marquee", "Lasso", "Magic Wand"};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void toolBarMatchesTable();
    void menuBarMatchesTable();
    void startsWithoutDocument();
    void newAndClose();
    void openEveryTestPng();
    void openRefusesNonImages();
    void saveSetsTitleAndClearsChanged();
    void failedSaveChangesNothing();
    void commandsWithoutDocumentDoNothing();
    void toolShortcutsSwitchTools();
    void keysReachTheCanvasUnchanged();
    void mouseEventsAreConsumed();
    void statusAndColourServices();
    void aboutBox();
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

void TestMainWindow::toolBarMatchesTable()
{
    Window w;
    const QStringList tooltips = {"Move (V)",    "Brush (B)", "Text (T)",      "Eyedropper (I)",
                                  "Marquee (M)", "Lasso (L)", "Magic Wand (W)"};
    const QStringList keys = {"V", "B", "T", "I", "M", "L", "W"};

    QToolBar* bar = w.findChild<QToolBar*>();
    QVERIFY(bar);
    QCOMPARE(w.toolBarArea(bar), Qt::LeftToolBarArea);
    const QList<QAction*> actions = bar->actions();
    QCOMPARE(actions.size(), 7);
    QCOMPARE(w.toolActions()->actions(), actions);
    QVERIFY(w.toolActions()->isExclusive());
    QVERIFY(!w.toolActions()->isEnabled());
    QSet<Tool*> distinct;
    for (int i = 0; i < actions.size(); ++i) {
        QCOMPARE(actions[i]->text(), kToolLabels[i]);
        QCOMPARE(actions[i]->toolTip(), tooltips[i]);
        QCOMPARE(actions[i]->shortcut(), QKeySequence(keys[i]));
        QVERIFY(actions[i]->isCheckable());
        QVERIFY(!actions[i]->isChecked());
        QVERIFY(!actions[i]->isEnabled());
        QVERIFY(!actions[i]->icon().isNull());
        QVERIFY(w.registeredTool(kToolLabels[i]));
        distinct << w.registeredTool(kToolLabels[i]);
    }
    QCOMPARE(distinct.size(), 7);
    QCOMPARE(w.registeredTool("Hand"), nullptr);
}

void TestMainWindow::menuBarMatchesTable()
{
    Window w;
    const QStringList expected = {
        "File: New...=Ctrl+N, Open...=Ctrl+O, Save...=Ctrl+S, Close=Ctrl+W, -, Quit=Ctrl+Q",
        "Edit: Undo=Ctrl+Z, Redo=Ctrl+R, -, Select All=Ctrl+A, Clear Selection=Ctrl+D, "
        "Invert Selection=Ctrl+Shift+I",
        "Filters: Last=Ctrl+F, -, Zarnert=Ctrl+I, Zarnelate=, Zarnify=, Zarnelure=, Zarnonimate=",
        "Help: About=",
    };
    QStringList actual;
    for (QAction* top : w.menuBar()->actions()) {
        QVERIFY(top->menu());
        QStringList entries;
        for (QAction* entry : top->menu()->actions()) {
            if (entry->isSeparator()) {
                entries << "-";
                continue;
            }
            QVERIFY(entry->isEnabled());
            QVERIFY(!entry->isCheckable());
            entries << entry->text() + "=" + entry->shortcut().toString(QKeySequence::PortableText);
        }
        actual << top->text() + ": " + entries.join(", ");
    }
    QCOMPARE(actual, expected);

    // The five filters belong to the window and exist before any document.
    const QSet<Filter*> filters = {w.filterInvert, w.filterZarnelate, w.filterZarnify, w.filterBump,
                                   w.filterZarnonimate};
    QCOMPARE(filters.size(), 5);
    for (Filter* filter : filters) {
        QVERIFY(filter);
        QCOMPARE(filter->parent(), static_cast<QObject*>(&w));
    }
}

void TestMainWindow::startsWithoutDocument()
{
    Window w;
    QCOMPARE(w.windowTitle(), QString());
    QCOMPARE(w.currentCanvas(), nullptr);
    QVERIFY(w.currentFilename().isNull());
    QVERIFY(w.centralWidget());
    QVERIFY(!qobject_cast<Canvas*>(w.centralWidget()));
    QCOMPARE(w.previousFilter(), nullptr);
    QCOMPARE(w.drawColor(), QColor(0, 128, 0));
    QCOMPARE(w.statusBar()->currentMessage(), QString());

    QDockWidget* dock = w.findChild<QDockWidget*>();
    QVERIFY(dock);
    QCOMPARE(w.dockWidgetArea(dock), Qt::RightDockWidgetArea);
    QCOMPARE(dock->widget(), static_cast<QWidget*>(w.colorSwatch()));
}

void TestMainWindow::newAndClose()
{
    Window w;
    w.resize(800, 500);
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    const QSize placeholderSize = w.centralWidget()->size();

    w.trigger("File", "New...");
    QPointer<Canvas> first = w.currentCanvas();
    QVERIFY(first);
    QCOMPARE(w.centralWidget(), static_cast<QWidget*>(first));
    QCOMPARE(w.windowTitle(), QString("Untitled"));
    QVERIFY(w.currentFilename().isEmpty() && !w.currentFilename().isNull());
    QVERIFY(w.toolActions()->isEnabled());
    QCOMPARE(first->size(), placeholderSize);
    // Needs the canvas: blank 800 x 600 white picture, view fitted once the loop runs.
    QCOMPARE(first->image().size(), QSize(800, 600));
    QCOMPARE(first->image().pixel(799, 599), qRgb(255, 255, 255));
    settle();
    QVERIFY(!first->viewRect().isEmpty());

    // New over an unsaved document replaces it without asking.
    first->undoSnapshot();
    ModalGuard guard;
    w.trigger("File", "New...");
    QVERIFY(guard.titles.isEmpty());
    QVERIFY(w.currentCanvas() != first);
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

    // A second Close without a document changes nothing.
    QWidget* placeholder = w.centralWidget();
    w.trigger("File", "Close");
    QCOMPARE(w.centralWidget(), placeholder);
}

void TestMainWindow::openEveryTestPng()
{
    Window w;
    w.resize(800, 500);
    const QDir source(QDir::cleanPath(ZARN_TESTDATA_DIR "/png"));
    const QStringList names = source.entryList({"*.png"}, QDir::Files, QDir::Name);
    QVERIFY(names.size() > 100);
    const QImage fresh(1, 1, QImage::Format_ARGB32_Premultiplied);
    // The dialog starts in the working directory; an empty one lists fastest.
    QTemporaryDir emptyDir;
    const QString oldCurrent = QDir::currentPath();
    QDir::setCurrent(emptyDir.path());
    auto restoreCurrent = qScopeGuard([&] { QDir::setCurrent(oldCurrent); });

    for (const QString& name : names) {
        const QString path = source.filePath(name);
        auto seen = answerFileDialog(path);
        w.trigger("File", "Open...");
        QVERIFY(seen->seen);
        QCOMPARE(seen->caption, QString("Open Image"));
        QCOMPARE(w.windowTitle(), name);
        QCOMPARE(w.currentFilename(), path);
        Canvas* canvas = w.currentCanvas();
        QVERIFY(canvas);
        const QImage& image = canvas->image();
        QCOMPARE(image.format(), QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(image.size(), QImageReader(path).size());
        QCOMPARE(image.dotsPerMeterX(), fresh.dotsPerMeterX());
        QCOMPARE(image.dotsPerMeterY(), fresh.dotsPerMeterY());
        settle();
    }

    // Saving the last one as PNG through the dialog reopens with the same pixels.
    const QString saved = dir.filePath("roundtrip.png");
    const QImage before = w.currentCanvas()->image();
    auto seen = answerFileDialog(saved);
    w.trigger("File", "Save...");
    QCOMPARE(seen->caption, QString("Save Image"));
    QCOMPARE(w.windowTitle(), QString("roundtrip.png"));
    QVERIFY(samePixels(load_image_file(saved), before));
}

void TestMainWindow::openRefusesNonImages()
{
    Window w;
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    QVERIFY(canvas);

    const QString text = dir.filePath("readme.txt");
    QFile file(text);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("not a picture");
    file.close();
    const QString empty = dir.filePath("empty.png");
    QFile(empty).open(QIODevice::WriteOnly);
    const QString truncated = dir.filePath("truncated.png");
    QFile::copy(ZARN_TESTDATA_DIR "/png/basn6a08.png", truncated);
    QFile::resize(truncated, 100);

    for (const QString& path : {text, empty, truncated, dir.path(), QString()}) {
        auto seen = answerFileDialog(path);
        w.trigger("File", "Open...");
        QVERIFY(seen->seen);
        QCOMPARE(w.currentCanvas(), canvas);
        QCOMPARE(w.windowTitle(), QString("Untitled"));
        QVERIFY(w.currentFilename().isEmpty());
    }
}

void TestMainWindow::saveSetsTitleAndClearsChanged()
{
    Window w;
    w.show();
    QVERIFY(QTest::qWaitForWindowActive(&w));
    const QString source = ZARN_TESTDATA_DIR "/png/basn2c08.png";
    answerFileDialog(source);
    w.trigger("File", "Open...");
    Canvas* canvas = w.currentCanvas();
    QVERIFY(canvas);
    canvas->undoSnapshot(); // needs the canvas: marks the document changed
    QVERIFY(canvas->isChanged());

    // A document opened from a file still asks for a name.
    const QString target = dir.filePath("picture.png");
    auto seen = answerFileDialog(target);
    w.activateWindow(); // the closed open dialog took the activation with it
    QVERIFY(QTest::qWaitForWindowActive(&w));
    QTest::keyClick(&w, Qt::Key_S, Qt::ControlModifier);
    QVERIFY(seen->seen);
    QCOMPARE(w.windowTitle(), QString("picture.png"));
    QCOMPARE(w.currentFilename(), target);
    QVERIFY(!canvas->isChanged());
    QVERIFY(samePixels(load_image_file(target), canvas->image()));

    // Cancelling the dialog keeps everything.
    canvas->undoSnapshot();
    answerFileDialog(QString());
    w.trigger("File", "Save...");
    QCOMPARE(w.windowTitle(), QString("picture.png"));
    QVERIFY(canvas->isChanged());
}

void TestMainWindow::failedSaveChangesNothing()
{
    Window w;
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    QVERIFY(canvas);
    canvas->undoSnapshot(); // needs the canvas

    const QString unknown = dir.filePath("picture.unknownsuffix");
    const QString missingDir = dir.filePath("nowhere/else/picture.png");
    for (const QString& path : {unknown, missingDir}) {
        auto seen = answerFileDialog(path);
        w.trigger("File", "Save...");
        QVERIFY(seen->seen);
        QCOMPARE(w.windowTitle(), QString("Untitled"));
        QVERIFY(w.currentFilename().isEmpty());
        QVERIFY(canvas->isChanged());
        QVERIFY(!QFile::exists(path));
    }
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
    QCOMPARE(w.previousFilter(), nullptr);
    QCOMPARE(w.currentCanvas(), nullptr);

    // Tool letters are dropped while the tool actions are disabled.
    w.show();
    QVERIFY(QTest::qWaitForWindowActive(&w));
    QTest::keyClick(&w, Qt::Key_B);
    QVERIFY(!w.toolAction("Brush")->isChecked());
}

void TestMainWindow::toolShortcutsSwitchTools()
{
    Window w;
    w.resize(800, 500);
    w.show();
    QVERIFY(QTest::qWaitForWindowActive(&w));
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    QVERIFY(canvas);
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

    // Re-picking the checked tool deactivates and activates it again.
    auto* recorder = new RecordingTool; // outlives the canvas like the real tools
    canvas->popTool();
    canvas->pushTool(recorder);
    QCOMPARE(recorder->activations, QList<bool>{true});
    QTest::keyClick(&w, Qt::Key_M);
    QCOMPARE(recorder->activations, (QList<bool>{true, false}));
    QVERIFY(recorder->keys.isEmpty()); // the letter never reached the tool
    QCOMPARE(canvas->tool(), w.registeredTool("Marquee"));

    // A tool picked while Space holds the hand tool goes above the previous one.
    QTest::keyPress(&w, Qt::Key_Space);
    QCOMPARE(canvas->tool(), static_cast<Tool*>(canvas->handTool()));
    QTest::keyClick(&w, Qt::Key_B);
    QCOMPARE(canvas->tool(), w.registeredTool("Brush"));
    QCOMPARE(canvas->toolDepth(), 2);
    QTest::keyRelease(&w, Qt::Key_Space);
    QCOMPARE(canvas->toolDepth(), 2);

    // A new document starts without an active tool; the checked action stays.
    w.trigger("File", "New...");
    QCOMPARE(w.currentCanvas()->toolDepth(), 0);
    QVERIFY(w.toolAction("Brush")->isChecked());
    QTest::keyClick(&w, Qt::Key_L);
    QCOMPARE(w.currentCanvas()->tool(), w.registeredTool("Lasso"));
}

void TestMainWindow::keysReachTheCanvasUnchanged()
{
    Window w;
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    auto* recorder = new RecordingTool;
    canvas->pushTool(recorder);

    QKeyEvent press(QEvent::KeyPress, Qt::Key_BracketRight, Qt::NoModifier, "]");
    w.keyPressEvent(&press);
    QCOMPARE(recorder->keys, QList<int>{Qt::Key_BracketRight});
    QCOMPARE(recorder->texts, QStringList{"]"});

    QTest::keyClick(&w, Qt::Key_5);
    QCOMPARE(recorder->keys.size(), 2);
    QCOMPARE(recorder->texts.last(), QString("5"));

    w.trigger("File", "Close");
    QKeyEvent late(QEvent::KeyPress, Qt::Key_5, Qt::NoModifier, "5");
    w.keyPressEvent(&late); // dropped: no canvas
    QCOMPARE(recorder->keys.size(), 2);
}

void TestMainWindow::mouseEventsAreConsumed()
{
    Window w;
    for (QEvent::Type type :
         {QEvent::MouseButtonPress, QEvent::MouseButtonRelease, QEvent::MouseMove}) {
        QMouseEvent event(type, QPointF(5, 5), QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        event.setAccepted(true);
        QCoreApplication::sendEvent(&w, &event);
        QVERIFY(event.isAccepted());
    }
}

void TestMainWindow::statusAndColourServices()
{
    Window w;
    w.setStatus("Resize brush with [ and ]");
    QCoreApplication::processEvents();
    QCOMPARE(w.statusBar()->currentMessage(), QString("Resize brush with [ and ]"));
    w.setStatus("");
    QCOMPARE(w.statusBar()->currentMessage(), QString());

    QSignalSpy spy(w.colorSwatch(), &ColorWidget::colorChanged);
    w.setDrawColor(QColor(1, 2, 3));
    QCOMPARE(w.drawColor(), QColor(1, 2, 3));
    QCOMPARE(w.colorSwatch()->color(), QColor(1, 2, 3));
    QCOMPARE(spy.count(), 1);

    w.setAllEnabled(true);
    QVERIFY(w.toolActions()->isEnabled());
    w.setAllEnabled(false);
    QVERIFY(!w.toolActions()->isEnabled());
}

void TestMainWindow::aboutBox()
{
    Window w;
    QString title;
    QString text;
    whenModal([&](QWidget* box) {
        title = box->windowTitle();
        if (auto* message = qobject_cast<QMessageBox*>(box))
            text = message->text();
        box->close();
    });
    w.trigger("Help", "About");
    QCOMPARE(title, QString("About"));
    QCOMPARE(text, QString("What zarn?"));
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

    // Zarnert by its shortcut is remembered; needs the invert filter for pixels.
    w.show();
    QVERIFY(QTest::qWaitForWindowActive(&w));
    QTest::keyClick(&w, Qt::Key_I, Qt::ControlModifier);
    QCOMPARE(w.previousFilter(), w.filterInvert);
    QCOMPARE(canvas->image().pixel(10, 10), qRgb(0, 0, 0));

    // A cancelled settings dialog still makes the filter the last one.
    QString dialogTitle;
    whenModal([&](QWidget* dialog) {
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
    QCOMPARE(w.previousFilter(), w.filterZarnelate);
    w.trigger("File", "New...");
    Canvas* fresh = w.currentCanvas();
    const int freshUndo = fresh->undoCount();
    ModalGuard guard;
    w.trigger("Filters", "Last");
    QCOMPARE(guard.titles, QStringList());
    QCOMPARE(fresh->undoCount(), freshUndo + 1);
    QCOMPARE(w.previousFilter(), w.filterZarnelate);
}

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
