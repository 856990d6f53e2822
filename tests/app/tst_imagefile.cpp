// SPDX-License-Identifier: MIT
#include <QBuffer>
#include <QColorSpace>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>
#include <sys/stat.h>
#include <unistd.h>

#include "app/imagefile.h"
#include "support/pngbytes.h"

namespace {

// An RGB PNG of black rows, as a plain zlib stream; compresses to almost
// nothing at any size. Without pixels it holds only a header's worth.
QByteArray blackRgbPng(quint32 width, quint32 height, bool withPixels)
{
    const QByteArray header = be32(width) + be32(height) + QByteArray("\x08\x02\x00\x00\x00", 5);
    const qsizetype rawSize = withPixels ? qsizetype(height) * (1 + 3 * qsizetype(width)) : 16;
    return kPngSignature + pngChunk("IHDR", header) +
           pngChunk("IDAT", qCompress(QByteArray(rawSize, '\0'), 1).mid(4)) + pngChunk("IEND", {});
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Pixels and format: a file's gamma may come back as an equivalent but
// differently described colour space.
void comparePixels(QImage actual, const QImage& expected, const QString& name)
{
    actual.setColorSpace(expected.colorSpace());
    QVERIFY2(actual == expected, qPrintable(name));
}

} // namespace

class TestImageFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }
    void everyTestPngLoadsAndRoundTrips();
    void otherFormatsAndSizes();
    void refusesWhatIsNoImage();
    void refusesHostilePngsQuickly();
    void failedSaveChangesNothing();

private:
    QTemporaryDir dir;
};

void TestImageFile::everyTestPngLoadsAndRoundTrips()
{
    const QDir source(ZARN_TESTDATA_DIR "/png");
    const QStringList names = source.entryList({"*.png"}, QDir::Files, QDir::Name);
    QVERIFY(names.size() > 100);
    for (const QString& name : names) {
        const QImage loaded = load_image_file(source.filePath(name));
        QVERIFY2(loaded.format() == QImage::Format_ARGB32_Premultiplied, qPrintable(name));
        QCOMPARE(loaded.size(), QImageReader(source.filePath(name)).size());
        QVERIFY2(save_image_file(loaded, dir.filePath("copy.png")), qPrintable(name));
        comparePixels(load_image_file(dir.filePath("copy.png")), loaded, name);
    }
}

void TestImageFile::otherFormatsAndSizes()
{
    QImage picture(7, 5, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb(x * 30, y * 50, 90));
    QVERIFY(picture.save(dir.filePath("picture.tif")));
    comparePixels(load_image_file(dir.filePath("picture.tif")), picture, "TIFF");
    QVERIFY(picture.save(dir.filePath("picture.webp"), nullptr, 100)); // lossless
    comparePixels(load_image_file(dir.filePath("picture.webp")), picture, "WebP");
    // The content decides, not a misleading suffix.
    QVERIFY(picture.save(dir.filePath("really-a-png.jpg"), "PNG"));
    comparePixels(load_image_file(dir.filePath("really-a-png.jpg")), picture, "disguised");

    // 36 megapixels need 144 MiB as 32-bit pixels: above Qt's default limit.
    const QString big = dir.filePath("big.png");
    QVERIFY(writeFile(big, blackRgbPng(6000, 6000, true)));
    const QImage image = load_image_file(big);
    QCOMPARE(image.size(), QSize(6000, 6000));
    QCOMPARE(image.pixel(5999, 5999), qRgb(0, 0, 0));
    QVERIFY(QFile::remove(big));
}

void TestImageFile::refusesWhatIsNoImage()
{
    const QByteArray whole = readFile(ZARN_TESTDATA_DIR "/png/basn2c08.png");
    QVERIFY(writeFile(dir.filePath("notes.png"), "just some words, not a picture\n"));
    QVERIFY(writeFile(dir.filePath("empty.png"), {}));
    QVERIFY(writeFile(dir.filePath("truncated.png"), whole.left(whole.size() / 2)));
    QVERIFY(writeFile(dir.filePath("bare.png"), whole.left(8))); // the signature alone
    QVERIFY(QDir(dir.path()).mkdir("folder.png"));
    // Reading a pipe would block; it must be refused without opening it.
    QCOMPARE(::mkfifo(QFile::encodeName(dir.filePath("pipe.png")).constData(), 0600), 0);
    for (const char* name : {"notes.png", "empty.png", "truncated.png", "bare.png", "folder.png",
                             "pipe.png", "missing.png"})
        QVERIFY2(load_image_file(dir.filePath(name)).isNull(), name);
    QVERIFY(load_image_file(QString()).isNull());
}

void TestImageFile::refusesHostilePngsQuickly()
{
    const QString huge = dir.filePath("huge.png");
    QVERIFY(writeFile(huge, blackRgbPng(100000, 100000, false)));
    QCOMPARE(QImageReader(huge).size(), QSize(100000, 100000));

    // A text chunk that claims a gigabyte in a file of a few dozen bytes.
    const QByteArray valid = blackRgbPng(3, 2, true);
    const int afterHeader = 8 + 25;
    const QString lying = dir.filePath("lying.png");
    QVERIFY(writeFile(lying, valid.left(afterHeader) + be32(0x40000000u) + "tEXtComment" +
                                 valid.mid(afterHeader)));

    // Either file costs the decoder seconds and a gigabyte unless refused up front.
    QElapsedTimer clock;
    clock.start();
    QVERIFY(load_image_file(huge).isNull());
    QVERIFY(load_image_file(lying).isNull());
    QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));

    // The untouched file still loads, and so does one with bytes after its end.
    const QString good = dir.filePath("good.png");
    QVERIFY(writeFile(good, valid + "trailing"));
    QCOMPARE(load_image_file(good).size(), QSize(3, 2));
}

void TestImageFile::failedSaveChangesNothing()
{
    QImage picture(5, 3, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::red);
    const QByteArray original("precious bytes");
    const QString unknown = dir.filePath("keep.zzz");
    const QString existing = dir.filePath("keep.png");
    QVERIFY(writeFile(unknown, original) && writeFile(existing, original));
    QVERIFY(!save_image_file(picture, unknown));
    QCOMPARE(readFile(unknown), original);
    // The writer refuses a null image only after opening its file; neither
    // the target nor a temporary file may be left behind changed.
    QVERIFY(!save_image_file(QImage(), existing));
    QCOMPARE(readFile(existing), original);
    QCOMPARE(QDir(dir.path()).entryList({"keep.png*"}, QDir::Files | QDir::Hidden).size(), 1);
    QVERIFY(!save_image_file(picture, dir.filePath("no/such/dir/picture.png")));
    QVERIFY(!save_image_file(picture, existing + "/picture.png")); // parent is a file

    if (::geteuid() != 0) { // root writes into read-only directories anyway
        QVERIFY(QDir(dir.path()).mkdir("locked"));
        const QString target = dir.filePath("locked/keep.png");
        QVERIFY(writeFile(target, original));
        QVERIFY(QFile::setPermissions(dir.filePath("locked"),
                                      QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        const bool saved = save_image_file(picture, target);
        QFile::setPermissions(dir.filePath("locked"), QFileDevice::ReadOwner |
                                                          QFileDevice::WriteOwner |
                                                          QFileDevice::ExeOwner);
        QVERIFY(!saved);
        QCOMPARE(readFile(target), original);
    }
}

QTEST_MAIN(TestImageFile)
#include "tst_imagefile.moc"
