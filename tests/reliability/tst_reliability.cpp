// SPDX-License-Identifier: MIT
// Nothing may crash Zarn, hang it or lose the picture. ZARN_SESSION_STEPS
// lengthens the random session for soak runs.
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/zarntest.h"

namespace {

QByteArray be32(quint32 value)
{
    value = qToBigEndian(value);
    return QByteArray(reinterpret_cast<const char*>(&value), 4);
}

QByteArray pngChunk(const QByteArray& type, const QByteArray& data)
{
    quint32 crc = 0xffffffffu;
    for (char c : type + data)
        for (int bit = 0, byte = quint8(c); bit < 8; ++bit, byte >>= 1)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - ((crc ^ quint32(byte)) & 1u)));
    return be32(quint32(data.size())) + type + data + be32(~crc);
}

// An RGBA PNG whose header claims the size; its pixels are a few black rows.
QByteArray pngClaiming(quint32 width, quint32 height, const QByteArray& beforeData = {})
{
    return QByteArray("\x89PNG\r\n\x1a\n", 8) +
           pngChunk("IHDR", be32(width) + be32(height) + QByteArray("\x08\x06\0\0\0", 5)) +
           beforeData + pngChunk("IDAT", qCompress(QByteArray(64, '\0')).mid(4)) +
           pngChunk("IEND", {});
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

long statusKiB(const char* field) // from /proc/self/status
{
    const QByteArray status = readFile("/proc/self/status");
    return status.mid(status.indexOf(field) + 7).trimmed().split(' ')[0].toLong();
}

// What a healthy document looks like whatever happened to it.
QString brokenInvariant(MainWindow& window, QSize size = QSize())
{
    Canvas* c = window.currentCanvas();
    if (!c)
        return window.toolActions()->isEnabled() ? "tools enabled without a document" : "";
    return c->image().format() != QImage::Format_ARGB32_Premultiplied ? "format changed"
           : size.isValid() && c->image().size() != size              ? "size changed"
           : c->mask().size() != c->image().size()       ? "mask and picture sizes differ"
           : c->undoCount() + c->redoCount() > 20        ? "history beyond 20"
           : c->unpairedCursorPops() != 0                ? "cursor popped more than pushed"
           : c->tool() && c->tool()->activeCanvas() != c ? "tool on another canvas"
                                                         : "";
}

} // namespace

class TestReliability : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    QString file(const QString& name, const QByteArray& bytes) const
    {
        QFile file(dir.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()
                   ? file.fileName()
                   : "";
    }

private slots:
    // First: a forked child must not inherit threads that later tests start.
    void outOfMemory_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("room"); // pictures of address space; negative: a history budget
        QTest::addColumn<bool>("filtering");
        QTest::newRow("strokes, room for 3 pictures") << QSize(2000, 1500) << 3 << false;
        QTest::newRow("every filter, room for 3") << QSize(2000, 1500) << 3 << true;
        QTest::newRow("strokes, no room") << QSize(6000, 4000) << 0 << false;
        QTest::newRow("every filter, no room") << QSize(6000, 4000) << 0 << true;
        QTest::newRow("strokes, history budget 4") << QSize(200, 100) << -4 << false;
    }
    // In a child under a lowered address-space limit, every step is done or
    // refused whole, and undo walks back through pictures the steps left.
    void outOfMemory()
    {
#if defined(__SANITIZE_ADDRESS__)
        QSKIP("AddressSanitizer reserves address space of its own");
#endif
        QFETCH(QSize, size);
        QFETCH(int, room);
        QFETCH(bool, filtering);
        if (const pid_t child = fork()) {
            int status = 0;
            QVERIFY2(waitpid(child, &status, 0) == child && status == 0, "the child failed");
            return;
        }
        auto check = [](bool ok, const QString& why) {
            ok ? void() : _exit(std::fputs(qPrintable(why), stderr) || 1);
        };
        auto sum = [](const Canvas& c) {
            return qHashBits(c.image().constBits(), size_t(c.image().sizeInBytes()));
        };
        QWidget window;
        Filter* filters[] = {new InvertFilter(&window), new ZarnelateFilter(&window),
                             new ZarnifyFilter(&window), new BumpFilter(&window),
                             new ZarnonimateFilter(&window)};
        Canvas warmUp(positions(64, 64)), canvas(positions(size.width(), size.height()));
        warmUp.init(), canvas.init();
        for (Filter* filter : filters) // fonts and dialogs come before the limit
            filter->run(&warmUp, true);
        const qint64 bytes = room * std::as_const(canvas).image().sizeInBytes();
        // Beyond the room, 64 MiB for what is no picture: dialogs, brushes, row tables.
        const rlim_t limit = rlim_t(statusKiB("VmSize") * 1024LL + (64 << 20) + bytes);
        bytes < 0 ? set_history_budget(-bytes)
                  : void(setrlimit(RLIMIT_AS, new rlimit{limit, limit}));
        std::vector<size_t> states{sum(canvas)};
        for (int i = 0; i < 14; ++i) {
            i % 2 ? canvas.selectAll() : canvas.clearMask();
            if (filtering)
                filters[i % 5]->run(&canvas, true);
            else if (canvas.undoSnapshot(); canvas.canDraw())
                QPainter(&canvas.image())
                    .fillRect(i * 97 % size.width(), 0, 99, 99, QColor(i, 0, 0));
            states.push_back(sum(canvas));
            const bool refused = !canvas.canDraw() && states.back() == states.front();
            check(std::as_const(canvas).image().size() == size && refused == (room == 0),
                  QString("step %1").arg(i));
        }
        const int kept = canvas.undoCount();
        for (auto expected = states.rbegin() + 1; canvas.undoCount() > 0;) {
            canvas.undo(); // a picture some step left behind, in order
            expected = std::find(expected, states.rend(), sum(canvas));
            check(expected != states.rend(), "undo gave a picture no step left behind");
        }
        check(room == 0 || kept < 14, "the limit never bit");
        _exit(0);
    }

    // Refused quickly, before a claimed giant is allocated; the document stays.
    void hostileFilesKeepTheDocument()
    {
        const QByteArray good = pngClaiming(3, 2);
        QCOMPARE(::mkfifo(QFile::encodeName(dir.filePath("pipe.png")).constData(), 0600), 0);
        const QStringList hostile = {
            file("empty.png", {}), file("text.png", "no picture here\n"),
            file("half.png", good.left(good.size() / 2)), file("signature.png", good.left(8)),
            file("giant.png", pngClaiming(100000, 100000)),
            file("wide.png", pngClaiming(0x7fffffff, 1)),
            file("just-over.png", pngClaiming(16385, 16384)), // 1 GiB and a row
            // A text chunk that claims a gigabyte in a file of a few dozen bytes.
            file("lying.png", pngClaiming(3, 2, be32(0x40000000u) + "tEXtComment")),
            dir.filePath("pipe.png"), "/proc/self/mem", "/dev/zero", dir.filePath("missing.png")};
        const QDir suite(ZARN_TESTDATA_DIR "/png"); // and the suite's own broken files
        Harness h(QImage(suite.filePath("basn2c08.png")));
        h.window.setFilename("kept.png");
        const QImage pixels = h.canvas->image();
        QFile peak("/proc/self/clear_refs"); // "5" resets the peak mark to the current size
        QVERIFY(peak.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && peak.write("5") == 1);
        [[maybe_unused]] const long before = statusKiB("VmRSS");
        for (const QString& path : hostile + suite.entryList({"x*.png"}, QDir::Files)) {
            answerFileDialog(path.startsWith('/') ? path : suite.filePath(path));
            QElapsedTimer clock;
            clock.start();
            QMetaObject::invokeMethod(&h.window, "fileOpen");
            QVERIFY2(clock.elapsed() < 2000, qPrintable(path));
            QCOMPARE(h.window.windowTitle() + (h.canvas->image() == pixels ? "" : " changed") +
                         (h.window.currentCanvas() == h.canvas ? "" : " replaced"),
                     QString("kept.png"));
        }
#if !defined(__SANITIZE_ADDRESS__) // whose shadow memory grows with every allocation
        QVERIFY((statusKiB("VmHWM") - before) / 1024 < 64);
#endif
        answerFileDialog(file("good.png", good + "trailing"));
        QMetaObject::invokeMethod(&h.window, "fileOpen");
        QCOMPARE(h.window.currentCanvas()->image().size(), QSize(3, 2));
    }

    // A full disk leaves the old file byte for byte; a locked folder still lets
    // a writable file be saved over (root writes anywhere: it plays "nobody").
    void saving()
    {
        QImage noise(300, 200, QImage::Format_ARGB32_Premultiplied); // far above 4 KiB as PNG
        std::generate_n(reinterpret_cast<QRgb*>(noise.bits()), 60000, std::mt19937(9));
        Harness h(noise);
        h.canvas->undoSnapshot();
        const QString target = file("keep.png", "precious");
        const QStringList entries = QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden);
        rlimit saved{}, full{4096, RLIM_INFINITY}; // every write beyond fails
        getrlimit(RLIMIT_FSIZE, &saved), std::signal(SIGXFSZ, SIG_IGN), answerFileDialog(target);
        const bool savedWhenFull = setrlimit(RLIMIT_FSIZE, &full) == 0 && h.window.save();
        setrlimit(RLIMIT_FSIZE, &saved);
        QCOMPARE(readFile(target) + (savedWhenFull ? " saved" : ""), QByteArray("precious"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden), entries);
        QVERIFY(h.window.windowTitle().isEmpty() && h.canvas->isChanged());

        QTemporaryDir locked;
        const QString path = locked.filePath("picture.png");
        const bool root = geteuid() == 0;
        QVERIFY(h.canvas->image().save(path) &&
                (!root || chown(qPrintable(path), 65534, 65534) == 0));
        QVERIFY(chmod(qPrintable(locked.path()), 0555) == 0 && (!root || seteuid(65534) == 0));
        const bool refusesNewFiles = !QFile(locked.filePath("probe")).open(QIODevice::WriteOnly);
        answerFileDialog(path);
        const bool savedInPlace = h.window.save();
        QVERIFY((!root || seteuid(0) == 0) && chmod(qPrintable(locked.path()), 0700) == 0);
        QCOMPARE(
            QString("%1 %2 %3").arg(refusesNewFiles).arg(savedInPlace).arg(h.window.windowTitle()),
            "1 1 picture.png");
    }

    // Every tool, filter and magnification (1/64 to 64) on one-pixel-wide pictures.
    void extremeSizes()
    {
        for (const QSize size : {QSize(1, 1), QSize(1, 300), QSize(300, 1)}) {
            QImage original = positions(size.width(), size.height());
            original.setPixel(0, 0, qRgb(7, 148, 2));
            Harness h(original);
            for (const char* tool :
                 {"Eyedropper", "Brush", "Move", "Text", "Marquee", "Lasso", "Magic Wand"}) {
                h.pick(tool);
                h.drag({{0, 0}, {size.width() - 1, size.height() - 1}, {-3, 4}, {0, 0}});
            }
            QCOMPARE(h.window.drawColor(), QColor(7, 148, 2));
            h.canvas->image() = original;
            h.canvas->selectAll();
            for (const char* entry :
                 {"Zarnert", "Zarnelate", "Zarnify", "Zarnelure", "Zarnonimate", "Last"}) {
                answerSlider(100, QString("Zarnelate Zarnify Zarnelure").contains(entry) ? 200 : 0);
                h.trigger(entry);
            }
            h.canvas->undo(), h.canvas->undo(), h.canvas->undo();
            QCOMPARE(h.canvas->image().pixel(0, 0), zarnify_pixel(qRgb(248, 107, 253), 100));
            for (double magnification = 1 / 64.0; magnification <= 64; magnification *= 2) {
                h.canvas->resetView();
                h.canvas->zoom(magnification * h.canvas->viewRect().width() / h.canvas->width());
                QCOMPARE(h.canvas->grab().size(), h.canvas->size());
            }
            QCOMPARE(brokenInvariant(h.window, size) + QString::number(h.canvas->undoCount()), "6");
        }
    }

    // Random input and dialog answers over a real main window, two seeds.
    void randomSession()
    {
        const QStringList files = {file("one.png", pngClaiming(1, 1)), file("text.png", "words"),
                                   dir.filePath("s.bmp"), dir.filePath("s.zzz"),
                                   ZARN_TESTDATA_DIR "/png/basn6a08.png"};
        for (unsigned seed : {1u, 2u}) {
            std::mt19937 random(seed);
            auto pick = [&random](int n) { return int(random() % unsigned(n)); };
            MainWindow window;
            window.show();
            QTimer answers; // progress dialogs now and then cancelled, others answered once
            connect(&answers, &QTimer::timeout, [&] {
                auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
                if (!dialog || dialog->property("seen").toBool() || pick(8))
                    return;
                dialog->setProperty("seen", !qobject_cast<QProgressDialog*>(dialog));
                if (auto* slider = dialog->findChild<QSlider*>())
                    slider->setValue(slider->minimum() + pick(30));
                if (auto* name = dialog->findChild<QLineEdit*>("fileNameEdit"))
                    name->setText(files[pick(5)]);
                QTimer::singleShot(0, dialog, [dialog, accept = pick(3) > 0] {
                    accept ? dialog->accept() : dialog->reject();
                    dialog->isVisible() ? dialog->reject() : void();
                });
            });
            answers.start(0);
            const QList<QAction*> actions = window.findChildren<QAction*>();
            const int steps = qEnvironmentVariableIntValue("ZARN_SESSION_STEPS");
            for (int step = 0; step < (steps ? steps : 2000); ++step) {
                Canvas* canvas = window.currentCanvas();
                int kind = pick(20);
                if ((kind == 0 || !canvas) &&
                    actions[kind = pick(actions.size())]->text() != "Quit") {
                    actions[kind]->trigger();
                } else if (canvas && kind < 4) {
                    QTest::keyClick(&window, "[]f0123456789vbtimlw +-="[pick(24)],
                                    pick(6) ? Qt::NoModifier : Qt::ControlModifier);
                } else if (canvas) { // a press, a release, a double click or a move
                    const QPoint at(pick(canvas->width() + 200) - 100,
                                    pick(canvas->height() + 200) - 100);
                    const auto button = pick(4) ? Qt::LeftButton : Qt::RightButton;
                    QMouseEvent event(QEvent::Type(QEvent::MouseButtonPress + pick(4)), at,
                                      canvas->mapToGlobal(at), button, button,
                                      Qt::KeyboardModifiers::fromInt(pick(8) << 25));
                    QApplication::sendEvent(canvas, &event);
                }
                QCoreApplication::processEvents();
                QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                const QString broken = brokenInvariant(window);
                QVERIFY2(
                    broken.isEmpty(),
                    qPrintable(QString("seed %1 step %2: %3").arg(seed).arg(step).arg(broken)));
            }
        }
    }
};

QTEST_MAIN(TestReliability)
#include "tst_reliability.moc"
