// SPDX-License-Identifier: MIT
#include <QPainter>
#include <QTest>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "canvas/canvas.h"
#include "canvas/picturememory.h"
#include "filters/bumpfilter.h"
#include "filters/invertfilter.h"
#include "filters/zarnelatefilter.h"
#include "filters/zarnifyfilter.h"
#include "filters/zarnonimatefilter.h"
#include "support/procmemory.h"

namespace {

QImage photo(QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            reinterpret_cast<QRgb*>(image.scanLine(y))[x] = qRgb(x * 7, y * 3, (x ^ y) & 0xFF);
    return image;
}

std::vector<std::unique_ptr<Filter>> all_filters()
{
    Filter* const made[] = {new InvertFilter(nullptr), new ZarnelateFilter(nullptr),
                            new ZarnifyFilter(nullptr), new BumpFilter(nullptr),
                            new ZarnonimateFilter(nullptr)};
    return {std::begin(made), std::end(made)};
}

// Runs in the child: every step (a stroke, or a filter with and without a
// selection) leaves a whole picture, done or refused as the room allows, and
// undo walks back through states the steps left. A negative room is a
// history budget of that many pictures instead of an address-space limit.
QString steps_under_limit()
{
    QFETCH(QSize, size);
    QFETCH(int, roomPictures);
    QFETCH(bool, filtering);
    QFETCH(int, steps);
    auto checksum = [](const Canvas& c) {
        return qHashBits(c.image().constBits(), size_t(c.image().sizeInBytes()));
    };
    const auto filters = all_filters();
    Canvas warmUp(photo(QSize(64, 64))); // dialogs and fonts come before the limit
    warmUp.init();
    for (const auto& filter : filters)
        filter->run(&warmUp, true);
    Canvas canvas(photo(size));
    canvas.init();
    const qint64 room = roomPictures * std::as_const(canvas).image().sizeInBytes();
    // Beyond the room, 64 MiB for what is not a picture: dialogs, brushes, row tables.
    const qint64 limit = procStatusKiB("VmSize") * 1024LL + (64 << 20) + room;
    const rlimit bound{rlim_t(limit), rlim_t(limit)};
    room < 0 ? set_history_budget(-room) : void(setrlimit(RLIMIT_AS, &bound));
    std::vector<size_t> states{checksum(canvas)};
    for (int i = 0; i < steps; ++i) {
        i % 2 ? canvas.selectAll() : canvas.clearMask();
        if (filtering)
            filters[size_t(i) % filters.size()]->run(&canvas, true);
        else if (canvas.undoSnapshot(); canvas.canDraw())
            QPainter(&canvas.image())
                .fillRect(i * 97 % size.width(), 0, 99, 99, QColor(i * 9, 0, 0));
        states.push_back(checksum(canvas));
        const bool refused = !canvas.canDraw() && states.back() == states.front();
        if (std::as_const(canvas).image().size() != size || refused == (roomPictures != 0))
            return QStringLiteral("step %1 broke the picture or was %2").arg(i).arg(refused);
    }
    const int kept = canvas.undoCount();
    auto expected = states.rbegin() + 1;
    for (int k = 0; k < kept; ++k) {
        canvas.undo();
        expected = std::find(expected, states.rend(), checksum(canvas));
        if (expected == states.rend())
            return QStringLiteral("undo %1 gave a picture no step left behind").arg(k);
    }
    return roomPictures != 0 && kept >= steps ? QStringLiteral("the limit never bit") : QString();
}

} // namespace

class TestMemory : public QObject
{
    Q_OBJECT

private slots:
    // First: the child must not inherit threads the toolkit started for other tests.
    void outOfMemory_data();
    void outOfMemory();
    void filtersKeepMetadata();
};

void TestMemory::outOfMemory_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("roomPictures");
    QTest::addColumn<bool>("filtering");
    QTest::addColumn<int>("steps");
    QTest::newRow("strokes, room for 3 pictures") << QSize(2000, 1500) << 3 << false << 14;
    QTest::newRow("every filter, room for 3") << QSize(2000, 1500) << 3 << true << 10;
    QTest::newRow("strokes, no room") << QSize(6000, 4000) << 0 << false << 4;
    QTest::newRow("every filter, no room") << QSize(6000, 4000) << 0 << true << 5;
    QTest::newRow("strokes, history budget 4") << QSize(200, 100) << -4 << false << 14;
}

void TestMemory::outOfMemory()
{
#if defined(__SANITIZE_ADDRESS__)
    QSKIP("AddressSanitizer reserves address space of its own");
#endif
    const pid_t child = fork();
    if (child == 0) {
        const QString failure = steps_under_limit() + '\n';
        _exit(std::fputs(qPrintable(failure), stderr) < 0 || failure.size() > 1);
    }
    int status = 0;
    QVERIFY2(waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0,
             "the child crashed or failed");
}

void TestMemory::filtersKeepMetadata()
{
    QImage picture = photo(QSize(120, 90));
    picture.setText(QStringLiteral("Comment"), QStringLiteral("kept"));
    picture.setOffset(QPoint(3, 4));
    for (const auto& filter : all_filters()) {
        Canvas canvas(picture);
        canvas.init();
        filter->run(&canvas, true);
        QVERIFY(canvas.image() != picture);
        QCOMPARE(canvas.image().text(QStringLiteral("Comment")), QStringLiteral("kept"));
        QCOMPARE(canvas.image().offset(), QPoint(3, 4));
    }
}

QTEST_MAIN(TestMemory)
#include "tst_memory.moc"
