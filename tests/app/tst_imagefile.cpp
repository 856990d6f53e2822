// SPDX-License-Identifier: MIT
#include <QBuffer>
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

namespace {

quint32 crc32(const QByteArray& bytes)
{
    quint32 crc = 0xffffffffu;
    for (char c : bytes) {
        crc ^= quint8(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

QByteArray be32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray pngChunk(const QByteArray& type, const QByteArray& data)
{
    return be32(quint32(data.size())) + type + data + be32(crc32(type + data));
}

// An RGB PNG of zero-valued rows; compresses to almost nothing at any size.
QByteArray blackRgbPng(quint32 width, quint32 height, bool withPixels)
{
    const QByteArray header = be32(width) + be32(height) + QByteArray("\x08\x02\x00\x00\x00", 5);
    QByteArray pixels;
    if (withPixels) {
        const QByteArray raw(qsizetype(height) * (1 + 3 * qsizetype(width)), '\0');
        pixels = qCompress(raw, 1).mid(4); // drop Qt's length prefix: a plain zlib stream
    } else {
        pixels = qCompress(QByteArray(16, '\0')).mid(4);
    }
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", header) +
           pngChunk("IDAT", pixels) + pngChunk("IEND", {});
}

QByteArray smallPng()
{
    QImage image(3, 2, QImage::Format_ARGB32);
    image.fill(QColor(10, 200, 30, 128));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
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

// Pixels only: a file's gamma may come back as an equivalent but differently
// described colour space, which QImage::operator== would count as a change.
bool samePixels(const QImage& a, const QImage& b)
{
    return a.size() == b.size() && a.format() == b.format() &&
           QByteArrayView(a.constBits(), a.sizeInBytes()) ==
               QByteArrayView(b.constBits(), b.sizeInBytes());
}

} // namespace

class TestImageFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }
    void everyTestPngLoadsAndRoundTrips();
    void otherFormatsLoadByContent();
    void refusesWhatIsNoImage();
    void refusesHostilePngsQuickly();
    void opensPicturesBeyondTheDefaultLimit();
    void saveFollowsSuffixAndFailsCleanly();

private:
    QTemporaryDir dir;
};

void TestImageFile::everyTestPngLoadsAndRoundTrips()
{
    const QDir source(ZARN_TESTDATA_DIR "/png");
    const QStringList names = source.entryList({"*.png"}, QDir::Files, QDir::Name);
    QVERIFY(names.size() > 100);
    for (const QString& name : names) {
        const QString path = source.filePath(name);
        const QImage loaded = load_image_file(path);
        QVERIFY2(!loaded.isNull(), qPrintable(name));
        QCOMPARE(loaded.format(), QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(loaded.size(), QImageReader(path).size());

        const QString copy = dir.filePath("copy.png");
        QVERIFY2(save_image_file(loaded, copy), qPrintable(name));
        QVERIFY2(samePixels(load_image_file(copy), loaded), qPrintable(name));
    }
}

void TestImageFile::otherFormatsLoadByContent()
{
    QImage picture(7, 5, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb(x * 30, y * 50, 90));

    const QString tiff = dir.filePath("picture.tif");
    QVERIFY(picture.save(tiff));
    QVERIFY(samePixels(load_image_file(tiff), picture));

    const QString webp = dir.filePath("picture.webp");
    QVERIFY(picture.save(webp, nullptr, 100)); // quality 100 is lossless
    const QImage fromWebp = load_image_file(webp);
    QCOMPARE(fromWebp.size(), picture.size());
    QCOMPARE(fromWebp.format(), QImage::Format_ARGB32_Premultiplied);

    // The content decides, not a misleading suffix.
    const QString disguised = dir.filePath("really-a-png.jpg");
    QVERIFY(picture.save(disguised, "PNG"));
    QVERIFY(samePixels(load_image_file(disguised), picture));

    const QString svg = dir.filePath("shape.svg");
    QVERIFY(writeFile(svg, "<svg xmlns='http://www.w3.org/2000/svg' width='20' height='10'>"
                           "<rect width='20' height='10' fill='#ff0000'/></svg>"));
    const QImage fromSvg = load_image_file(svg);
    QCOMPARE(fromSvg.size(), QSize(20, 10));
    QCOMPARE(fromSvg.pixel(10, 5), qRgb(255, 0, 0));
}

void TestImageFile::refusesWhatIsNoImage()
{
    const QString text = dir.filePath("notes.png");
    QVERIFY(writeFile(text, "just some words, not a picture\n"));
    QVERIFY(load_image_file(text).isNull());

    const QString empty = dir.filePath("empty.png");
    QVERIFY(writeFile(empty, {}));
    QVERIFY(load_image_file(empty).isNull());

    const QByteArray whole = readFile(ZARN_TESTDATA_DIR "/png/basn2c08.png");
    QVERIFY(whole.size() > 100);
    const QString truncated = dir.filePath("truncated.png");
    QVERIFY(writeFile(truncated, whole.left(whole.size() / 2)));
    QVERIFY(load_image_file(truncated).isNull());

    // Only the signature: no chunk at all.
    const QString bare = dir.filePath("bare.png");
    QVERIFY(writeFile(bare, whole.left(8)));
    QVERIFY(load_image_file(bare).isNull());

    QVERIFY(QDir(dir.path()).mkdir("folder.png"));
    QVERIFY(load_image_file(dir.filePath("folder.png")).isNull());
    QVERIFY(load_image_file(dir.filePath("missing.png")).isNull());
    QVERIFY(load_image_file(QString()).isNull());

    // Reading a pipe would block; it must be refused without opening it.
    const QString pipe = dir.filePath("pipe.png");
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QVERIFY(load_image_file(pipe).isNull());

    if (::geteuid() != 0) {
        const QString locked = dir.filePath("locked.png");
        QVERIFY(writeFile(locked, whole));
        QVERIFY(QFile::setPermissions(locked, QFileDevice::WriteOwner));
        QVERIFY(load_image_file(locked).isNull());
    }
}

void TestImageFile::refusesHostilePngsQuickly()
{
    const QString huge = dir.filePath("huge.png");
    QVERIFY(writeFile(huge, blackRgbPng(100000, 100000, false)));
    QCOMPARE(QImageReader(huge).size(), QSize(100000, 100000));

    // A text chunk that claims a gigabyte in a file of a few dozen bytes.
    const QByteArray valid = smallPng();
    const int afterHeader = 8 + 25;
    const QByteArray liar =
        valid.left(afterHeader) + be32(0x40000000u) + "tEXt" + "Comment" + valid.mid(afterHeader);
    const QString lying = dir.filePath("lying.png");
    QVERIFY(writeFile(lying, liar));

    // Guard against the pathological path only: either file costs the
    // decoder seconds and a gigabyte when it is not refused up front.
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

void TestImageFile::opensPicturesBeyondTheDefaultLimit()
{
    // 36 megapixels need 144 MiB as 32-bit pixels: above Qt's default limit.
    const QString big = dir.filePath("big.png");
    QVERIFY(writeFile(big, blackRgbPng(6000, 6000, true)));
    const QImage image = load_image_file(big);
    QCOMPARE(image.size(), QSize(6000, 6000));
    QCOMPARE(image.format(), QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(image.pixel(5999, 5999), qRgb(0, 0, 0));
    QVERIFY(QFile::remove(big));
}

void TestImageFile::saveFollowsSuffixAndFailsCleanly()
{
    QImage picture(5, 3, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::red);
    const QString upper = dir.filePath("shout.PNG");
    QVERIFY(save_image_file(picture, upper));
    QCOMPARE(readFile(upper).left(4), QByteArray("\x89PNG"));
    const QString bmp = dir.filePath("plain.bmp");
    QVERIFY(save_image_file(picture, bmp));
    QCOMPARE(readFile(bmp).left(2), QByteArray("BM"));
    QVERIFY(samePixels(load_image_file(bmp), picture));

    const QByteArray original("precious bytes");
    const QString unknown = dir.filePath("keep.zzz");
    QVERIFY(writeFile(unknown, original));
    QVERIFY(!save_image_file(picture, unknown));
    QCOMPARE(readFile(unknown), original);

    // The writer refuses a null image after the file was opened for writing;
    // neither the target nor a temporary file may be left changed behind.
    const QString existing = dir.filePath("keep.png");
    QVERIFY(writeFile(existing, original));
    QVERIFY(!save_image_file(QImage(), existing));
    QCOMPARE(readFile(existing), original);
    QCOMPARE(QDir(dir.path()).entryList({"keep.png*"}, QDir::Files | QDir::Hidden).size(), 1);

    QVERIFY(!save_image_file(picture, dir.filePath("no/such/dir/picture.png")));
    QVERIFY(!save_image_file(picture, existing + "/picture.png")); // parent is a file
    QVERIFY(!save_image_file(picture, dir.filePath("no-suffix")));
    QVERIFY(!QFile::exists(dir.filePath("no-suffix")));

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
