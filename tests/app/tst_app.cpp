// SPDX-License-Identifier: MIT

#include "support/zarntest.h"

namespace {

// Title, file name ("-" when none), the document's state, the tools'.
QString document(const MainWindow& w)
{
    const Canvas* canvas = w.currentCanvas();
    const char* state = !canvas ? "none" : canvas->isChanged() ? "changed" : "unchanged";
    return QString("%1|%2|%3|tools %4")
        .arg(w.windowTitle(), w.currentFilename().isNull() ? "-" : w.currentFilename(), state)
        .arg(w.toolActions()->isEnabled() ? "on" : "off");
}

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

} // namespace

class TestApp : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    const QString kept = ZARN_TESTDATA_DIR "/png/basn3p04.png"; // open when something is given

private slots:

    // Without a document (at start, after Close) tool letters are dropped and
    // every command but About does nothing, silently.
    void documentCommands()
    {
        Harness h;
        MainWindow& w = h.window;
        QTest::keyClick(&w, Qt::Key_B);
        QVERIFY(!w.toolActions()->checkedAction());
        h.trigger("New...");
        QPointer<Canvas> first = w.currentCanvas();
        QCOMPARE(document(w), "Untitled||unchanged|tools on");
        QCOMPARE(first->image(), filled(800, 600, 0xFFFFFFFF));
        h.trigger("Last"); // nothing ran yet
        h.trigger("Select All");
        QCOMPARE(QRegion(first->mask()), QRegion(0, 0, 800, 600));
        h.trigger("Invert Selection");
        QTest::keyClick(&w, Qt::Key_I, Qt::ControlModifier); // Zarnert
        QVERIFY(first->isMaskEmpty() && first->image().pixel(10, 10) == qRgb(0, 0, 0));
        // A cancelled settings dialog still makes the filter the last one;
        // New replaces an unsaved document without asking.
        QStringList dialogs = dialogsDuring([&h] { h.trigger("Zarnelate"); });
        dialogs += dialogsDuring([&h] { h.trigger("New..."); });
        dialogs += dialogsDuring([&h] { h.trigger("Last"); });
        QCOMPARE(dialogs, QStringList("Zarnelate"));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(first.isNull());
        QCOMPARE(w.currentCanvas()->undoCount(), 2); // Last ran Zarnelate without asking
        QVERIFY(dynamic_cast<ZarnelateFilter*>(w.previousFilter()));
        h.trigger("Close");
        const QStringList none = dialogsDuring([&w] {
            for (QAction* action : w.menuBar()->findChildren<QAction*>())
                if (!QStringList({"New...", "Open...", "Quit"}).contains(action->text()))
                    action->trigger();
        });
        QCOMPARE(none.join(' ') + " " + document(w), "About: What zarn? |-|none|tools off");
    }

    void openAndSave()
    {
        Harness h;
        MainWindow& w = h.window;
        // Through the dialog: converted, title and path; then text, a folder,
        // a cancel, an unknown suffix and a missing folder change nothing.
        for (const char* name : {"basn0g16.png", "basn2c08.png"}) {
            const QString path = QDir::cleanPath(ZARN_TESTDATA_DIR "/png/") + "/" + name;
            auto caption = answerFileDialog(path);
            h.trigger("Open...");
            QCOMPARE(*caption + " " + document(w),
                     QString("Open Image ") + name + "|" + path + "|unchanged|tools on");
            QCOMPARE(w.currentCanvas()->image(), load_image_file(path));
        }
        Canvas* canvas = w.currentCanvas();
        canvas->undoSnapshot();
        const QString before = document(w);
        for (const QString& path : {QString(ZARN_SOURCE_DIR "/README.md"), dir.path(), QString()})
            answerFileDialog(path), h.trigger("Open...");
        for (const QString& name : {dir.filePath("a.zzz"), dir.filePath("no/a.png"), QString()}) {
            auto caption = answerFileDialog(name);
            h.trigger("Save...");
            QCOMPARE(*caption + " " + document(w), "Save Image " + before);
        }
        QVERIFY(w.currentCanvas() == canvas && !QFile::exists(dir.filePath("a.zzz")));
        answerFileDialog(dir.filePath("picture.png"));
        h.trigger("Save...");
        QCOMPARE(document(w), "picture.png|" + dir.filePath("picture.png") + "|unchanged|tools on");
        QCOMPARE(load_image_file(dir.filePath("picture.png")).pixel(20, 20),
                 canvas->image().pixel(20, 20));
    }

    // The number shows once the slider leaves its starting minimum; OK, Cancel last.
    void sliderDialog()
    {
        for (const auto& [minimum, initial, shown] :
             {std::tuple(4, 30, "30"), {4, 4, ""}, {-100, -1, "-1"}}) {
            SliderDialog dialog("Zarnify", "Value", initial, minimum, 100);
            auto* grid = qobject_cast<QGridLayout*>(dialog.layout());
            auto* number = qobject_cast<QLabel*>(grid->itemAtPosition(0, 2)->widget());
            QCOMPARE(QString(dialog.metaObject()->className()) + " " + number->text(),
                     QString("SliderDialog ") + shown);
            dialog.valueSlider()->setValue(minimum + 1);
            QCOMPARE(number->text(), QString::number(minimum + 1));
            for (int row : {0, 1}) { // OK, then Cancel
                whenModal([&](QWidget*) {
                    qobject_cast<QPushButton*>(grid->itemAtPosition(row, 3)->widget())->click();
                });
                QCOMPARE(dialog.exec() * 1000 + dialog.value(), (1 - row) * 1000 + minimum + 1);
            }
        }
    }

    // 21 messages of growing dots over 100 rounds of 25 ms; "plugins" above
    // the executable's folder, or that folder's parent, joins the library path.
    void splashAndPluginPath()
    {
        QSplashScreen splash(QPixmap(":/data/splash.png"));
        QString messages;
        QElapsedTimer clock;
        clock.start();
        run_splash_loop(&splash,
                        [&](const QString& m) { messages += QString::number(m.size()) + " "; });
        QCOMPARE(messages + splash.message(),
                 "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 " + QString(20, '.'));
        QVERIFY(clock.elapsed() >= 2500);
        QDir parent(QCoreApplication::applicationDirPath());
        parent.cdUp();
        QCOMPARE(add_plugin_path(), parent.absolutePath());
        QVERIFY(parent.mkdir("plugins") &&
                add_plugin_path() == parent.absoluteFilePath("plugins") && parent.rmdir("plugins"));
    }

    // The PNG suite loads converted and comes back unchanged from a save;
    // a name ending in "@2x" still makes a plain pixel picture.
    void imageFiles()
    {
        const QDir suite(ZARN_TESTDATA_DIR "/png");
        for (const QString& name : suite.entryList({"*.png"}, QDir::Files)) {
            const QImage loaded = load_image_file(suite.filePath(name));
            QImage back = (save_image_file(loaded, dir.filePath("copy.png")),
                           load_image_file(dir.filePath("copy.png")));
            back.setColorSpace(loaded.colorSpace());
            QVERIFY2(back == loaded && back.size() == QImageReader(suite.filePath(name)).size(),
                     qPrintable(name));
        }
        QVERIFY(positions(7, 5).save(dir.filePath("p@2x.png")));
        QImage loaded = load_image_file(dir.filePath("p@2x.png"));
        QPainter(&loaded).fillRect(1, 1, 1, 1, Qt::black); // one pixel, not a 2 x 2 block
        QVERIFY(loaded.pixel(1, 1) == qRgb(0, 0, 0) && loaded.pixel(2, 2) == qRgb(2, 2, 7));
    }

    void opensUpright_data()
    {
        QTest::addColumn<int>("orientation");
        QTest::addColumn<int>("topLeft"); // the stored quadrant shown top left
        const int shownTopLeft[] = {0, 0, 1, 3, 2, 0, 2, 3, 1};
        for (int tag = 0; tag <= 8; ++tag) // 0: no tag
            QTest::addRow("orientation %d", tag) << tag << shownTopLeft[tag];
    }
    // A phone's photo opens upright; four quadrants tell the orientations apart.
    void opensUpright()
    {
        QFETCH(int, orientation);
        QFETCH(int, topLeft);
        const QRgb corners[] = {0xffff0000, 0xff00ff00, 0xff0000ff, 0xffffffff};
        QImage picture(30, 20, QImage::Format_RGB32);
        for (int i = 0; i < 600; ++i)
            picture.setPixel(i % 30, i / 30, corners[(i / 30 >= 10) * 2 + (i % 30 >= 15)]);
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly) && picture.save(&buffer, "JPEG", 95));
        QByteArray bytes = buffer.data();
        const QByteArray app1 = QByteArray::fromHex( // Exif, a big-endian TIFF, one entry: 0x0112
            "ffe100224578696600004d4d002a000000080001011200030000000100");
        if (orientation)
            bytes.insert(2, app1 + char(orientation) + QByteArray(6, 0));
        QFile file(dir.filePath("photo.jpg"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() &&
                file.flush());
        const QImage opened = load_image_file(file.fileName());
        QCOMPARE(opened.size(), orientation >= 5 ? QSize(20, 30) : QSize(30, 20));
        QCOMPARE(opened.pixel(0, 0) & 0x808080u, corners[topLeft] & 0x808080u); // JPEG is lossy
    }

    // Pictures handed over as arguments or dropped open as File > Open would.
    void desktopOpens_data()
    {
        const QString notes = ZARN_TESTDATA_DIR "/png/PNGSUITE-README",
                      photo = dir.filePath("sunset photo.png");
        const QString missing = dir.filePath("missing.png");
        QFile::copy(ZARN_TESTDATA_DIR "/png/basn2c08.png", photo);
        auto url = [](const QString& file) { return QUrl::fromLocalFile(file).toString(); };
        QTest::addColumn<int>("drop"); // offered actions; 0: given as program arguments
        QTest::addColumn<QStringList>("given");
        QTest::addColumn<QString>("shown");
        const int copy = Qt::CopyAction | Qt::MoveAction;
        QTest::newRow("arguments: first readable")
            << 0 << QStringList{missing, notes, url(photo), kept} << photo;
        QTest::newRow("arguments: none readable") << 0 << QStringList{missing, notes} << kept;
        QTest::newRow("drop: first picture")
            << copy << QStringList{url(notes), url(photo), url(kept)} << photo;
        QTest::newRow("drop: text file") << copy << QStringList{url(notes)} << kept;
        QTest::newRow("drop: move only") << int(Qt::MoveAction) << QStringList{url(photo)} << kept;
    }
    void desktopOpens()
    {
        QFETCH(int, drop);
        QFETCH(QStringList, given);
        QFETCH(QString, shown);
        MainWindow window;
        QVERIFY(window.openFile(kept) && window.acceptDrops());
        int opened =
            window.openFirstOf(drop ? QStringList() : given); // a drop: both taken, or neither
        if (drop) {
            QMimeData data;
            data.setUrls(QUrl::fromStringList(given));
            QDragEnterEvent enter({50, 50}, Qt::DropActions(drop), &data, Qt::LeftButton, {});
            QDropEvent dropped({50, 50}, Qt::DropActions(drop), &data, Qt::LeftButton, {});
            QCoreApplication::sendEvent(&window, &enter);
            QCoreApplication::sendEvent(&window, &dropped);
            const bool took = dropped.isAccepted() && dropped.dropAction() == Qt::CopyAction;
            opened =
                took == (enter.isAccepted() && enter.dropAction() == Qt::CopyAction) ? took : -1;
        }
        QCOMPARE(opened, int(shown != kept));
        QCOMPARE(window.windowTitle(), QFileInfo(shown).fileName());
        QCOMPARE(window.currentCanvas()->image(), load_image_file(shown));
    }
};

QTEST_MAIN(TestApp)
#include "tst_app.moc"
