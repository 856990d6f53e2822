// SPDX-License-Identifier: MIT
// Hostile files on the Open path, end to end through the main window: none
// may crash, hang, allocate what its header claims, or cost the open document.
#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>
#include <sys/stat.h>
#include <unistd.h>

#include "app/imagefile.h"
#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "support/hostile.h"
#include "support/pngbytes.h"

namespace {

// A valid PNG file apart from the size its header claims.
QByteArray pngClaiming(quint32 width, quint32 height)
{
    const QByteArray header = be32(width) + be32(height) + QByteArray("\x08\x06\x00\x00\x00", 5);
    return kPngSignature + pngChunk("IHDR", header) +
           pngChunk("IDAT", qCompress(QByteArray(64, '\0')).mid(4)) + pngChunk("IEND", {});
}

// A BMP header claiming width x height at 32 bits, with no pixels behind it.
QByteArray bmpClaiming(qint32 width, qint32 height)
{
    QByteArray bytes("BM");
    auto le32 = [&](quint32 v) {
        QByteArray b(4, '\0');
        qToLittleEndian(v, b.data());
        bytes += b;
    };
    le32(54 + 16);
    le32(0);
    le32(54);
    le32(40);
    le32(quint32(width));
    le32(quint32(height));
    bytes += QByteArray("\x01\x00\x20\x00", 4);
    for (int i = 0; i < 6; ++i)
        le32(0);
    return bytes + QByteArray(16, '\x7f');
}

QByteArray gifClaiming(quint16 width, quint16 height)
{
    QByteArray bytes("GIF89a");
    bytes += char(width & 0xff);
    bytes += char(width >> 8);
    bytes += char(height & 0xff);
    bytes += char(height >> 8);
    bytes += QByteArray("\x80\x00\x00\x00\x00\x00\xff\xff\xff", 9);
    bytes += QByteArray(",\x00\x00\x00\x00", 5);
    bytes += char(width & 0xff);
    bytes += char(width >> 8);
    bytes += char(height & 0xff);
    bytes += char(height >> 8);
    return bytes + QByteArray("\x00\x02\x02\x44\x01\x00;", 7);
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class TestHostileFiles : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void claimedGiantsAllocateNothing();
    void openingHostileFilesKeepsTheDocument();
    void fileWithoutReadPermission();

private:
    QString make(const QString& name, const QByteArray& bytes);
    QTemporaryDir dir;
};

void TestHostileFiles::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QVERIFY(dir.isValid());
}

QString TestHostileFiles::make(const QString& name, const QByteArray& bytes)
{
    const QString path = dir.filePath(name);
    return writeFile(path, bytes) ? path : QString();
}

void TestHostileFiles::claimedGiantsAllocateNothing()
{
    const QStringList giants = {
        make("giant.png", pngClaiming(100000, 100000)),
        make("wide.png", pngClaiming(0x7fffffff, 1)),
        make("just-over.png", pngClaiming(16385, 16384)), // 1 GiB + one row of pixels
        make("giant.bmp", bmpClaiming(100000, -100000)),  // negative: top-down rows
        make("giant.gif", gifClaiming(65535, 65535)),
        make("giant.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='100000' "
                          "height='100000'><rect width='10' height='10'/></svg>"),
    };
    if (!resetPeakRss())
        QSKIP("the kernel offers no resettable peak-RSS mark here");
    const long before = procStatusKiB("VmRSS");
    for (const QString& path : giants) {
        QVERIFY(!path.isEmpty());
        QVERIFY2(load_image_file(path).isNull(), qPrintable(path));
    }
    const long peakMiB = (procStatusKiB("VmHWM") - before) / 1024;
    // Refused from the header: nothing near the claimed size is ever touched.
    QVERIFY2(peakMiB < 64, qPrintable(QString("peak grew by %1 MiB").arg(peakMiB)));
}

void TestHostileFiles::openingHostileFilesKeepsTheDocument()
{
    const QByteArray png = [] {
        QImage picture(40, 30, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        picture.save(&buffer, "PNG");
        return bytes;
    }();
    const QString pipe = dir.filePath("pipe.png");
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const QStringList hostile = {
        make("empty.png", {}),
        make("text.png", "no picture here\n"),
        make("half.png", png.left(png.size() / 2)),
        make("signature.png", png.left(8)),
        make("claims.png", pngClaiming(100000, 100000)),
        pipe,
        QStringLiteral("/proc/self/mem"), // a regular file whose every read fails
        QStringLiteral("/dev/zero"),      // never ends
    };

    MainWindow window;
    window.resize(500, 400);
    window.show();
    window.setCanvas(new Canvas(QImage(ZARN_TESTDATA_DIR "/png/basn2c08.png")));
    window.setFilename(QStringLiteral("kept.png"));
    QCoreApplication::processEvents();
    Canvas* document = window.currentCanvas();
    const QImage pixels = document->image();

    for (const QString& path : hostile) {
        const auto answer = answerFileDialog(path);
        QMetaObject::invokeMethod(&window, "fileOpen");
        QVERIFY2(answer->seen, qPrintable(path));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(window.currentCanvas(), document);
        QCOMPARE(window.windowTitle(), QStringLiteral("kept.png"));
        QCOMPARE(document->image(), pixels);
    }

    // The same window still opens a good file afterwards.
    const QString good = make("good.png", png);
    answerFileDialog(good);
    QMetaObject::invokeMethod(&window, "fileOpen");
    QVERIFY(window.currentCanvas() != document);
    QCOMPARE(window.currentCanvas()->image().size(), QSize(40, 30));
    QCOMPARE(window.windowTitle(), QStringLiteral("good.png"));
}

void TestHostileFiles::fileWithoutReadPermission()
{
    // The super-user reads any file whatever its mode bits, so the case
    // cannot be built here; the pipe and /proc/self/mem above stand in.
    if (::geteuid() == 0)
        QSKIP("running as root: mode bits do not stop reading");
    const QString locked = make("locked.png", kPngSignature);
    QVERIFY(QFile::setPermissions(locked, QFileDevice::WriteOwner));
    QVERIFY(load_image_file(locked).isNull());
}

QTEST_MAIN(TestHostileFiles)
#include "tst_hostilefiles.moc"
