// SPDX-License-Identifier: MIT
// Nothing lost: a save that fails (full disk, unknown suffix, a directory in
// the way) leaves an existing file byte for byte as it was, and the window's
// title and the document's changed flag as they were.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

#include "app/imagefile.h"
#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "support/hostile.h"

namespace {

// Noise does not compress: its PNG is far larger than the file-size limits
// used below.
QImage noisyPicture()
{
    QImage picture(300, 200, QImage::Format_ARGB32_Premultiplied);
    quint32 state = 99;
    for (int y = 0; y < picture.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            state = state * 1664525u + 1013904223u;
            line[x] = 0xff000000u | (state >> 8);
        }
    }
    return picture;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

// Makes every write beyond limit bytes fail with EFBIG, as a full disk does
// with ENOSPC; the signal that would kill the process is ignored meanwhile.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t limit)
    {
        getrlimit(RLIMIT_FSIZE, &saved);
        previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit lowered = saved;
        lowered.rlim_cur = limit;
        active = setrlimit(RLIMIT_FSIZE, &lowered) == 0;
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previousHandler);
    }
    bool isActive() const { return active; }

private:
    rlimit saved{};
    void (*previousHandler)(int) = nullptr;
    bool active = false;
};

} // namespace

class TestSaveFailure : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void fullDiskKeepsTheOldFile();
    void refusedTargetsKeepEverything();
    void unwritableDirectory();

private:
    bool saveAs(const QString& path);
    void expectUnchanged(const QString& path, const QByteArray& bytes);
    QStringList directoryEntries() const;

    QTemporaryDir dir;
    MainWindow* window = nullptr;
    const QByteArray precious = QByteArray("precious bytes of an earlier save");
};

void TestSaveFailure::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QVERIFY(dir.isValid());
}

void TestSaveFailure::init()
{
    window = new MainWindow;
    window->resize(500, 400);
    window->show();
    window->setCanvas(new Canvas(noisyPicture()));
    window->setFilename(QStringLiteral(""));
    window->currentCanvas()->undoSnapshot(); // an edit: the document counts as changed
    QVERIFY(window->currentCanvas()->isChanged());
}

void TestSaveFailure::cleanup()
{
    delete window;
    window = nullptr;
}

bool TestSaveFailure::saveAs(const QString& path)
{
    const auto answer = answerFileDialog(path);
    const bool saved = window->save();
    return answer->seen && saved;
}

void TestSaveFailure::expectUnchanged(const QString& path, const QByteArray& bytes)
{
    QCOMPARE(readFile(path), bytes);
    QCOMPARE(window->windowTitle(), QStringLiteral("Untitled"));
    QCOMPARE(window->currentFilename(), QStringLiteral(""));
    QVERIFY(window->currentCanvas()->isChanged());
}

QStringList TestSaveFailure::directoryEntries() const
{
    return QDir(dir.path())
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

void TestSaveFailure::fullDiskKeepsTheOldFile()
{
    const QString target = dir.filePath("keep.png");
    QVERIFY(writeFile(target, precious));
    const QStringList entries = directoryEntries();
    {
        FileSizeLimit full(4096);
        QVERIFY(full.isActive());
        QVERIFY(!saveAs(target));
    }
    expectUnchanged(target, precious);
    // No half-written temporary file is left beside it either.
    QCOMPARE(directoryEntries(), entries);

    // With room on the disk the same save goes through.
    QVERIFY(saveAs(target));
    QCOMPARE(window->windowTitle(), QStringLiteral("keep.png"));
    QVERIFY(!window->currentCanvas()->isChanged());
    QVERIFY(readFile(target).startsWith("\x89PNG"));
}

void TestSaveFailure::refusedTargetsKeepEverything()
{
    const QString unknown = dir.filePath("keep.zzz");
    QVERIFY(writeFile(unknown, precious));
    QVERIFY(!saveAs(unknown));
    expectUnchanged(unknown, precious);

    // A directory where the file should go.
    const QString folder = dir.filePath("folder.png");
    QVERIFY(QDir(dir.path()).mkdir("folder.png"));
    QVERIFY(writeFile(folder + "/inside.txt", precious));
    QVERIFY(!save_image_file(window->currentCanvas()->image(), folder));
    expectUnchanged(folder + "/inside.txt", precious);

    // A file where a directory should be.
    const QString file = dir.filePath("plain.txt");
    QVERIFY(writeFile(file, precious));
    QVERIFY(!save_image_file(window->currentCanvas()->image(), file + "/picture.png"));
    expectUnchanged(file, precious);
}

void TestSaveFailure::unwritableDirectory()
{
    if (::geteuid() == 0)
        QSKIP("running as root: mode bits do not stop writing");
    const QString locked = dir.filePath("locked");
    QVERIFY(QDir(dir.path()).mkdir("locked"));
    const QString target = locked + "/keep.png";
    QVERIFY(writeFile(target, precious));
    // A writable file there is overwritten in place; only a locked one stays.
    QVERIFY(QFile::setPermissions(target, QFileDevice::ReadOwner));
    QVERIFY(QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    QVERIFY(!saveAs(target));
    QFile::setPermissions(locked,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    expectUnchanged(target, precious);
}

QTEST_MAIN(TestSaveFailure)
#include "tst_savefailure.moc"
