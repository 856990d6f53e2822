// SPDX-License-Identifier: MIT
// Open and Save where Qt 6 decides on its own: "@2x" names, photo tags, locked folders.
#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>
#include <unistd.h>

#include "app/imagefile.h"
#include "app/sliderdialog.h"
#include "canvas/canvas.h"

namespace {

const QColor kCorners[] = {Qt::red, Qt::green, Qt::blue, Qt::white}; // TL, TR, BL, BR

// Solid quadrants survive JPEG's loss well enough to tell them apart.
QByteArray quadrantJpeg()
{
    QImage picture(30, 20, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, kCorners[(y >= 10) * 2 + (x >= 15)].rgb());
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPEG", 95);
    return buffer.data();
}

// A 34-byte APP1 segment after the start-of-image marker, as cameras write it: "Exif",
// a big-endian TIFF header and one directory entry, the orientation (0x0112, a SHORT).
QByteArray withOrientation(QByteArray jpeg, int orientation)
{
    const char exif[] = "\xff\xe1\0\042Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0";
    return jpeg.insert(2, QByteArray(exif, 29) + char(orientation) + QByteArray(6, '\0'));
}

} // namespace

class TestShellFidelity : public QObject
{
    Q_OBJECT

private slots:
    void sliderDialogIsAMetaObject();
    void highDensityNameOpensAsPlainPixels();
    void opensUpright_data();
    void opensUpright();
    void overwritesInFolderThatRefusesNewFiles();
};

void TestShellFidelity::sliderDialogIsAMetaObject()
{
    QCOMPARE(SliderDialog("t", "c", 0, 0, 1).metaObject()->className(), "SliderDialog");
}

void TestShellFidelity::highDensityNameOpensAsPlainPixels()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("photo@2x.png");
    QVERIFY(QFile::copy(ZARN_TESTDATA_DIR "/png/basn2c08.png", path));
    Canvas canvas(load_image_file(path));
    QCOMPARE(canvas.image().devicePixelRatio(), 1.0);
    QPainter(&canvas.image()).fillRect(QRect(1, 1, 1, 1), Qt::black);
    QCOMPARE(canvas.image().pixel(1, 1), qRgb(0, 0, 0));
    QCOMPARE(canvas.image().pixel(2, 2), QImage(path).pixel(2, 2));
}

void TestShellFidelity::opensUpright_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QColor>("topLeft");
    // The stored corner each orientation shows top left; 0 is a file without the tag.
    const int cornerShownTopLeft[] = {0, 0, 1, 3, 2, 0, 2, 3, 1};
    for (int tag = 0; tag <= 8; ++tag)
        QTest::addRow("orientation %d", tag) << tag << kCorners[cornerShownTopLeft[tag]];
}

void TestShellFidelity::opensUpright()
{
    QFETCH(int, orientation);
    QFETCH(QColor, topLeft);
    const QSize size = orientation >= 5 ? QSize(20, 30) : QSize(30, 20); // a quarter turn
    const QByteArray plain = quadrantJpeg();
    QTemporaryDir dir;
    QFile file(dir.filePath("photo.jpg"));
    const QByteArray bytes = orientation ? withOrientation(plain, orientation) : plain;
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush());
    const QImage opened = load_image_file(file.fileName());
    QCOMPARE(opened.size(), size);
    // JPEG is lossy; each channel's top bit tells the four colours apart.
    QCOMPARE(opened.pixel(0, 0) & 0x808080u, topLeft.rgb() & 0x808080u);
    if (!orientation) // exactly as before the tags were read
        QCOMPARE(opened, QImage::fromData(plain).convertToFormat(opened.format()));

    // The saved file needs no tag to look the same everywhere.
    QVERIFY(save_image_file(opened, dir.filePath("saved.jpg")));
    QImageReader reader(dir.filePath("saved.jpg"));
    QCOMPARE(reader.transformation(), QImageIOHandler::TransformationNone);
    QCOMPARE(reader.size(), size);
}

void TestShellFidelity::overwritesInFolderThatRefusesNewFiles()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("picture.png");
    QVERIFY(QFile::copy(ZARN_TESTDATA_DIR "/png/basn2c08.png", path) &&
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
    // Root writes anywhere, so it plays "nobody": owner of the file, not of the folder.
    const bool root = geteuid() == 0;
    QVERIFY(!root || chown(qPrintable(path), 65534, 65534) == 0);
    QVERIFY(chmod(qPrintable(dir.path()), 0555) == 0 && (!root || seteuid(65534) == 0));
    const bool refusesNewFiles = !QFile(dir.filePath("probe")).open(QIODevice::WriteOnly);
    QImage picture(4, 4, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::blue);
    const bool saved = save_image_file(picture, path);
    QVERIFY((!root || seteuid(0) == 0) && chmod(qPrintable(dir.path()), 0700) == 0);
    QVERIFY2(refusesNewFiles && saved, refusesNewFiles ? "not saved" : "folder not locked");
    QCOMPARE(QImage(path).convertToFormat(picture.format()), picture);
}

QTEST_MAIN(TestShellFidelity)
#include "tst_shellfidelity.moc"
