// SPDX-License-Identifier: MIT

#include "support/zarntest.h"

namespace {

// What the last run's progress dialog offered and every value it was given.
struct
{
    QString offered;
    int maximum = 0;
    QList<int> values;
    bool showAtOnce = false; // so that a timer can cancel it
} progress;

template <typename F> struct Watched : F
{
    using F::F;
    std::unique_ptr<QProgressDialog> createProgress(const QString& text, int max) const override
    {
        auto dialog = F::createProgress(text, max);
        progress.offered = QString::asprintf(
            "%s %s %d..%d%s", qPrintable(dialog->labelText()),
            qPrintable(dialog->template findChild<QPushButton*>()->text()), dialog->minimum(), max,
            dialog->windowModality() == Qt::WindowModal && dialog->parentWidget() == F::parent()
                ? " modal"
                : "");
        progress.maximum = max;
        QObject::connect(dialog->template findChild<QProgressBar*>(), &QProgressBar::valueChanged,
                         [](int value) { progress.values.append(value); });
        if (progress.showAtOnce)
            dialog->setMinimumDuration(0);
        return dialog;
    }
};

// A filter of the menu, by name, and what its first run through an empty
// selection makes of picture: its result drawn over it.
std::pair<Filter*, QImage> filterAndRun(const QString& name, QWidget* parent, QImage picture)
{
    QImage result = picture;
    Filter* filter =
        name == "Zarnert"     ? (invert_pixels(result), new Watched<InvertFilter>(parent))
        : name == "Zarnify"   ? (zarnify_image(result, 25), new Watched<ZarnifyFilter>(parent))
        : name == "Zarnelate" ? new Watched<ZarnelateFilter>(parent)
        : name == "Zarnelure" ? new Watched<BumpFilter>(parent)
                              : static_cast<Filter*>(new Watched<ZarnonimateFilter>(parent));
    if (name == "Zarnelate")
        result =
            (std::srand(1), zarnelate_image(picture, QBitmap(":/data/zarn_bitmap_small.png"), 16));
    if (auto* bump = dynamic_cast<BumpFilter*>(filter))
        result = bump_image(picture, bump->slopes(), 64, 64, 50);
    if (auto* tiles = dynamic_cast<ZarnonimateFilter*>(filter))
        result = zarnonimate_image(picture, tiles->rowTables(), 128, 128);
    QPainter(&picture).drawImage(0, 0, result);
    return {filter, picture};
}

// Pictures too big to spell out, pinned by a digest of their pixels.
QByteArray digest(const uchar* bits, qsizetype bytes)
{
    return QCryptographicHash::hash({bits, bytes}, QCryptographicHash::Sha1).toHex().left(20);
}

} // namespace

class TestFilters : public QObject
{
    Q_OBJECT

private slots:
    void runProtocol_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected"); // dialog offered | progress offered, values given
        for (const auto& [name, expected] :
             {std::pair("Zarnert", "|, 0"),
              {"Zarnelate", "Zarnelate 16 4..100|Zarnelating... Cancel 0..625 modal, 7"},
              {"Zarnify", "Zarnify 25 1..100|Zarnifying... Cancel 0..199 modal, 200"},
              {"Zarnelure", "Zarnelure 50 -100..100|Zarneluring... Cancel 0..199 modal, 200"},
              {"Zarnonimate", "|Zarnonimating... Cancel 0..199 modal, 200"}})
            QTest::newRow(name) << QString(name) << QString(expected);
    }

    // A fresh run asks (cancel: no undo step), a repeat does not; both give the pure
    // function's picture through the selection, an undo step and progress, whose
    // Cancel keeps the picture and the undo step.
    void runProtocol()
    {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        const QImage picture = positions(200, 200);
        Harness h(picture);
        const auto [filter, all] = filterAndRun(name, &h.window, picture);
        progress = {};
        const bool asks = !expected.startsWith('|');
        const auto offered = answerSlider(std::nullopt, asks ? 200 : 0);
        filter->run(h.canvas, false);
        QCoreApplication::processEvents();
        h.canvas->image() = picture;
        QCOMPARE(h.canvas->undoCount(), asks ? 1 : 2);
        progress.values.clear();
        h.select(QRect(2, 3, 40, 20));
        std::srand(1);
        filter->run(h.canvas, true);
        QCOMPARE(*offered + "|" + progress.offered + ", " + QString::number(progress.values.size()),
                 expected);
        QCOMPARE(h.canvas->undoCount(), asks ? 2 : 3);
        for (QPoint p :
             {QPoint(2, 3), QPoint(41, 22), QPoint(1, 3), QPoint(42, 22), QPoint(150, 50)})
            QCOMPARE(h.canvas->image().pixel(p),
                     QRect(2, 3, 40, 20).contains(p) ? all.pixel(p) : picture.pixel(p));
        h.canvas->clearMask();
        h.canvas->image() = picture;
        h.canvas->image().setText("Comment", "kept"); // what the file carried besides pixels
        h.canvas->image().setOffset(QPoint(3, 4));
        h.canvas->image().setColorSpace(QColorSpace::SRgbLinear);
        std::srand(1);
        filter->run(h.canvas, true);
        QImage result = all; // the function's pixels, the document's colour space
        result.setColorSpace(QColorSpace::SRgbLinear);
        QCOMPARE(h.canvas->image(), result);
        QCOMPARE(h.canvas->image().text("Comment") +
                     QString::number(h.canvas->image().offset().y()),
                 "kept4");
        if (progress.offered.isEmpty())
            return;
        progress.showAtOnce = true;
        h.canvas->image() = picture;
        whenModal([](QWidget* shown) { qobject_cast<QProgressDialog*>(shown)->cancel(); }, 1000);
        filter->run(h.canvas, true);
        QCOMPARE(h.canvas->image(), picture);
        QCOMPARE(h.canvas->undoCount(), asks ? 4 : 5);
        QVERIFY(progress.values.last() < progress.maximum);
    }

    void workedNumbers()
    {
        QRgb pixels[] = {0x80400080u, 0xFF000000u, 0x00000000u, 0x7F123456u};
        QImage image(reinterpret_cast<uchar*>(pixels), 4, 1, QImage::Format_ARGB32_Premultiplied);
        invert_pixels(image); // in place
        QCOMPARE(QList<QRgb>(pixels, pixels + 4),
                 QList<QRgb>({0x80BFFF7Fu, 0xFFFFFFFFu, 0x00FFFFFFu, 0x7FEDCBA9u}));
        QCOMPARE(zarnify_pixel(qRgb(255, 0, 0), 25), qRgb(255, 96, 0));
        QCOMPARE(zarnify_pixel(qRgb(0, 0, 255), 25), qRgb(96, 0, 255));
        QCOMPARE(zarnify_pixel(qRgb(255, 0, 0), 100), qRgb(128, 255, 0));
        QCOMPARE(zarnify_pixel(0x80800000u, 25), zarnify_pixel(0xFF800000u, 25));
        QCOMPARE(zarnify_pixel(0x80404040u, 1), 0xFF404040u);

        QCOMPARE(zarnelate_stamp_count(800, 600, 16), 7500);
        QCOMPARE(zarnelate_stamp_count(100, 100, 100), 4);
        QCOMPARE(zarnelate_stamp_count(10, 10, 21), 0);
        QCOMPARE(zarnelate_stamp_count(10, 10, 20), 1);
        QCOMPARE(zarnelate_stamp_count(10, 10, 0), 0);
        // Stamps of the silhouette's colour read at the clamped centre (a
        // translucent one's stored channels, made opaque), soft edges blended.
        QImage source = positions(64, 48);
        source.setPixel(0, 0, 0x80402010u);
        std::srand(1);
        const QImage stamped = zarnelate_image(source, QBitmap(":/data/zarn_bitmap_small.png"), 16);
        QCOMPARE(digest(stamped.constBits(), stamped.sizeInBytes()), "396648d011b8371ae0c0");
    }

    void zarnify_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<QByteArray>("expected"); // digest of what the classic 16-bit model gives
        QTest::newRow("25") << 25 << QByteArray("edc5b4f24c3f171c1efb");
        QTest::newRow("1") << 1 << QByteArray("ae51cb957a6b8793d18e");
        QTest::newRow("2") << 2 << QByteArray("ad445c274c030c85b171");
        QTest::newRow("50") << 50 << QByteArray("df4028239ce055e66b09");
        QTest::newRow("99") << 99 << QByteArray("079fac319620e3286450");
        QTest::newRow("100") << 100 << QByteArray("9cd451d0ab54fb8b6761");
    }
    // Every colour at the initial value, a prime-strided walk at the others.
    void zarnify()
    {
        QFETCH(int, value);
        QFETCH(QByteArray, expected);
        const int stride = value == 25 ? 1 : 101, count = (0x1000000 + stride - 1) / stride;
        QImage image(4096, (count + 4095) / 4096, QImage::Format_ARGB32_Premultiplied);
        auto* pixels = reinterpret_cast<QRgb*>(image.bits());
        for (int i = 0; i < image.width() * image.height(); ++i)
            pixels[i] = 0xFF000000u | QRgb(std::min(i, count - 1) * stride);
        QVERIFY(zarnify_image(image, value));
        for (int i = 0; i < count; i += 1 + 96 * (stride == 1)) // the image path is the pixel one
            QCOMPARE(pixels[i], zarnify_pixel(QRgb(i * stride), value));
        QCOMPARE(digest(image.constBits(), qsizetype(count) * 4), expected);
    }

    void bumpSlopesAndDisplacement()
    {
        QCOMPARE(bump_luminance(0x00FFFFFFu), 255);
        QCOMPARE(bump_luminance(qRgb(255, 0, 0)), 87);
        QImage map(3, 3, QImage::Format_ARGB32); // greys, whose luminance is their level
        const int grey[9] = {10, 50, 90, 200, 0, 30, 60, 120, 250};
        for (int i = 0; i < 9; ++i)
            map.setPixel(i % 3, i / 3, qRgb(grey[i], grey[i], grey[i]));
        map.setPixel(2, 1, qRgba(30, 30, 30, 128));
        const QTemporaryDir dir;
        QVERIFY(map.save(dir.filePath("map.png")));
        QWidget window;
        BumpFilter filter(&window);
        QCOMPARE(filter.slopes().size(), size_t(64 * 64));
        QVERIFY(filter.loadBump(dir.filePath("map.png").toUtf8().constData()));
        const float l = 15; // 30 at alpha 128, premultiplied
        const BumpTable expected = {{-40, 140},   {80, -120},    {-40, l - 250},
                                    {-l, 50},     {l - 200, 70}, {200, 160},
                                    {-130, -190}, {190, 50},     {-60, 90 - l}};
        QCOMPARE(filter.slopes(), expected);
        QVERIFY(!filter.loadBump("/nonexistent/map.png") && filter.slopes() == expected);

        // Any table, tiled from the top-left, and value: the source is
        // floor(x + dx * k), floor(y + dy * k), clamped to the picture.
        const QImage source = positions(23, 17);
        BumpTable table;
        for (int i = 0; i < 29 * 5; ++i)
            table.push_back({float((i * 97) % 511 - 255), float((i * 61) % 511 - 255)});
        table[4] = {0.99999994f, -2.3f}; // just below an integer
        for (const auto& [w, h] : {std::pair(29, 5), {5, 29}})
            for (int value = -100; value <= 100; value += 7) {
                const QImage result = bump_image(source, table, w, h, value);
                for (int y = 0; y < 17; ++y)
                    for (int x = 0; x < 23; ++x) {
                        const auto& [dx, dy] = table[size_t(x % w + (y % h) * w)];
                        const int sx = int(std::floor(x + double(dx) * (value * 0.025)));
                        const int sy = int(std::floor(y + double(dy) * (value * 0.025)));
                        if (result.pixel(x, y) != qRgb(qBound(0, sx, 22), qBound(0, sy, 16), 7))
                            QFAIL(qPrintable(QString("%1 at %2,%3").arg(value).arg(x).arg(y)));
                    }
            }
        QImage translucent = source; // value 0 copies every 32-bit value
        translucent.setPixel(4, 4, 0x40102030u);
        QCOMPARE(bump_image(translucent, {{0, -40}}, 1, 1, 0), translucent);
    }

    void zarnonimateOffsets()
    {
        const OffsetTable example = {{0, false}, {1, false}, {0, true},  {2, true},
                                     {5, true},  {7, true},  {6, false}, {7, false}};
        QCOMPARE(calc_ofs(8, 2, 5), example);
        QCOMPARE(calc_ofs(4, 0, 2)[1], std::make_pair(2, true)); // halves round up
        QCOMPARE(calc_ofs(6, 0, 2)[1], std::make_pair(3, true));
        QCOMPARE(calc_ofs(3, -1, -1), (OffsetTable{{0, false}, {1, false}, {2, false}}));
        QCOMPARE(calc_ofs(4, 2, 2), (OffsetTable{{0, false}, {1, false}, {0, true}, {3, false}}));

        // Each row of a tile is squeezed into the silhouette's span on it, and
        // tiles repeat; a column past the picture shows its last column.
        QWidget window;
        ZarnonimateFilter filter(&window);
        const auto& rows = filter.rowTables();
        const QImage result = zarnonimate_image(positions(200, 130), rows, 128, 128);
        for (int i = 0; i < 200 * 130; ++i) {
            const int x = i % 200, y = i / 200;
            const auto& [offset, inside] = rows[size_t(y % 128)][size_t(x % 128)];
            QCOMPARE(result.pixel(x, y),
                     inside ? qRgb(qMin(x - x % 128 + offset, 199), y, 7) : 0xFF000000u);
        }
        QCOMPARE(rows[0][60], std::make_pair(57, true)); // the crown's span is 51 to 71
    }
};

QTEST_MAIN(TestFilters)
#include "tst_filters.moc"
