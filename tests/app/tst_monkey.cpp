// SPDX-License-Identifier: MIT
// A seeded random "monkey" against a real main window with real canvases, its
// modal dialogs answered at random from a timer, the document's invariants
// checked after every step. ZARN_MONKEY_SEED and ZARN_MONKEY_STEPS override
// the fixed seeds and the step count (scripts/soak.sh monkey runs 100,000).
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
#include <QKeySequence>
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
#include <functional>
#include <random>
#include <vector>

#include "app/colorwidget.h"
#include "app/mainwindow.h"
#include "app/sliderdialog.h"
#include "canvas/canvas.h"
#include "tools/tool.h"

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
    long steps = 0, canvases = 0, dialogs = 0, commands = 0;
    long mouseEvents = 0, keyEvents = 0, pictureChanges = 0, toolSteps = 0;
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
    Monkey(MainWindow* window, unsigned seed, const QString& workDir)
        : window(window), seed(seed), workDir(workDir), rng(seed), dialogRng(seed * 7919u + 1)
    {
        for (QAction* menu : window->menuBar()->actions())
            for (QAction* action : menu->menu()->actions())
                if (!action->isSeparator() && action->text() != "Quit") // would end the loop
                    menuActions.push_back(action);
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
        defineSteps();
    }

    // Returns an empty string or what went wrong, with the seed, the step and
    // the recent actions to reproduce it.
    QString run(long steps);
    const Stats& stats() const { return counts; }

private:
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); }
    bool chance(int percent) { return pick(100) < percent; }
    int draw(int n) { return std::uniform_int_distribution<int>(0, n - 1)(dialogRng); }

    void note(const QString& action)
    {
        recent.push_back(QString("%1: %2").arg(step).arg(action));
        if (recent.size() > 40)
            recent.pop_front();
    }

    QString failure(const QString& what) const
    {
        QStringList lines{QString("seed %1, step %2: %3").arg(seed).arg(step).arg(what),
                          "recent actions:"};
        for (const QString& line : recent)
            lines << "  " + line;
        return lines.join('\n');
    }

    Canvas* canvasFor(const QString& action)
    {
        Canvas* canvas = window->currentCanvas();
        if (canvas)
            note(action);
        return canvas;
    }

    double magnification() const
    {
        const Canvas* c = window->currentCanvas();
        return c && c->viewRect().width() > 0 ? c->width() / c->viewRect().width() : 1.0;
    }

    Qt::KeyboardModifiers randomModifiers()
    {
        Qt::KeyboardModifiers mods;
        mods.setFlag(Qt::ShiftModifier, chance(20));
        mods.setFlag(Qt::AltModifier, chance(15));
        mods.setFlag(Qt::ControlModifier, chance(10));
        return mods;
    }

    Qt::MouseButton randomButton()
    {
        static const Qt::MouseButton buttons[] = {
            Qt::LeftButton, Qt::LeftButton,  Qt::LeftButton,  Qt::LeftButton,   Qt::LeftButton,
            Qt::LeftButton, Qt::RightButton, Qt::RightButton, Qt::MiddleButton, Qt::BackButton};
        return buttons[pick(10)];
    }

    QPoint randomPoint()
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

    void sendMouse(QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons buttons)
    {
        Canvas* canvas = window->currentCanvas();
        if (!canvas)
            return;
        ++counts.mouseEvents;
        const QPointF global = canvas->mapToGlobal(QPointF(pointer));
        QMouseEvent event(type, QPointF(pointer), global, button, buttons, randomModifiers());
        QApplication::sendEvent(canvas, &event);
    }

    // A press, a double click (a second press by then) or a release.
    void sendButton(QEvent::Type type, const char* what, Qt::MouseButton button)
    {
        if (type == QEvent::MouseButtonRelease)
            held &= ~button;
        else
            held |= button;
        noteButton(what, button);
        const bool claimNone = type == QEvent::MouseButtonPress && chance(10);
        sendMouse(type, button, claimNone ? Qt::MouseButtons() : held);
    }

    void noteButton(const QString& what, int button)
    {
        note(QString("%1 %2 at %3,%4").arg(what).arg(button).arg(pointer.x()).arg(pointer.y()));
    }

    void sendKey(QEvent::Type type, int key, const QString& text, Qt::KeyboardModifiers mods,
                 bool autoRepeat)
    {
        ++counts.keyEvents;
        QKeyEvent event(type, key, mods, text, autoRepeat);
        QApplication::sendEvent(window, &event);
    }

    // Modal dialogs, answered from a repeating timer so that nested dialogs
    // (an overwrite question inside a save dialog) are reached as well.
    void answerModal()
    {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog)
            return;
        if (auto* progress = qobject_cast<QProgressDialog*>(dialog)) {
            if (draw(20) == 0)
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

    void defineSteps();
    void addStep(int weight, std::function<void()> run)
    {
        table.emplace_back(weight, std::move(run));
        totalWeight += weight;
    }

    void answer(QWidget* dialog);
    void answerFileDialog(QFileDialog* dialog);
    QString checkInvariants(bool deep);

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
    std::vector<std::pair<int, std::function<void()>>> table;
    int totalWeight = 0;
};

void Monkey::answer(QWidget* dialog)
{
    const bool accept = draw(100) < 70;
    QPointer<QDialog> box = qobject_cast<QDialog*>(dialog);
    note(QString("dialog '%1' %2").arg(dialog->windowTitle(), accept ? "accepted" : "rejected"));
    if (!box) {
        dialog->close();
        return;
    }
    if (auto* files = qobject_cast<QFileDialog*>(dialog); files && accept) {
        answerFileDialog(files);
        return;
    }
    if (auto* colors = qobject_cast<QColorDialog*>(dialog)) {
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
        if (QAbstractButton* choice =
                question->button(accept ? QMessageBox::Yes : QMessageBox::No)) {
            QTimer::singleShot(0, choice, [choice] { choice->click(); });
            return;
        }
    }
    // Answered from the event loop, so that whatever the answer opens next
    // meets this timer free again.
    QTimer::singleShot(0, box, [box, accept] { accept ? box->accept() : box->reject(); });
}

void Monkey::answerFileDialog(QFileDialog* dialog)
{
    QString path;
    if (dialog->acceptMode() == QFileDialog::AcceptSave) {
        static const char* const suffixes[] = {"png", "bmp", "jpg", "ppm", "zzz", ""};
        const QString suffix = suffixes[draw(int(std::size(suffixes)))];
        // Now and then over an earlier save, which asks before replacing.
        const int number = saves > 0 && draw(4) == 0 ? draw(saves) : saves++;
        path = QDir(workDir).filePath(QString("saved-%1").arg(number % 50)) +
               (suffix.isEmpty() ? QString() : "." + suffix);
    } else {
        const QDir work(workDir), shared(ZARN_TESTDATA_DIR "/png");
        const QStringList names = work.entryList(QDir::Files, QDir::Name);
        const QStringList pngs = shared.entryList({"*.png"}, QDir::Files, QDir::Name);
        if (!pngs.isEmpty() && draw(3) == 0)
            path = shared.filePath(pngs.at(draw(int(pngs.size()))));
        else
            path = names.isEmpty() ? work.filePath("missing.png")
                                   : work.filePath(names.at(draw(int(names.size()))));
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
    const int undos = canvas->undoCount(), redos = canvas->redoCount();
    const auto sizeText = [](QSize size) {
        return QString("%1x%2").arg(size.width()).arg(size.height());
    };
    // mask() is the writing accessor and drops the canvas's mask caches, so
    // it is looked at only now and then. The active tool shows at most the
    // hand and the closed hand. A tool-bar tool keeps a closed canvas's
    // address until it is picked again, and a new canvas may be built at that
    // address: only the canvas's own hand tool can be checked for being
    // active below the top.
    const std::pair<bool, QString> checks[] = {
        {image.format() != QImage::Format_ARGB32_Premultiplied,
         QString("document format became %1").arg(int(image.format()))},
        {image.size() != trackedSize,
         "document size changed from " + sizeText(trackedSize) + " to " + sizeText(image.size())},
        {deep && canvas->mask().size() != trackedSize, "mask size differs from the image size"},
        {undos > kHistoryLimit || undos + redos > kHistoryLimit,
         QString("undo and redo lists hold %1 and %2 images").arg(undos).arg(redos)},
        {canvas->unpairedCursorPops() != 0,
         QString("%1 cursor pops on an empty stack").arg(canvas->unpairedCursorPops())},
        {canvas->cursorDepth() > 2, QString("cursor stack grew to %1").arg(canvas->cursorDepth())},
        {canvas->tool() && canvas->tool()->activeCanvas() != canvas,
         "the active tool does not know the live canvas"},
        {canvas->handTool() != canvas->tool() && canvas->handTool()->activeCanvas(),
         "the hand tool is active without being on top"}};
    for (const auto& [broken, what] : checks)
        if (broken)
            return what;
    return {};
}

void Monkey::defineSteps()
{
    addStep(10, [this] {
        QAction* action = menuActions[size_t(pick(int(menuActions.size())))];
        // Filters are the slow steps; most of the draws are passed on.
        if (window->menuBar()->actions().at(2)->menu()->actions().contains(action) && chance(60))
            return;
        note("menu " + action->text());
        ++counts.commands;
        action->trigger();
    });
    addStep(3, [this] {
        // clang-format off
        static const QKeyCombination shortcuts[] = {
            Qt::CTRL | Qt::Key_Z, Qt::CTRL | Qt::Key_R, Qt::CTRL | Qt::Key_A, Qt::CTRL | Qt::Key_D,
            Qt::CTRL | Qt::SHIFT | Qt::Key_I, Qt::CTRL | Qt::Key_I, Qt::CTRL | Qt::Key_N,
            Qt::CTRL | Qt::Key_W};
        // clang-format on
        const QKeyCombination s = shortcuts[pick(int(std::size(shortcuts)))];
        note("shortcut " + QKeySequence(s).toString());
        ++counts.commands;
        QTest::keyClick(window, s.key(), s.keyboardModifiers());
    });
    addStep(8, [this] {
        const int index = pick(int(std::strlen(kToolLetters)));
        if (chance(50)) {
            note(QString("tool key %1").arg(kToolLetters[index]));
            QTest::keyClick(window, kToolLetters[index]);
        } else {
            QAction* action = window->toolActions()->actions().at(index);
            note("tool action " + action->text());
            action->trigger();
        }
    });
    addStep(9, [this] {
        pointer = randomPoint();
        sendButton(QEvent::MouseButtonPress, "press", randomButton());
    });
    addStep(22, [this] {
        const int moves = chance(30) ? 1 + pick(20) : 1;
        noteButton(QString("%1 moves holding").arg(moves), held);
        for (int i = 0; i < moves; ++i) {
            pointer = randomPoint();
            // Now and then claim buttons that were never pressed.
            const Qt::MouseButtons buttons = chance(10) ? Qt::MouseButtons(pick(8)) : held;
            sendMouse(QEvent::MouseMove, Qt::NoButton, buttons);
        }
    });
    addStep(8, [this] {
        // Usually a held button, sometimes one that was never pressed.
        const Qt::MouseButton button =
            (held && !chance(15)) ? (held & Qt::LeftButton ? Qt::LeftButton : randomButton())
                                  : randomButton();
        sendButton(QEvent::MouseButtonRelease, "release", button);
    });
    addStep(2, [this] {
        // Neither reaches a tool by design, but a double click arrives as a second
        // press without a release between, and the wheel must change nothing.
        Canvas* canvas = window->currentCanvas();
        if (!canvas)
            return;
        pointer = randomPoint();
        if (chance(50))
            return sendButton(QEvent::MouseButtonDblClick, "double click", randomButton());
        const QPoint delta(0, chance(50) ? 120 : -120);
        noteButton("wheel", delta.y());
        QWheelEvent wheel(QPointF(pointer), canvas->mapToGlobal(QPointF(pointer)), QPoint(), delta,
                          held, randomModifiers(), Qt::NoScrollPhase, false);
        QApplication::sendEvent(canvas, &wheel);
    });
    addStep(20, [this] {
        // clang-format off
        // Every key the canvas and the tools read, and a few they do not.
        static const std::pair<int, const char*> keys[] = {
            {Qt::Key_Space, " "}, {Qt::Key_Up, ""}, {Qt::Key_Down, ""}, {Qt::Key_Left, ""},
            {Qt::Key_Right, ""}, {Qt::Key_Plus, "+"}, {Qt::Key_Equal, "="}, {Qt::Key_Minus, "-"},
            {Qt::Key_0, "0"}, {Qt::Key_BracketLeft, "["}, {Qt::Key_BracketRight, "]"},
            {Qt::Key_1, "1"}, {Qt::Key_5, "5"}, {Qt::Key_9, "9"}, {Qt::Key_F, "f"},
            {Qt::Key_F, "F"}, {Qt::Key_B, "b"}, {Qt::Key_A, "a"}, {Qt::Key_Escape, "\x1b"},
            {Qt::Key_Return, "\r"}};
        // clang-format on
        if (chance(1)) {
            // Now and then a burst that zooms beyond a double's range (a view of
            // width 0, infinity or NaN) until Control+0 or another document.
            const bool in = chance(50);
            const int presses = 200 + pick(1800);
            note(QString("%1 presses of Control+%2").arg(presses).arg(in ? "=" : "-"));
            for (int i = 0; i < presses; ++i)
                sendKey(QEvent::KeyPress, in ? Qt::Key_Equal : Qt::Key_Minus, QString(),
                        Qt::ControlModifier, false);
            return;
        }
        const auto [listed, text] = keys[pick(int(std::size(keys)))];
        Qt::KeyboardModifiers mods = randomModifiers();
        const bool zoomIn = listed == Qt::Key_Plus || listed == Qt::Key_Equal;
        if ((zoomIn || listed == Qt::Key_Minus || listed == Qt::Key_0) && chance(70))
            mods |= Qt::ControlModifier;
        int code = listed;
        // Zooming stays within the bounds that keep a step cheap.
        if ((mods & Qt::ControlModifier) && zoomIn && magnification() > kMaxMagnification)
            code = Qt::Key_Minus;
        else if ((mods & Qt::ControlModifier) && code == Qt::Key_Minus &&
                 magnification() < kMinMagnification)
            code = Qt::Key_Plus;
        const bool autoRepeat = chance(15);
        const QEvent::Type type = pick(10) < 7 ? QEvent::KeyPress : QEvent::KeyRelease;
        note(QString("key %1 '%2' mods %3 %4%5")
                 .arg(QString::number(code, 16), text, QString::number(mods, 16),
                      type == QEvent::KeyPress ? "press" : "release",
                      autoRepeat ? " repeated" : ""));
        sendKey(type, code, text, mods, autoRepeat);
    });
    addStep(2, [this] {
        // The canvas alone, for a moment, until the layout puts it back.
        const bool canvasOnly = chance(20) && window->currentCanvas();
        const QSize size =
            canvasOnly ? QSize(pick(3), pick(3)) : QSize(1 + pick(1000), 1 + pick(800));
        note(QString(canvasOnly ? "canvas resized to %1x%2" : "window resized to %1x%2")
                 .arg(size.width())
                 .arg(size.height()));
        canvasOnly ? window->currentCanvas()->resize(size) : window->resize(size);
    });
    addStep(8, [this] {
        note("events processed");
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    });
    addStep(3, [this] {
        if (Canvas* canvas = canvasFor("repaint"))
            canvas->repaint();
    });
    addStep(2, [this] {
        if (Canvas* canvas = canvasFor("outline tick"))
            canvas->wormTimeout();
    });
    addStep(1, [this] {
        const Qt::MouseButton button = randomButton();
        note(QString("swatch click %1").arg(int(button)));
        QTest::mouseClick(window->colorSwatch(), button);
    });
}

QString Monkey::run(long steps)
{
    for (step = 0; step < steps; ++step) {
        int r = pick(totalWeight);
        for (const auto& [weight, action] : table)
            if ((r -= weight) < 0) {
                action();
                break;
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

class TestMonkey : public QObject
{
    Q_OBJECT

private slots:
    void randomSessions();
};

void TestMonkey::randomSessions()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    std::vector<unsigned> seeds{1, 2, 3};
    long steps = 5000;
    if (const QByteArray s = qgetenv("ZARN_MONKEY_SEED"); !s.isEmpty())
        seeds = {s.toUInt()};
    if (const QByteArray n = qgetenv("ZARN_MONKEY_STEPS"); !n.isEmpty())
        steps = n.toLong();

    for (unsigned seed : seeds) {
        // Like the program's own window, it lives to the end of the process,
        // reachable, so that LeakSanitizer reports only what was really lost.
        static auto* windows = new std::vector<MainWindow*>;
        auto* window = windows->emplace_back(new MainWindow);
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
