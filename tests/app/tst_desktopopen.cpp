// SPDX-License-Identifier: MIT
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>

#include "app/imagefile.h"
#include "app/mainwindow.h"
#include "canvas/canvas.h"

// Pictures handed over as arguments or dropped open as File > Open would.
class TestDesktopOpen : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    const QString photo = dir.filePath("sunset photo.png"), missing = dir.filePath("missing.png");
    const QString notes = ZARN_TESTDATA_DIR "/png/PNGSUITE-README";
    const QString kept = ZARN_TESTDATA_DIR "/png/basn3p04.png"; // open before each case

    static QString url(const QString& file) { return QUrl::fromLocalFile(file).toString(); }

    // Drags and drops URLs, or a path as text: 1 both taken as a copy, 0 both refused.
    static int dropped(MainWindow& window, const QStringList& items, int actions)
    {
        QMimeData data;
        items[0][0] == '/' ? data.setText(items[0]) : data.setUrls(QUrl::fromStringList(items));
        QDragEnterEvent enter({50, 50}, Qt::DropActions(actions), &data, Qt::LeftButton, {});
        QDropEvent drop({50, 50}, Qt::DropActions(actions), &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&window, &enter);
        QCoreApplication::sendEvent(&window, &drop);
        const bool took = drop.isAccepted() && drop.dropAction() == Qt::CopyAction;
        return took == (enter.isAccepted() && enter.dropAction() == Qt::CopyAction) ? took : -1;
    }

private slots:
    void initTestCase() { QVERIFY(QFile::copy(ZARN_TESTDATA_DIR "/png/basn2c08.png", photo)); }

    void opens_data()
    {
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
        QTest::newRow("drop: path as text") << copy << QStringList{photo} << kept;
        QTest::newRow("drop: move only") << int(Qt::MoveAction) << QStringList{url(photo)} << kept;
    }

    void opens()
    {
        QFETCH(int, drop);
        QFETCH(QStringList, given);
        QFETCH(QString, shown);
        MainWindow window;
        QVERIFY(window.openFile(kept) && window.acceptDrops());
        QCOMPARE(drop ? dropped(window, given, drop) : int(window.openFirstOf(given)),
                 int(shown != kept));
        QCOMPARE(window.windowTitle(), QFileInfo(shown).fileName());
        QCOMPARE(window.currentCanvas()->image(), load_image_file(shown));
    }
};

QTEST_MAIN(TestDesktopOpen)
#include "tst_desktopopen.moc"
