// SPDX-License-Identifier: MIT
// The desktop entry offers Zarn for a list of image types; a file manager
// hands such files to it, so every one of them must be readable through the
// image plug-ins that the package depends on.
#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QMimeDatabase>
#include <QTest>

namespace {

QStringList desktopMimeTypes()
{
    QFile file(QStringLiteral(ZARN_SOURCE_DIR "/packaging/org.example.Zarn.desktop"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    const QString prefix = QStringLiteral("MimeType=");
    for (const QString& line : QString::fromUtf8(file.readAll()).split('\n')) {
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).split(';', Qt::SkipEmptyParts);
    }
    return {};
}

QImage sampleImage()
{
    QImage image(32, 32, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x * 8, y * 8, 200));
    }
    return image;
}

} // namespace

class TestDesktopEntry : public QObject
{
    Q_OBJECT

private slots:
    void everyOfferedTypeIsReadable();
    void offeredTypesRoundTripThroughContentDetection();
};

void TestDesktopEntry::everyOfferedTypeIsReadable()
{
    const QStringList offered = desktopMimeTypes();
    QVERIFY2(offered.size() >= 10, "the desktop entry lists too few image types");
    QVERIFY(offered.contains("image/png"));
    QVERIFY(offered.contains("image/tiff"));
    QVERIFY(offered.contains("image/webp"));
    QVERIFY(offered.contains("image/svg+xml"));

    const QList<QByteArray> readable = QImageReader::supportedMimeTypes();
    for (const QString& type : offered)
        QVERIFY2(readable.contains(type.toLatin1()),
                 qPrintable(type + " is offered but unreadable"));
}

// Open detects the format from the content, never from the name: write each
// offered type that has a writer and read it back from an anonymous buffer.
// The picture is 32 x 32 because ICNS keeps only its fixed icon sizes.
void TestDesktopEntry::offeredTypesRoundTripThroughContentDetection()
{
    const QMimeDatabase mimes;
    const QList<QByteArray> writable = QImageWriter::supportedMimeTypes();
    int checked = 0;
    for (const QString& type : desktopMimeTypes()) {
        if (!writable.contains(type.toLatin1()))
            continue;
        const QString suffix = mimes.mimeTypeForName(type).preferredSuffix();
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QVERIFY2(sampleImage().save(&buffer, suffix.toLatin1().constData()), qPrintable(type));
        QImage loaded;
        QVERIFY2(loaded.loadFromData(buffer.data()), qPrintable(type + " does not load back"));
        QVERIFY2(loaded.size() == QSize(32, 32), qPrintable(type));
        ++checked;
    }
    QVERIFY2(checked >= 8, "fewer offered types than expected have a writer to check with");
}

QTEST_MAIN(TestDesktopEntry)
#include "tst_desktopentry.moc"
