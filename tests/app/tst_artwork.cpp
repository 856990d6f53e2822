// SPDX-License-Identifier: MIT
// Properties of the compiled-in pictures that the canvas, the brush and the
// filters rely on: file formats, the stripe pattern's exact pixels and the
// shape of the mushroom silhouette and its height map.

#include <QBitmap>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegion>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <vector>

namespace {

struct PngHeader
{
    int width = 0;
    int height = 0;
    int depth = 0;
    int colourType = -1;
};

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

// The header as stored in the file, before any conversion by an image reader.
PngHeader pngHeader(const QString& path)
{
    const QByteArray bytes = fileBytes(path);
    if (bytes.size() < 33 || !bytes.startsWith("\x89PNG\r\n\x1a\n") || bytes.mid(12, 4) != "IHDR")
        return {};
    return {int(bigEndian(bytes, 16)), int(bigEndian(bytes, 20)), quint8(bytes[24]),
            quint8(bytes[25])};
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

bool differsFromNeighbour(const QImage& image, int x, int y)
{
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            const int nx = x + dx;
            const int ny = y + dy;
            if (image.rect().contains(nx, ny) && isBlack(image, nx, ny) != isBlack(image, x, y))
                return true;
        }
    }
    return false;
}

// Distance in pixels from (x, y) to the nearest pixel of the other colour,
// measured on the tiled picture (the height map repeats in both directions).
double distanceToOutline(const std::vector<bool>& inside, int size, int x, int y)
{
    double best = size;
    for (int v = 0; v < size; ++v) {
        for (int u = 0; u < size; ++u) {
            if (inside[v * size + u] == inside[y * size + x])
                continue;
            const int dx = std::min(std::abs(u - x), size - std::abs(u - x));
            const int dy = std::min(std::abs(v - y), size - std::abs(v - y));
            best = std::min(best, std::hypot(dx, dy));
        }
    }
    return best;
}

} // namespace

class ArtworkTest : public QObject
{
    Q_OBJECT

private slots:
    void storedFormats_data();
    void storedFormats();
    void wormPatternPixels();
    void smallSilhouetteRows();
    void smallSilhouetteShape();
    void largeSilhouetteMatchesSmall();
    void silhouetteLoadsAsBitmap();
    void heightMap();
    void iconsAndSplash();
    void desktopIcons();
    void generatorReproducesData();
};

void ArtworkTest::storedFormats_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("depth");
    QTest::addColumn<int>("colourType");
    // Colour types: 0 grey, 2 RGB, 4 grey + alpha, 6 RGBA.
    QTest::newRow("splash") << "splash.png" << 0 << 8 << 2;
    for (const char* icon : {"icon_move.png", "icon_brush.png", "icon_text.png", "icon_eye.png",
                             "icon_marquee.png", "icon_lasso.png", "icon_wand.png"})
        QTest::newRow(icon) << icon << 24 << 8 << 6;
    QTest::newRow("icon") << "icon.png" << 32 << 8 << 6;
    QTest::newRow("worm") << "worm_8.png" << 8 << 1 << 0;
    QTest::newRow("bitmap") << "zarn_bitmap.png" << 512 << 1 << 0;
    QTest::newRow("small") << "zarn_bitmap_small.png" << 128 << 1 << 0;
    QTest::newRow("bump") << "bump5.png" << 64 << 8 << 4;
}

void ArtworkTest::storedFormats()
{
    QFETCH(QString, name);
    QFETCH(int, size);
    QFETCH(int, depth);
    QFETCH(int, colourType);
    const PngHeader header = pngHeader(":/data/" + name);
    if (size > 0) {
        QCOMPARE(header.width, size);
        QCOMPARE(header.height, size);
    } else {
        QCOMPARE(header.width, 650);
        QCOMPARE(header.height, 300);
    }
    QCOMPARE(header.depth, depth);
    QCOMPARE(header.colourType, colourType);
    QVERIFY(!QImage(":/data/" + name).isNull());
}

void ArtworkTest::wormPatternPixels()
{
    static const char* const rows[8] = {"WWWBBBBW", "WWBBBBWW", "WBBBBWWW", "BBBBWWWW",
                                        "BBBWWWWB", "BBWWWWBB", "BWWWWBBB", "WWWWBBBB"};
    const QImage worm = loadRgb(":/data/worm_8.png");
    QCOMPARE(worm.size(), QSize(8, 8));
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            const QRgb expected = rows[y][x] == 'W' ? qRgb(255, 255, 255) : qRgb(0, 0, 0);
            QVERIFY2(worm.pixel(x, y) == expected, qPrintable(QString("(%1, %2)").arg(x).arg(y)));
        }
    }
}

void ArtworkTest::smallSilhouetteRows()
{
    const QImage small = loadRgb(":/data/zarn_bitmap_small.png");
    QCOMPARE(small.size(), QSize(128, 128));
    for (int y = 0; y < 128; ++y) {
        const Run run = blackRun(small, y);
        QVERIFY2(run.contiguous() && run.width() >= 2, qPrintable(QString("row %1").arg(y)));
    }
    const Run top = blackRun(small, 0);
    QCOMPARE(top.first, 51);
    QCOMPARE(top.last, 71);
}

void ArtworkTest::smallSilhouetteShape()
{
    const QImage small = loadRgb(":/data/zarn_bitmap_small.png");
    // The cap: runs never narrow from the crown down to the rim, and it
    // reaches both edges; the rim is the first row after which runs shrink.
    int rim = 0;
    while (rim + 1 < 128 && blackRun(small, rim + 1).width() >= blackRun(small, rim).width())
        ++rim;
    QVERIFY2(rim >= 69 && rim <= 73, qPrintable(QString("cap ends at row %1").arg(rim)));
    const Run rimRun = blackRun(small, rim);
    QCOMPARE(rimRun.first, 0);
    QCOMPARE(rimRun.last, 127);
    QVERIFY(blackRun(small, 40).width() < 128); // a dome, not a block

    // The stem: about 40 % of the width, roughly centred, with a foot that
    // swells and then rounds off.
    const Run neck = blackRun(small, rim + 1);
    QVERIFY2(neck.width() >= 40 && neck.width() <= 62, qPrintable(QString::number(neck.width())));
    QVERIFY(std::abs((neck.first + neck.last) / 2.0 - 63.5) < 8);
    int widestFoot = 0;
    for (int y = 100; y < 128; ++y)
        widestFoot = std::max(widestFoot, blackRun(small, y).width());
    QVERIFY(widestFoot > neck.width() + 8);
    QVERIFY(blackRun(small, 127).width() < widestFoot - 8);
}

void ArtworkTest::largeSilhouetteMatchesSmall()
{
    const QImage large = loadRgb(":/data/zarn_bitmap.png");
    const QImage small = loadRgb(":/data/zarn_bitmap_small.png");
    QCOMPARE(large.size(), QSize(512, 512));
    for (int y = 0; y < 512; ++y) {
        const Run run = blackRun(large, y);
        QVERIFY2(run.contiguous() && run.width() >= 2, qPrintable(QString("row %1").arg(y)));
    }
    // Each small pixel is the majority of its 4 x 4 block; only pixels on
    // the small outline may disagree.
    int edgeMismatches = 0;
    for (int y = 0; y < 128; ++y) {
        for (int x = 0; x < 128; ++x) {
            int black = 0;
            for (int v = 0; v < 4; ++v) {
                for (int u = 0; u < 4; ++u)
                    black += isBlack(large, 4 * x + u, 4 * y + v);
            }
            if ((black >= 8) == isBlack(small, x, y))
                continue;
            QVERIFY2(differsFromNeighbour(small, x, y),
                     qPrintable(QString("(%1, %2) inside the shape").arg(x).arg(y)));
            ++edgeMismatches;
        }
    }
    QVERIFY(edgeMismatches < 64);
}

void ArtworkTest::silhouetteLoadsAsBitmap()
{
    // Loaded as a bitmap, black pixels become the set ones: that is how the
    // brush and the filters turn the shape into a clip region.
    QBitmap small;
    QVERIFY(small.load(":/data/zarn_bitmap_small.png"));
    const QRegion shape(small);
    QVERIFY(shape.contains(QPoint(51, 0)));
    QVERIFY(shape.contains(QPoint(71, 0)));
    QVERIFY(!shape.contains(QPoint(50, 0)));
    QVERIFY(!shape.contains(QPoint(72, 0)));
    QVERIFY(!shape.contains(QPoint(2, 120)));
    QVERIFY(shape.contains(QPoint(64, 100)));

    QBitmap large;
    QVERIFY(large.load(":/data/zarn_bitmap.png"));
    QCOMPARE(large.size(), QSize(512, 512));
    QVERIFY(QRegion(large).contains(QPoint(256, 400)));
    QVERIFY(!QRegion(large).contains(QPoint(0, 0)));
}

void ArtworkTest::heightMap()
{
    const QImage bump = QImage(":/data/bump5.png").convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(bump.size(), QSize(64, 64));
    const QImage small = loadRgb(":/data/zarn_bitmap_small.png");
    std::vector<bool> inside(64 * 64);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x)
            inside[y * 64 + x] =
                isBlack(small, 2 * x, 2 * y) && isBlack(small, 2 * x + 1, 2 * y + 1);
    }
    int translucent = 0;
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            const QRgb p = bump.pixel(x, y);
            QVERIFY(qRed(p) == qGreen(p) && qGreen(p) == qBlue(p));
            QVERIFY(qAlpha(p) >= 247);
            translucent += qAlpha(p) < 255;
            const int grey = qRed(p);
            QVERIFY(grey <= 107);
            // Beyond the ramp's half width the map sits on its plateaus.
            if (distanceToOutline(inside, 64, x, y) < 6)
                continue;
            const bool plateau = inside[y * 64 + x] ? grey <= 2 : grey >= 104;
            QVERIFY2(plateau, qPrintable(QString("(%1, %2) = %3").arg(x).arg(y).arg(grey)));
        }
    }
    QVERIFY(translucent > 0 && translucent < 64 * 64 / 20);

    // Across the stem's left edge the grey falls from outside to inside
    // over several pixels.
    int leaves = 0;
    while (qRed(bump.pixel(leaves, 50)) >= 104)
        ++leaves;
    int arrives = leaves;
    while (qRed(bump.pixel(arrives, 50)) > 2)
        ++arrives;
    QVERIFY2(arrives - leaves >= 5 && arrives - leaves <= 11,
             qPrintable(QString("ramp %1..%2").arg(leaves).arg(arrives)));
}

void ArtworkTest::iconsAndSplash()
{
    for (const char* name : {"icon_move.png", "icon_brush.png", "icon_text.png", "icon_eye.png",
                             "icon_marquee.png", "icon_lasso.png", "icon_wand.png", "icon.png"}) {
        const QImage icon = loadRgb(QString(":/data/") + name);
        int opaque = 0;
        for (int y = 0; y < icon.height(); ++y) {
            for (int x = 0; x < icon.width(); ++x)
                opaque += qAlpha(icon.pixel(x, y)) == 255;
        }
        QVERIFY2(qAlpha(icon.pixel(0, 0)) == 0, name); // on a transparent ground
        QVERIFY2(opaque >= 30 && opaque < icon.width() * icon.height() / 2, name);
    }

    const QImage splash(":/data/splash.png");
    QVERIFY(!splash.hasAlphaChannel());
    int verdant = 0; // yellows through greens to teals
    for (int y = 0; y < splash.height(); ++y) {
        for (int x = 0; x < splash.width(); ++x) {
            const int hue = QColor(splash.pixel(x, y)).hsvHue();
            verdant += hue >= 40 && hue <= 200;
        }
    }
    QVERIFY(verdant > splash.width() * splash.height() * 8 / 10);
}

void ArtworkTest::desktopIcons()
{
    const QString themeDir = QStringLiteral(ZARN_SOURCE_DIR "/data/icons/hicolor");
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        const QString path = QStringLiteral("%1/%2x%2/apps/zarn.png").arg(themeDir).arg(size);
        const PngHeader header = pngHeader(path);
        QVERIFY2(header.width == size && header.height == size, qPrintable(path));
        QCOMPARE(header.colourType, 6);
    }
    // The program icon is the 32 pixel desktop icon.
    QCOMPARE(fileBytes(themeDir + "/32x32/apps/zarn.png"), fileBytes(":/data/icon.png"));
    const QByteArray svg = fileBytes(themeDir + "/scalable/apps/zarn.svg");
    QVERIFY(svg.startsWith("<?xml"));
    QVERIFY(svg.contains("<svg") && svg.trimmed().endsWith("</svg>"));
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
