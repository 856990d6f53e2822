// SPDX-License-Identifier: MIT
// A seeded random "monkey" against a real main window with real canvases:
// menu commands, tool letters, mouse input of every button anywhere (far
// outside the canvas too, with any modifiers, in normal and odd orders),
// every key the canvas and the tools read, resizes, and every modal dialog
// answered at random from a timer. After every step the document's
// invariants are checked. ZARN_MONKEY_SEED and ZARN_MONKEY_STEPS override the
// fixed seeds and the step count (scripts/soak.sh monkey runs 100,000 steps).
#include <QAbstractButton>
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QColorDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFontDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPointer>
#include <QProgressDialog>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <cstring>
#include <deque>
#include <map>
#include <random>
#include <vector>

#include "app/colorwidget.h"
#include "app/mainwindow.h"
#include "app/sliderdialog.h"
#include "canvas/canvas.h"
#include "tools/tool.h"

class Monkey;

namespace {

constexpr int kHistoryLimit = 20;
// Beyond these magnifications the monkey's single zoom keys turn back, so that
// steps stay cheap; rare bursts (see key()) go to the absurd on purpose.
constexpr double kMaxMagnification = 64.0;
constexpr double kMinMagnification = 1.0 / 64.0;
// A dialog the monkey answered that is still up after this long is stuck.
constexpr qint64 kStuckDialogMs = 5000;

const char* const kToolLetters = "vbtimlw";

struct Stats
{
    long steps = 0;
    long canvases = 0;
    long dialogs = 0;
    long commands = 0;
    long mouseEvents = 0;
    long keyEvents = 0;
    long pictureChanges = 0;
    long toolSteps = 0;
};

struct Weighted
{
    int weight;
    void (*run)(Monkey&);
};

QImage tinyPicture(int width, int height)
{
    QImage picture(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.setPixel(x, y, qRgba(x * 7 % 256, y * 11 % 256, (x ^ y) % 256, 128 + x % 128));
    return picture;
}

} // namespace

class Monkey
{
public:
    Monkey(MainWindow* window, unsigned seed, const QString& workDir);
    ~Monkey();

    // Runs the steps; returns an empty string or what went wrong, with the
    // seed, the step and the recent actions to reproduce it.
    QString run(long steps);
    const Stats& stats() const { return counts; }

    // Steps
    void menuCommand();
    void shortcutCommand();
    void pickTool();
    void mousePress();
    void mouseMoves();
    void mouseRelease();
    void doubleClickOrWheel();
    void key();
    void resize();
    void settle();
    void repaint();
    void wormTick();
    void swatchClick();

private:
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); }
    bool chance(int percent) { return pick(100) < percent; }
    void note(const QString& action);
    QString failure(const QString& what) const;
    QString checkInvariants(bool deep);
    Qt::KeyboardModifiers randomModifiers();
    Qt::MouseButton randomButton();
    QPoint randomPoint();
    void sendMouse(QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons buttons);
    void sendKey(QEvent::Type type, int key, const QString& text, Qt::KeyboardModifiers mods,
                 bool autoRepeat);
    double magnification() const;

    // Modal dialogs, answered from a repeating timer so that nested dialogs
    // (an overwrite question inside a save dialog) are reached as well.
    void answerModal();
    void answer(QWidget* dialog);
    void answerFileDialog(QFileDialog* dialog);
    QString openCandidate();

    MainWindow* window;
    unsigned seed;
    QString workDir;
    std::mt19937 rng;
    std::mt19937 dialogRng;
    QTimer modalTimer;
    Stats counts;
    std::deque<QString> recent;
    std::vector<QAction*> menuActions;
    QPoint pointer;
    Qt::MouseButtons held;
    QPointer<Canvas> tracked;
    QSize trackedSize;
    qint64 trackedKey = 0;
    long step = 0;
    int saves = 0;
    QString modalProblem;
    QElapsedTimer modalClock;
};

Monkey::Monkey(MainWindow* window, unsigned seed, const QString& workDir)
    : window(window), seed(seed), workDir(workDir), rng(seed), dialogRng(seed * 7919u + 1)
{
    for (QAction* menu : window->menuBar()->actions()) {
        for (QAction* action : menu->menu()->actions()) {
            // Quit would end the test's event loop; it has no other effect.
            if (!action->isSeparator() && action->text() != "Quit")
                menuActions.push_back(action);
        }
    }
    const QDir dir(workDir);
    tinyPicture(1, 1).save(dir.filePath("one.png"));
    tinyPicture(1, 300).save(dir.filePath("column.png"));
    tinyPicture(300, 1).save(dir.filePath("row.png"));
    tinyPicture(2, 2).save(dir.filePath("two.bmp"));
    tinyPicture(130, 70).save(dir.filePath("mid.png"));
    QFile text(dir.filePath("text.png"));
    if (text.open(QIODevice::WriteOnly))
        text.write("not a picture");
    QObject::connect(&modalTimer, &QTimer::timeout, [this] { answerModal(); });
    modalTimer.start(0);
}

Monkey::~Monkey()
{
    modalTimer.stop();
}

void Monkey::note(const QString& action)
{
    recent.push_back(QString("%1: %2").arg(step).arg(action));
    if (recent.size() > 40)
        recent.pop_front();
}

QString Monkey::failure(const QString& what) const
{
    QStringList lines{QString("seed %1, step %2: %3").arg(seed).arg(step).arg(what),
                      "recent actions:"};
    for (const QString& line : recent)
        lines << "  " + line;
    return lines.join('\n');
}

double Monkey::magnification() const
{
    const Canvas* canvas = window->currentCanvas();
    if (!canvas || canvas->viewRect().width() <= 0)
        return 1.0;
    return canvas->width() / canvas->viewRect().width();
}

Qt::KeyboardModifiers Monkey::randomModifiers()
{
    Qt::KeyboardModifiers mods;
    if (chance(20))
        mods |= Qt::ShiftModifier;
    if (chance(15))
        mods |= Qt::AltModifier;
    if (chance(10))
        mods |= Qt::ControlModifier;
    return mods;
}

Qt::MouseButton Monkey::randomButton()
{
    const int r = pick(10);
    if (r < 6)
        return Qt::LeftButton;
    if (r < 8)
        return Qt::RightButton;
    return r < 9 ? Qt::MiddleButton : Qt::BackButton;
}

QPoint Monkey::randomPoint()
{
    const Canvas* canvas = window->currentCanvas();
    const int w = canvas ? canvas->width() : 100;
    const int h = canvas ? canvas->height() : 100;
    switch (pick(10)) {
    case 0:
        return QPoint(pick(10001) - 5000, pick(10001) - 5000); // far outside
    case 1: {
        const int xs[] = {-1, 0, w - 1, w};
        const int ys[] = {-1, 0, h - 1, h};
        return QPoint(xs[pick(4)], ys[pick(4)]); // the edges
    }
    case 2: // near the last position: a stroke
        return pointer + QPoint(pick(41) - 20, pick(41) - 20);
    default:
        return QPoint(pick(std::max(1, w)), pick(std::max(1, h)));
    }
}

void Monkey::sendMouse(QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons buttons)
{
    Canvas* canvas = window->currentCanvas();
    if (!canvas)
        return;
    ++counts.mouseEvents;
    const QPointF global = canvas->mapToGlobal(QPointF(pointer));
    QMouseEvent event(type, QPointF(pointer), global, button, buttons, randomModifiers());
    QApplication::sendEvent(canvas, &event);
}

void Monkey::sendKey(QEvent::Type type, int key, const QString& text, Qt::KeyboardModifiers mods,
                     bool autoRepeat)
{
    ++counts.keyEvents;
    QKeyEvent event(type, key, mods, text, autoRepeat);
    QApplication::sendEvent(window, &event);
}

void Monkey::menuCommand()
{
    QAction* action = menuActions[size_t(pick(int(menuActions.size())))];
    // Filters are the slow steps; most of the draws are passed on.
    if (window->menuBar()->actions().at(2)->menu()->actions().contains(action) && chance(60))
        return;
    note("menu " + action->text());
    ++counts.commands;
    action->trigger();
}

void Monkey::shortcutCommand()
{
    struct Shortcut
    {
        int key;
        Qt::KeyboardModifiers mods;
        const char* name;
    };
    static const Shortcut shortcuts[] = {
        {Qt::Key_Z, Qt::ControlModifier, "Ctrl+Z"},
        {Qt::Key_R, Qt::ControlModifier, "Ctrl+R"},
        {Qt::Key_A, Qt::ControlModifier, "Ctrl+A"},
        {Qt::Key_D, Qt::ControlModifier, "Ctrl+D"},
        {Qt::Key_I, Qt::ControlModifier | Qt::ShiftModifier, "Ctrl+Shift+I"},
        {Qt::Key_I, Qt::ControlModifier, "Ctrl+I"},
        {Qt::Key_N, Qt::ControlModifier, "Ctrl+N"},
        {Qt::Key_W, Qt::ControlModifier, "Ctrl+W"},
    };
    const Shortcut& s = shortcuts[pick(int(std::size(shortcuts)))];
    note(QString("shortcut %1").arg(s.name));
    ++counts.commands;
    QTest::keyClick(window, Qt::Key(s.key), s.mods);
}

void Monkey::pickTool()
{
    const int index = pick(int(std::strlen(kToolLetters)));
    const char letter = kToolLetters[index];
    if (chance(50)) {
        note(QString("tool key %1").arg(letter));
        QTest::keyClick(window, letter);
    } else {
        QAction* action = window->toolActions()->actions().at(index);
        note("tool action " + action->text());
        action->trigger();
    }
}

void Monkey::mousePress()
{
    pointer = randomPoint();
    const Qt::MouseButton button = randomButton();
    held |= button;
    note(QString("press %1 at %2,%3").arg(int(button)).arg(pointer.x()).arg(pointer.y()));
    sendMouse(QEvent::MouseButtonPress, button, chance(10) ? Qt::MouseButtons() : held);
}

void Monkey::mouseMoves()
{
    const int moves = chance(30) ? 1 + pick(20) : 1;
    note(QString("%1 moves from %2,%3 holding %4")
             .arg(moves)
             .arg(pointer.x())
             .arg(pointer.y())
             .arg(int(held)));
    for (int i = 0; i < moves; ++i) {
        pointer = randomPoint();
        // Now and then claim buttons that were never pressed.
        const Qt::MouseButtons buttons = chance(10) ? Qt::MouseButtons(pick(8)) : held;
        sendMouse(QEvent::MouseMove, Qt::NoButton, buttons);
    }
}

void Monkey::mouseRelease()
{
    // Usually a held button, sometimes one that was never pressed.
    const Qt::MouseButton button = (held && !chance(15))
                                       ? (held & Qt::LeftButton ? Qt::LeftButton : randomButton())
                                       : randomButton();
    held &= ~button;
    note(QString("release %1 at %2,%3").arg(int(button)).arg(pointer.x()).arg(pointer.y()));
    sendMouse(QEvent::MouseButtonRelease, button, held);
}

// Neither reaches a tool by design, but a double click arrives as a second
// press without a release between, and the wheel must change nothing.
void Monkey::doubleClickOrWheel()
{
    Canvas* canvas = window->currentCanvas();
    if (!canvas)
        return;
    pointer = randomPoint();
    if (chance(50)) {
        const Qt::MouseButton button = randomButton();
        held |= button;
        note(
            QString("double click %1 at %2,%3").arg(int(button)).arg(pointer.x()).arg(pointer.y()));
        sendMouse(QEvent::MouseButtonDblClick, button, held);
        return;
    }
    const QPoint delta(0, chance(50) ? 120 : -120);
    note(QString("wheel %1 at %2,%3").arg(delta.y()).arg(pointer.x()).arg(pointer.y()));
    QWheelEvent wheel(QPointF(pointer), canvas->mapToGlobal(QPointF(pointer)), QPoint(), delta,
                      held, randomModifiers(), Qt::NoScrollPhase, false);
    QApplication::sendEvent(canvas, &wheel);
}

void Monkey::key()
{
    struct Key
    {
        int code;
        const char* text;
    };
    static const Key keys[] = {
        {Qt::Key_Space, " "},
        {Qt::Key_Up, ""},
        {Qt::Key_Down, ""},
        {Qt::Key_Left, ""},
        {Qt::Key_Right, ""},
        {Qt::Key_Plus, "+"},
        {Qt::Key_Equal, "="},
        {Qt::Key_Minus, "-"},
        {Qt::Key_0, "0"},
        {Qt::Key_BracketLeft, "["},
        {Qt::Key_BracketRight, "]"},
        {Qt::Key_1, "1"},
        {Qt::Key_5, "5"},
        {Qt::Key_9, "9"},
        {Qt::Key_F, "f"},
        {Qt::Key_F, "F"},
        {Qt::Key_B, "b"},
        {Qt::Key_A, "a"},
        {Qt::Key_Escape, "\x1b"},
        {Qt::Key_Return, "\r"},
    };
    if (chance(1)) {
        // Now and then a burst that zooms beyond a double's range (a view of
        // width 0, infinity or NaN) until Control+0 or another document.
        const int code = chance(50) ? Qt::Key_Equal : Qt::Key_Minus;
        const int presses = 200 + pick(1800);
        note(QString("%1 presses of Control+%2")
                 .arg(presses)
                 .arg(code == Qt::Key_Equal ? "=" : "-"));
        for (int i = 0; i < presses; ++i)
            sendKey(QEvent::KeyPress, code, QString(), Qt::ControlModifier, false);
        return;
    }
    const Key& k = keys[pick(int(std::size(keys)))];
    Qt::KeyboardModifiers mods = randomModifiers();
    const bool zoomKey = k.code == Qt::Key_Plus || k.code == Qt::Key_Equal ||
                         k.code == Qt::Key_Minus || k.code == Qt::Key_0;
    if (zoomKey && chance(70))
        mods |= Qt::ControlModifier;
    int code = k.code;
    if ((mods & Qt::ControlModifier) && code != Qt::Key_0) {
        // Zooming stays within the bounds that keep a step cheap.
        if ((code == Qt::Key_Plus || code == Qt::Key_Equal) && magnification() > kMaxMagnification)
            code = Qt::Key_Minus;
        else if (code == Qt::Key_Minus && magnification() < kMinMagnification)
            code = Qt::Key_Plus;
    }
    const bool autoRepeat = chance(15);
    const int kind = pick(10);
    const QEvent::Type type = kind < 7 ? QEvent::KeyPress : QEvent::KeyRelease;
    note(QString("key %1 '%2' mods %3 %4%5")
             .arg(code, 0, 16)
             .arg(k.text)
             .arg(int(mods), 0, 16)
             .arg(type == QEvent::KeyPress ? "press" : "release")
             .arg(autoRepeat ? " auto-repeat" : ""));
    sendKey(type, code, k.text, mods, autoRepeat);
}

void Monkey::resize()
{
    if (chance(20) && window->currentCanvas()) {
        // The canvas alone, for a moment, until the layout puts it back.
        const QSize size(pick(3), pick(3));
        note(QString("canvas resized to %1x%2").arg(size.width()).arg(size.height()));
        window->currentCanvas()->resize(size);
        return;
    }
    const QSize size(1 + pick(1000), 1 + pick(800));
    note(QString("window resized to %1x%2").arg(size.width()).arg(size.height()));
    window->resize(size);
}

void Monkey::settle()
{
    note("events processed");
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Monkey::repaint()
{
    if (Canvas* canvas = window->currentCanvas()) {
        note("repaint");
        canvas->repaint();
    }
}

void Monkey::wormTick()
{
    if (Canvas* canvas = window->currentCanvas()) {
        note("outline tick");
        canvas->wormTimeout();
    }
}

void Monkey::swatchClick()
{
    const Qt::MouseButton button = randomButton();
    note(QString("swatch click %1").arg(int(button)));
    QTest::mouseClick(window->colorSwatch(), button);
}

// ---------------------------------------------------------------------------
// Dialogs

void Monkey::answerModal()
{
    QWidget* dialog = QApplication::activeModalWidget();
    if (!dialog)
        return;
    if (auto* progress = qobject_cast<QProgressDialog*>(dialog)) {
        if (std::uniform_int_distribution<int>(0, 19)(dialogRng) == 0)
            progress->cancel();
        return;
    }
    if (dialog->property("monkeyAnswered").toBool()) {
        if (modalClock.elapsed() > kStuckDialogMs) {
            modalProblem = QString("dialog '%1' (%2) stayed open")
                               .arg(dialog->windowTitle(), dialog->metaObject()->className());
            dialog->close();
        }
        return;
    }
    dialog->setProperty("monkeyAnswered", true);
    modalClock.start();
    ++counts.dialogs;
    answer(dialog);
}

void Monkey::answer(QWidget* dialog)
{
    auto draw = [this](int n) { return std::uniform_int_distribution<int>(0, n - 1)(dialogRng); };
    const bool accept = draw(100) < 70;
    QPointer<QDialog> box = qobject_cast<QDialog*>(dialog);
    note(QString("dialog '%1' %2").arg(dialog->windowTitle(), accept ? "accepted" : "rejected"));
    if (!box) {
        dialog->close();
        return;
    }
    if (auto* files = qobject_cast<QFileDialog*>(dialog)) {
        if (accept) {
            answerFileDialog(files);
            return;
        }
    } else if (auto* colors = qobject_cast<QColorDialog*>(dialog)) {
        colors->setCurrentColor(QColor::fromRgb(draw(256), draw(256), draw(256), draw(256)));
    } else if (auto* fonts = qobject_cast<QFontDialog*>(dialog)) {
        QFont font = fonts->currentFont();
        font.setPointSize(1 + draw(300));
        fonts->setCurrentFont(font);
    } else if (auto* slider = dynamic_cast<SliderDialog*>(dialog)) {
        QSlider* s = slider->valueSlider();
        const int choice = draw(4);
        s->setValue(choice == 0   ? s->minimum()
                    : choice == 1 ? s->maximum()
                                  : s->minimum() + draw(s->maximum() - s->minimum() + 1));
    } else if (auto* question = qobject_cast<QMessageBox*>(dialog)) {
        QAbstractButton* yes = question->button(QMessageBox::Yes);
        QAbstractButton* no = question->button(QMessageBox::No);
        QAbstractButton* choice = accept ? yes : no;
        if (choice) {
            QTimer::singleShot(0, choice, [choice] { choice->click(); });
            return;
        }
    }
    // Answered from the event loop, so that whatever the answer opens next
    // meets this timer free again.
    QTimer::singleShot(0, box, [box, accept] {
        if (accept)
            box->accept();
        else
            box->reject();
    });
}

QString Monkey::openCandidate()
{
    const QDir work(workDir);
    QStringList names = work.entryList(QDir::Files, QDir::Name);
    const QDir shared(ZARN_TESTDATA_DIR "/png");
    const QStringList pngs = shared.entryList({"*.png"}, QDir::Files, QDir::Name);
    auto draw = [this](int n) { return std::uniform_int_distribution<int>(0, n - 1)(dialogRng); };
    if (!pngs.isEmpty() && draw(3) == 0)
        return shared.filePath(pngs.at(draw(int(pngs.size()))));
    return names.isEmpty() ? work.filePath("missing.png")
                           : work.filePath(names.at(draw(int(names.size()))));
}

void Monkey::answerFileDialog(QFileDialog* dialog)
{
    auto draw = [this](int n) { return std::uniform_int_distribution<int>(0, n - 1)(dialogRng); };
    QString path;
    if (dialog->acceptMode() == QFileDialog::AcceptSave) {
        static const char* const suffixes[] = {"png", "bmp", "jpg", "ppm", "zzz", ""};
        const QString suffix = suffixes[draw(int(std::size(suffixes)))];
        // Now and then over an earlier save, which asks before replacing.
        const int number = saves > 0 && draw(4) == 0 ? draw(saves) : saves++;
        path = QDir(workDir).filePath(QString("saved-%1").arg(number % 50)) +
               (suffix.isEmpty() ? QString() : "." + suffix);
    } else {
        path = openCandidate();
    }
    note("file dialog answers " + path);
    QPointer<QFileDialog> guard = dialog;
    QTimer::singleShot(0, dialog, [guard, path] {
        if (auto* edit = guard->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")))
            edit->setText(path);
        static_cast<QDialog*>(guard.data())->accept();
        if (guard && guard->isVisible())
            guard->reject(); // the dialog did not take the name (a folder, say)
    });
}

// ---------------------------------------------------------------------------
// Invariants

QString Monkey::checkInvariants(bool deep)
{
    if (!modalProblem.isEmpty())
        return modalProblem;
    Canvas* canvas = window->currentCanvas();
    if (deep) {
        int live = 0;
        for (QWidget* widget : QApplication::allWidgets())
            live += qobject_cast<Canvas*>(widget) ? 1 : 0;
        if (live > (canvas ? 1 : 0))
            return QString("%1 canvases alive after deferred deletion").arg(live);
    }
    if (!canvas)
        return window->toolActions()->isEnabled() ? "tool actions enabled without a document"
                                                  : QString();
    const QImage& image = canvas->image();
    if (canvas != tracked) {
        tracked = canvas;
        trackedSize = image.size();
        trackedKey = image.cacheKey();
        ++counts.canvases;
    }
    if (image.cacheKey() != trackedKey) {
        trackedKey = image.cacheKey();
        ++counts.pictureChanges;
    }
    counts.toolSteps += canvas->hasTool() ? 1 : 0;
    if (image.format() != QImage::Format_ARGB32_Premultiplied)
        return QString("document format became %1").arg(int(image.format()));
    if (image.size() != trackedSize)
        return QString("document size changed from %1x%2 to %3x%4")
            .arg(trackedSize.width())
            .arg(trackedSize.height())
            .arg(image.width())
            .arg(image.height());
    // mask() is the writing accessor and drops the canvas's mask caches, so
    // it is looked at only now and then.
    if (deep && canvas->mask().size() != trackedSize)
        return "mask size differs from the image size";
    if (canvas->undoCount() > kHistoryLimit)
        return QString("undo list holds %1 images").arg(canvas->undoCount());
    if (canvas->undoCount() + canvas->redoCount() > kHistoryLimit)
        return QString("undo and redo lists hold %1 images")
            .arg(canvas->undoCount() + canvas->redoCount());
    if (canvas->unpairedCursorPops() != 0)
        return QString("%1 cursor pops on an empty stack").arg(canvas->unpairedCursorPops());
    // The active tool shows at most the hand and the closed hand.
    if (canvas->cursorDepth() > 2)
        return QString("cursor stack grew to %1").arg(canvas->cursorDepth());
    if (Tool* top = canvas->tool(); top && top->activeCanvas() != canvas)
        return "the active tool does not know the live canvas";
    // (A tool-bar tool that was active on a closed canvas keeps that
    // canvas's address until it is picked again, by design; a new canvas may
    // be built at the same address, so only the canvas's own hand tool is
    // checked for being active below the top.)
    if (canvas->handTool() != canvas->tool() && canvas->handTool()->activeCanvas())
        return "the hand tool is active without being on top";
    return {};
}

QString Monkey::run(long steps)
{
    static const Weighted table[] = {
        {10, [](Monkey& m) { m.menuCommand(); }},
        {3, [](Monkey& m) { m.shortcutCommand(); }},
        {8, [](Monkey& m) { m.pickTool(); }},
        {9, [](Monkey& m) { m.mousePress(); }},
        {22, [](Monkey& m) { m.mouseMoves(); }},
        {8, [](Monkey& m) { m.mouseRelease(); }},
        {2, [](Monkey& m) { m.doubleClickOrWheel(); }},
        {20, [](Monkey& m) { m.key(); }},
        {2, [](Monkey& m) { m.resize(); }},
        {8, [](Monkey& m) { m.settle(); }},
        {3, [](Monkey& m) { m.repaint(); }},
        {2, [](Monkey& m) { m.wormTick(); }},
        {1, [](Monkey& m) { m.swatchClick(); }},
    };
    int total = 0;
    for (const Weighted& w : table)
        total += w.weight;
    for (step = 0; step < steps; ++step) {
        int r = pick(total);
        for (const Weighted& w : table) {
            if ((r -= w.weight) < 0) {
                w.run(*this);
                break;
            }
        }
        ++counts.steps;
        const bool deep = step % 10 == 0;
        if (deep)
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (const QString problem = checkInvariants(deep); !problem.isEmpty())
            return failure(problem);
    }
    return {};
}

// ---------------------------------------------------------------------------

class TestMonkey : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void randomSessions();

private:
    QTemporaryDir dir;
};

void TestMonkey::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QVERIFY(dir.isValid());
}

void TestMonkey::randomSessions()
{
    std::vector<unsigned> seeds{1, 2, 3};
    long steps = 5000;
    if (const QByteArray s = qgetenv("ZARN_MONKEY_SEED"); !s.isEmpty())
        seeds = {s.toUInt()};
    if (const QByteArray n = qgetenv("ZARN_MONKEY_STEPS"); !n.isEmpty())
        steps = n.toLong();

    for (unsigned seed : seeds) {
        // Like the program's own window, it lives to the end of the process,
        // reachable (the list itself is never destroyed), so that
        // LeakSanitizer reports only what was really lost.
        static auto* windows = new std::vector<MainWindow*>;
        auto* window = new MainWindow;
        windows->push_back(window);
        window->resize(640, 480);
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));

        const QString work = dir.filePath(QString("seed-%1").arg(seed));
        QVERIFY(QDir().mkpath(work));
        Monkey monkey(window, seed, work);
        QElapsedTimer clock;
        clock.start();
        const QString problem = monkey.run(steps);
        if (!problem.isEmpty())
            qWarning("%s", qPrintable(problem)); // in full: QVERIFY2 cuts long messages
        QVERIFY2(problem.isEmpty(), qPrintable(problem.section('\n', 0, 0)));
        const Stats& s = monkey.stats();
        qInfo("monkey: seed %u, %ld steps in %lld ms: %ld canvases, %ld commands, %ld dialogs, "
              "%ld mouse and %ld key events, %ld steps with a tool, %ld picture changes; "
              "0 invariant failures",
              seed, s.steps, clock.elapsed(), s.canvases, s.commands, s.dialogs, s.mouseEvents,
              s.keyEvents, s.toolSteps, s.pictureChanges);

        // Closing gives every picture back once deferred deletion has run.
        QMetaObject::invokeMethod(window, "fileClose");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!window->currentCanvas());
        for (QWidget* widget : QApplication::allWidgets())
            QVERIFY(!qobject_cast<Canvas*>(widget));
        window->hide();
    }
}

QTEST_MAIN(TestMonkey)
#include "tst_monkey.moc"
