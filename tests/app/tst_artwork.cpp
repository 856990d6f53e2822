// SPDX-License-Identifier: MIT
// Properties of the compiled-in pictures that the canvas, the brush and the
// filters rely on: file formats, the stripe pattern's exact pixels and the
// shape of the mushroom silhouette and its height map.

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>

namespace {

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

quint32 bigEndian(const QByteArray& bytes, int at)
{
    quint32 value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | quint8(bytes[at + i]);
    return value;
}

// Width x height, bit depth / colour type, as stored in the file's header.
QString pngHeader(const QString& path)
{
    const QByteArray bytes = fileBytes(path);
    if (bytes.size() < 33 || !bytes.startsWith("\x89PNG\r\n\x1a\n") || bytes.mid(12, 4) != "IHDR")
        return QStringLiteral("no PNG header");
    return QString("%1x%2 %3/%4")
        .arg(bigEndian(bytes, 16))
        .arg(bigEndian(bytes, 20))
        .arg(quint8(bytes[24]))
        .arg(quint8(bytes[25]));
}

QImage loadRgb(const QString& path)
{
    return QImage(path).convertToFormat(QImage::Format_ARGB32);
}

bool isBlack(const QImage& image, int x, int y)
{
    return qGray(image.pixel(x, y)) < 128;
}

struct Run
{
    int first = -1;
    int last = -1;
    int count = 0; // black pixels in the row
    int width() const { return last - first + 1; }
    bool contiguous() const { return first >= 0 && count == width(); }
};

Run blackRun(const QImage& image, int y)
{
    Run run;
    for (int x = 0; x < image.width(); ++x) {
        if (!isBlack(image, x, y))
            continue;
        if (run.first < 0)
            run.first = x;
        run.last = x;
        ++run.count;
    }
    return run;
}

} // namespace

class ArtworkTest : public QObject
{
    Q_OBJECT

private slots:
    void storedFormats();
    void wormPatternPixels();
    void silhouetteRows();
    void heightMapRanges();
    void generatorReproducesData();
};

void ArtworkTest::storedFormats()
{
    // Colour types: 0 grey, 2 RGB, 4 grey + alpha, 6 RGBA.
    const QList<std::pair<QString, QString>> files = {
        {"splash.png", "650x300 8/2"},      {"icon_move.png", "24x24 8/6"},
        {"icon_brush.png", "24x24 8/6"},    {"icon_text.png", "24x24 8/6"},
        {"icon_eye.png", "24x24 8/6"},      {"icon_marquee.png", "24x24 8/6"},
        {"icon_lasso.png", "24x24 8/6"},    {"icon_wand.png", "24x24 8/6"},
        {"icon.png", "32x32 8/6"},          {"worm_8.png", "8x8 1/0"},
        {"zarn_bitmap.png", "512x512 1/0"}, {"zarn_bitmap_small.png", "128x128 1/0"},
        {"bump5.png", "64x64 8/4"}};
    for (const auto& [name, header] : files) {
        QCOMPARE(name + " " + pngHeader(":/data/" + name), name + " " + header);
        QVERIFY(!QImage(":/data/" + name).isNull());
    }
}

void ArtworkTest::wormPatternPixels()
{
    const QStringList rows = {"WWWBBBBW", "WWBBBBWW", "WBBBBWWW", "BBBBWWWW",
                              "BBBWWWWB", "BBWWWWBB", "BWWWWBBB", "WWWWBBBB"};
    const QImage worm = loadRgb(":/data/worm_8.png");
    QStringList seen;
    for (int y = 0; y < worm.height(); ++y) {
        seen << QString();
        for (int x = 0; x < worm.width(); ++x)
            seen.last() += worm.pixel(x, y) == qRgb(255, 255, 255) ? 'W'
                           : worm.pixel(x, y) == qRgb(0, 0, 0)     ? 'B'
                                                                   : '?';
    }
    QCOMPARE(seen, rows);
}

void ArtworkTest::silhouetteRows()
{
    // Every row one run of at least two black pixels; the crown spans 51 to
    // 71 and the cap's rim reaches both edges.
    const QImage small = loadRgb(":/data/zarn_bitmap_small.png");
    const QImage large = loadRgb(":/data/zarn_bitmap.png");
    for (const QImage* image : {&small, &large}) {
        bool fullWidth = false;
        for (int y = 0; y < image->height(); ++y) {
            const Run run = blackRun(*image, y);
            QVERIFY2(run.contiguous() && run.width() >= 2, qPrintable(QString("row %1").arg(y)));
            fullWidth = fullWidth || run.width() == image->width();
        }
        QVERIFY(fullWidth);
    }
    QCOMPARE(blackRun(small, 0).first, 51);
    QCOMPARE(blackRun(small, 0).last, 71);

    // The large one has the same shape: each small pixel is the majority of
    // its 4 x 4 block but for a few on the outline.
    int mismatches = 0;
    for (int y = 0; y < 128; ++y) {
        for (int x = 0; x < 128; ++x) {
            int black = 0;
            for (int i = 0; i < 16; ++i)
                black += isBlack(large, 4 * x + i % 4, 4 * y + i / 4);
            mismatches += (black >= 8) != isBlack(small, x, y);
        }
    }
    QVERIFY2(mismatches < 64, qPrintable(QString::number(mismatches)));
}

void ArtworkTest::heightMapRanges()
{
    // Grey from 0 inside the shape to at most 107 outside, nearly opaque.
    const QImage bump = QImage(":/data/bump5.png").convertToFormat(QImage::Format_ARGB32);
    int lowest = 255, highest = 0, translucent = 0;
    for (int y = 0; y < bump.height(); ++y) {
        for (int x = 0; x < bump.width(); ++x) {
            const QRgb p = bump.pixel(x, y);
            QVERIFY(qRed(p) == qGreen(p) && qGreen(p) == qBlue(p));
            QVERIFY(qAlpha(p) >= 247);
            translucent += qAlpha(p) < 255;
            lowest = std::min(lowest, qRed(p));
            highest = std::max(highest, qRed(p));
        }
    }
    QVERIFY(lowest <= 2 && highest >= 104 && highest <= 107);
    QVERIFY(translucent > 0 && translucent < 64 * 64 / 20);
    // Inside the stem low, outside it high.
    QVERIFY(qRed(bump.pixel(32, 50)) <= 2);
    QVERIFY(qRed(bump.pixel(0, 50)) >= 104);
}

void ArtworkTest::generatorReproducesData()
{
    const QString generator = QStringLiteral(ZARN_BINARY_DIR "/tools/zarn_artgen");
    if (!QFile::exists(generator))
        QSKIP("zarn_artgen is not built");
    QTemporaryDir out;
    QVERIFY(out.isValid());
    QCOMPARE(QProcess::execute(generator, {out.path()}), 0);
    const QDir data(QStringLiteral(ZARN_SOURCE_DIR "/data"));
    int files = 0;
    QDirIterator fresh(out.path(), QDir::Files, QDirIterator::Subdirectories);
    while (fresh.hasNext()) {
        const QString name = QDir(out.path()).relativeFilePath(fresh.next());
        QVERIFY2(fileBytes(fresh.filePath()) == fileBytes(data.filePath(name)),
                 qPrintable(name + " differs from a fresh run of zarn_artgen"));
        ++files;
    }
    QCOMPARE(files, 13 + 8 + 1); // resources, desktop icons, scalable icon
}

QTEST_MAIN(ArtworkTest)
#include "tst_artwork.moc"
