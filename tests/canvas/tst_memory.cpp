// SPDX-License-Identifier: MIT
#include <QPainter>
#include <QTest>
#include <memory>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "canvas/canvas.h"
#include "filters/bumpfilter.h"
#include "filters/invertfilter.h"
#include "filters/zarnelatefilter.h"
#include "filters/zarnifyfilter.h"
#include "filters/zarnonimatefilter.h"
#include "support/procmemory.h"

namespace {

// Address space for what is not a picture: dialogs, brushes, row tables.
constexpr qint64 kSlackBytes = 64 << 20;

QImage photo(QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = qRgb(x * 7, y * 3, (x ^ y) & 0xFF);
    }
    return image;
}

std::vector<std::unique_ptr<Filter>> all_filters()
{
    std::vector<std::unique_ptr<Filter>> filters;
    filters.emplace_back(new InvertFilter(nullptr));
    filters.emplace_back(new ZarnelateFilter(nullptr));
    filters.emplace_back(new ZarnifyFilter(nullptr));
    filters.emplace_back(new BumpFilter(nullptr));
    filters.emplace_back(new ZarnonimateFilter(nullptr));
    return filters;
}

void stroke(Canvas& canvas, int i)
{
    canvas.undoSnapshot();
    if (canvas.canDraw())
        QPainter(&canvas.image())
            .fillRect(i * 97 % 1500, 50, 300, 300, QColor::fromHsv(i * 40 % 360, 255, 255));
}

size_t checksum(const Canvas& canvas)
{
    const QImage& image = canvas.image();
    return qHashBits(image.constBits(), size_t(image.sizeInBytes()));
}

// Runs in the child: every step leaves a whole picture, applied or refused as
// the room allows, and undo walks back through states the steps left.
QString steps_under_limit(QSize size, int roomPictures, bool filtering, int steps)
{
    const auto filters = all_filters();
    Canvas warmUp(photo(QSize(64, 64))); // dialogs and fonts come before the limit
    warmUp.init();
    for (const auto& filter : filters)
        filter->run(&warmUp, true);
    Canvas canvas(photo(size));
    canvas.init();
    const qint64 limit = procStatusKiB("VmSize") * 1024LL + kSlackBytes +
                         roomPictures * std::as_const(canvas).image().sizeInBytes();
    const rlimit bound{rlim_t(limit), rlim_t(limit)};
    setrlimit(RLIMIT_AS, &bound);
    std::vector<size_t> states{checksum(canvas)};
    for (int i = 0; i < steps; ++i) {
        if (filtering && i % 2 == 1)
            canvas.selectAll();
        else
            canvas.clearMask();
        if (filtering)
            filters[size_t(i) % filters.size()]->run(&canvas, true);
        else
            stroke(canvas, i);
        const QImage& image = std::as_const(canvas).image();
        if (image.size() != size || image.format() != QImage::Format_ARGB32_Premultiplied)
            return QStringLiteral("step %1 left a %2x%3 picture")
                .arg(i)
                .arg(image.width())
                .arg(image.height());
        states.push_back(checksum(canvas));
        if (canvas.canDraw() != (roomPictures > 0) ||
            (roomPictures == 0 && states.back() != states.front()))
            return QStringLiteral("step %1 was %2")
                .arg(i)
                .arg(canvas.canDraw() ? "done" : "refused");
    }
    const int kept = canvas.undoCount();
    if (roomPictures > 0 && kept >= steps)
        return QStringLiteral("all %1 snapshots kept: the limit never bit").arg(kept);
    auto expected = states.rbegin() + 1;
    for (int k = 0; k < kept; ++k) {
        canvas.undo();
        expected = std::find(expected, states.rend(), checksum(canvas));
        if (expected == states.rend())
            return QStringLiteral("undo %1 of %2 gave a picture no step left behind")
                .arg(k + 1)
                .arg(kept);
    }
    return QString();
}

} // namespace

class TestMemory : public QObject
{
    Q_OBJECT

private slots:
    // First: the child must not inherit threads the toolkit started in tests before.
    void outOfMemory_data();
    void outOfMemory();
    void historyBudget();
    void filtersKeepMetadata_data();
    void filtersKeepMetadata();
};

void TestMemory::outOfMemory_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("roomPictures");
    QTest::addColumn<bool>("filtering");
    QTest::addColumn<int>("steps");
    QTest::newRow("strokes, room for three pictures") << QSize(2000, 1500) << 3 << false << 14;
    QTest::newRow("every filter, room for three pictures") << QSize(2000, 1500) << 3 << true << 10;
    QTest::newRow("strokes, no room") << QSize(6000, 4000) << 0 << false << 4;
    QTest::newRow("every filter, no room") << QSize(6000, 4000) << 0 << true << 5;
}

void TestMemory::outOfMemory()
{
#if defined(__SANITIZE_ADDRESS__)
    QSKIP("AddressSanitizer reserves address space of its own");
#endif
    QFETCH(QSize, size);
    QFETCH(int, roomPictures);
    QFETCH(bool, filtering);
    QFETCH(int, steps);
    const pid_t child = fork();
    if (child == 0) {
        const QString failure = steps_under_limit(size, roomPictures, filtering, steps);
        std::fputs(qPrintable(failure + '\n'), stderr);
        _exit(failure.isEmpty() ? 0 : 1);
    }
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);
    QVERIFY2(WIFEXITED(status), "the child crashed");
    QCOMPARE(WEXITSTATUS(status), 0);
}

void TestMemory::historyBudget()
{
    Canvas canvas(photo(QSize(100, 100)));
    canvas.init();
    const qint64 saved = history_budget();
    set_history_budget(4 * std::as_const(canvas).image().sizeInBytes());
    for (uint i = 1; i <= 10; ++i) {
        canvas.undoSnapshot();
        canvas.image().setPixel(0, 0, 0xFF000000u | i);
    }
    set_history_budget(saved);
    // Together with the spare buffer, which the last write used up.
    QCOMPARE(canvas.undoCount(), 3);
    canvas.undo();
    QCOMPARE(canvas.image().pixel(0, 0), 0xFF000009u);
}

void TestMemory::filtersKeepMetadata_data()
{
    QTest::addColumn<int>("filter");
    for (int i = 0; i < 5; ++i)
        QTest::addRow("%d", i) << i;
}

void TestMemory::filtersKeepMetadata()
{
    QFETCH(int, filter);
    QImage picture = photo(QSize(120, 90));
    picture.setText(QStringLiteral("Comment"), QStringLiteral("kept"));
    picture.setOffset(QPoint(3, 4));
    Canvas canvas(picture);
    canvas.init();
    all_filters()[size_t(filter)]->run(&canvas, true);
    canvas.undo();
    canvas.redo();
    const QImage& image = std::as_const(canvas).image();
    QVERIFY(image != picture);
    QCOMPARE(image.text(QStringLiteral("Comment")), QStringLiteral("kept"));
    QCOMPARE(image.offset(), QPoint(3, 4));
    QCOMPARE(image.devicePixelRatio(), 1.0);
}

QTEST_MAIN(TestMemory)
#include "tst_memory.moc"
