// SPDX-License-Identifier: MIT
#include <QActionGroup>
#include <QColorSpace>
#include <QDir>
#include <QFileDialog>
#include <QImageReader>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <functional>
#include <memory>

#include "app/imagefile.h"
#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "support/modal.h"
#include "tools/tool.h"

namespace {

const QStringList kToolLabels = {"Move",    "Brush", "Text",      "Eyedropper",
                                 "Marquee", "Lasso", "Magic Wand"};

class Window : public MainWindow
{
public:
    using MainWindow::filterInvert;
    using MainWindow::filterZarnelate;

    void trigger(const QString& menuTitle, const QString& label) const
    {
        for (QAction* top : menuBar()->actions())
            for (QAction* entry : top->menu()->actions())
                if (top->text() == menuTitle && entry->text() == label)
                    return entry->trigger();
        QFAIL(qPrintable("no menu entry " + menuTitle + " > " + label));
    }

    // Title, file name ("-" when none), the document's state and the tool actions'.
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
        activateWindow(); // a closed modal dialog takes the activation with it
        QVERIFY(QTest::qWaitForWindowActive(this));
    }
};

// Records the keys and activations the canvas hands it.
class RecordingTool : public Tool
{
public:
    void keyPressEvent(int, const QString& text, Qt::KeyboardModifiers) override { keys << text; }
    void activeEvent(bool active) override { activations << active; }

    QStringList keys;
    QList<bool> activations;
};

// Runs command while closing every modal widget that appears; returns their
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

// Types the path into the next file dialog and accepts it; a null path
// cancels, and so does a path the dialog only navigates to (a folder).
// The shared string receives the dialog's caption.
std::shared_ptr<QString> answerFileDialog(const QString& path)
{
    auto caption = std::make_shared<QString>();
    whenModal([path, caption](QWidget* w) {
        *caption = w->windowTitle();
        if (auto* dialog = qobject_cast<QFileDialog*>(w); dialog && !path.isNull()) {
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            static_cast<QDialog*>(dialog)->accept(); // the file dialog's own accept
        }
        if (w->isVisible())
            w->close();
    });
    return caption;
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
    void startStateAndNoDocument();
    void newAndClose();
    void openImagesAndNonImages();
    void save();
    void toolShortcutsAndKeys();
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

void TestMainWindow::startStateAndNoDocument()
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

    // Label=shortcut per entry, "-" a separator, "!" a disabled or checkable entry.
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
    // Tool letters are dropped while the tool actions are disabled.
    w.showActive();
    QTest::keyClick(&w, Qt::Key_B);
    QCOMPARE(w.checkedTool(), QString());
}

void TestMainWindow::newAndClose()
{
    Window w;
    w.showActive();
    w.trigger("File", "New...");
    QPointer<Canvas> first = w.currentCanvas();
    QVERIFY(first && w.centralWidget() == first);
    QCOMPARE(w.document(), "Untitled||unchanged|tools on");
    QCOMPARE(first->image().size(), QSize(800, 600));
    QCOMPARE(first->image().pixel(799, 599), qRgb(255, 255, 255));

    // New over an unsaved document replaces it without asking.
    first->undoSnapshot();
    QCOMPARE(dialogsDuring([&w] { w.trigger("File", "New..."); }), QStringList());
    QVERIFY(w.currentCanvas() != first);
    settle();
    QVERIFY(first.isNull());

    QPointer<Canvas> second = w.currentCanvas();
    QTest::keyClick(&w, Qt::Key_W, Qt::ControlModifier); // File > Close by its shortcut
    QCOMPARE(w.document(), "|-|none|tools off");
    settle();
    QVERIFY(second.isNull());
    QTest::keyClick(&w, Qt::Key_5); // dropped: nothing left to hand it to
}

void TestMainWindow::openImagesAndNonImages()
{
    Window w;
    // Every colour type and bit depth, interlaced or not, and the transparency
    // variants; tst_imagefile reads the whole collection without the dialog.
    const QDir source(QDir::cleanPath(ZARN_TESTDATA_DIR "/png"));
    const QStringList names = source.entryList(
        {"basn*.png", "ibasn*.png", "ftb*.png", "ftp*.png", "*-16-sRGB-tRNS.png"}, QDir::Files);
    QVERIFY(names.size() >= 40);
    const QImage fresh(1, 1, QImage::Format_ARGB32_Premultiplied);
    for (const QString& name : names) {
        const QString path = source.filePath(name);
        auto caption = answerFileDialog(path);
        w.trigger("File", "Open...");
        QCOMPARE(*caption + " " + w.document(),
                 "Open Image " + name + "|" + path + "|unchanged|tools on");
        const QImage& image = w.currentCanvas()->image();
        QCOMPARE(image.format(), QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(image.size(), QImageReader(path).size());
        QCOMPARE(QSize(image.dotsPerMeterX(), image.dotsPerMeterY()),
                 QSize(fresh.dotsPerMeterX(), fresh.dotsPerMeterY()));
        settle();
    }

    // Text, an empty file, a truncated PNG, a folder, a cancel: nothing changes.
    Canvas* canvas = w.currentCanvas();
    const QString text = dir.filePath("readme.txt");
    const QString empty = dir.filePath("empty.png");
    const QString truncated = dir.filePath("truncated.png");
    QVERIFY(QFile::copy(ZARN_SOURCE_DIR "/CMakeLists.txt", text));
    QVERIFY(QFile(empty).open(QIODevice::WriteOnly));
    QVERIFY(QFile::copy(ZARN_TESTDATA_DIR "/png/basn6a08.png", truncated));
    QVERIFY(QFile::resize(truncated, 100));
    for (const QString& path : {text, empty, truncated, dir.path(), QString()}) {
        answerFileDialog(path);
        w.trigger("File", "Open...");
        QCOMPARE(w.currentCanvas(), canvas);
        QCOMPARE(w.windowTitle(), names.last());
    }
}

void TestMainWindow::save()
{
    Window w;
    const QString opened = QDir::cleanPath(ZARN_TESTDATA_DIR "/png/basn2c08.png");
    answerFileDialog(opened);
    w.trigger("File", "Open...");
    Canvas* canvas = w.currentCanvas();
    canvas->undoSnapshot(); // marks the document changed

    // An unknown suffix, a missing folder, a cancel: nothing changes.
    for (const QString& name :
         {dir.filePath("picture.unknownsuffix"), dir.filePath("nowhere/picture.png"), QString()}) {
        auto caption = answerFileDialog(name);
        w.trigger("File", "Save...");
        QCOMPARE(*caption, QString("Save Image"));
        QCOMPARE(w.document(), "basn2c08.png|" + opened + "|changed|tools on");
        QVERIFY(name.isNull() || !QFile::exists(name));
    }

    // A document opened from a file still asks for a name.
    const QString target = dir.filePath("picture.png");
    auto caption = answerFileDialog(target);
    w.showActive();
    QTest::keyClick(&w, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(*caption, QString("Save Image"));
    QCOMPARE(w.document(), "picture.png|" + target + "|unchanged|tools on");
    QImage reloaded = load_image_file(target); // its gamma may come back as another colour space
    reloaded.setColorSpace(canvas->image().colorSpace());
    QCOMPARE(reloaded, canvas->image());
}

void TestMainWindow::toolShortcutsAndKeys()
{
    Window w;
    w.showActive();
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    QCOMPARE(canvas->toolDepth(), 0);
    for (int i = 0; i < kToolLabels.size(); ++i) {
        QTest::keyClick(&w, "vbtimlw"[i]);
        QCOMPARE(w.checkedTool(), kToolLabels[i]);
        QVERIFY(canvas->tool() && canvas->tool() == w.registeredTool(kToolLabels[i]));
        QCOMPARE(canvas->toolDepth(), 1);
    }

    // Other keys reach the tool unchanged. Re-picking the checked tool
    // deactivates and activates it again; the letter never reaches a tool.
    auto* recorder = new RecordingTool; // outlives the canvas like the real tools
    canvas->popTool();
    canvas->pushTool(recorder);
    QTest::keyClick(&w, Qt::Key_BracketRight);
    QTest::keyClick(&w, Qt::Key_5);
    QTest::keyClick(&w, Qt::Key_M);
    QCOMPARE(recorder->keys, QStringList({"]", "5"}));
    QCOMPARE(recorder->activations, (QList<bool>{true, false}));
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
    QCOMPARE(w.checkedTool(), QString("Brush"));
    QTest::keyClick(&w, Qt::Key_L);
    QCOMPARE(w.currentCanvas()->tool(), w.registeredTool("Lasso"));
}

void TestMainWindow::lastFilter()
{
    Window w;
    w.trigger("File", "New...");
    Canvas* canvas = w.currentCanvas();
    QCOMPARE(dialogsDuring([&w] { w.trigger("Filters", "Last"); }), QStringList());
    QCOMPARE(w.previousFilter(), nullptr);
    QCOMPARE(canvas->undoCount(), 1);

    // Zarnert by its shortcut is remembered.
    w.showActive();
    QTest::keyClick(&w, Qt::Key_I, Qt::ControlModifier);
    QCOMPARE(w.previousFilter(), w.filterInvert);
    QCOMPARE(canvas->image().pixel(10, 10), qRgb(0, 0, 0));

    // A cancelled settings dialog still makes the filter the last one.
    const int undoAfterInvert = canvas->undoCount();
    QCOMPARE(dialogsDuring([&w] { w.trigger("Filters", "Zarnelate"); }), QStringList("Zarnelate"));
    QCOMPARE(w.previousFilter(), w.filterZarnelate);
    QCOMPARE(canvas->undoCount(), undoAfterInvert);

    // It survives Close and New; Last then repeats it without a dialog.
    w.trigger("File", "Close");
    w.trigger("File", "New...");
    QCOMPARE(dialogsDuring([&w] { w.trigger("Filters", "Last"); }), QStringList());
    QCOMPARE(w.currentCanvas()->undoCount(), 2);
    QCOMPARE(w.previousFilter(), w.filterZarnelate);
}

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
