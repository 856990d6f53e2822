// SPDX-License-Identifier: MIT

#include "support/zarntest.h"

namespace {

// Where any channel differs by at least threshold.
QRect changedArea(const QImage& before, const QImage& after, int threshold = 1)
{
    QRect area;
    for (int y = 0; y < after.height(); ++y)
        for (int x = 0; x < after.width(); ++x)
            for (int shift : {0, 8, 16, 24})
                if (qAbs(int(before.pixel(x, y) >> shift & 0xff) -
                         int(after.pixel(x, y) >> shift & 0xff)) >= threshold)
                    area |= QRect(x, y, 1, 1);
    return area;
}

// A real picture with translucent pixels, its colours smooth gradients.
QImage photo(int width, int height)
{
    return QImage(ZARN_TESTDATA_DIR "/png/basn6a08.png")
        .convertToFormat(QImage::Format_ARGB32_Premultiplied)
        .scaled(width, height);
}

} // namespace

class TestTools : public QObject
{
    Q_OBJECT

private slots:
    void brush()
    {
        QBitmap shape(512, 512);
        shape.fill(Qt::color0);
        QPainter(&shape).fillRect(QRect(100, 50, 200, 400), Qt::color1);
        const QImage full = create_brush(shape, QColor(255, 10, 20), 256);
        QCOMPARE(changedArea(filled(512, 512, 0), full), QRect(100, 50, 200, 400));
        QCOMPARE(full.pixel(100, 50), qRgb(255, 10, 20));
        const QImage white = filled(300, 200, 0xffffffff);
        Harness h(white, "Brush");
        h.press(50, 100, {}, Qt::RightButton); // only the left button paints
        h.move(100, 100);
        h.drag({{50, 100}, {100, 100}, {150, 100}}); // one snapshot, one stamp per point
        QCOMPARE(h.canvas->undoCount(), 2);
        for (int x : {50, 75, 100, 125, 150, 166})
            QCOMPARE(h.canvas->image().pixel(x, 100) == 0xffffffff, x % 50 != 0);
        h.canvas->undo(); // clipped to the selection; half opacity gives mid grey
        h.window.setDrawColor(Qt::black);
        h.select(QRect(0, 0, 100, 200));
        h.type("5a-0"); // a letter means nothing, "-" and "0" belong to the view
        h.press(100, 100);
        QCOMPARE(changedArea(white, h.canvas->image()), QRect(85, 85, 15, 30));
        QVERIFY(qAbs(qRed(h.canvas->image().pixel(99, 100)) - 128) <= 1);
        // "[" and "]" step by 1 up to 15, by 5 to 50, 10 to 100, 25 to 200 and
        // 50 beyond, a boundary taking the smaller step; every key repaints.
        h.canvas->findChild<QTimer*>()->stop(); // its ticks repaint too
        QString sizes;
        for (QChar key : "[]]]]]]]][]]]]]][]]]]][]]]]" + QString(26, '[')) {
            h.type(key);
            sizes += QString::number(static_cast<BrushTool*>(h.tool)->brushSize()) + " ";
        }
        QCOMPARE(sizes,
                 "14 15 20 25 30 35 40 45 50 45 50 60 70 80 90 100 90 100 125 150 175 200 175 "
                 "200 250 256 256 206 156 131 106 81 71 61 51 41 36 31 26 21 16 11 10 9 8 "
                 "7 6 5 4 3 2 1 1 ");
        QCoreApplication::processEvents();
        struct : QObject
        {
            int paints = 0;
            bool eventFilter(QObject*, QEvent* e) override
            {
                return paints += e->type() == QEvent::Paint, false;
            }
        } counter;
        h.canvas->installEventFilter(&counter);
        h.type("a");
        QCoreApplication::processEvents();
        QVERIFY(counter.paints > 0);
    }

    // As a painter clipped to the mask's region draws it at the corner, halves up.
    void brushStampPosition_data()
    {
        QTest::addColumn<QPointF>("corner");
        QTest::addColumn<bool>("noisySelection");
        for (bool noisy : {false, true}) {
            QTest::addRow("left half %d", noisy) << QPointF(-2.5, 10) << noisy;
            QTest::addRow("top half %d", noisy) << QPointF(10, -6.5) << noisy;
            QTest::addRow("fractions %d", noisy) << QPointF(-1.25, 20.7) << noisy;
        }
    }
    void brushStampPosition()
    {
        QFETCH(QPointF, corner);
        QFETCH(bool, noisySelection);
        const QImage picture = photo(120, 90);
        Harness h(picture, "Brush");
        static_cast<BrushTool*>(h.tool)->setOpacity(noisySelection ? 50 : 100);
        h.window.setDrawColor(QColor(200, 40, 90, 170));
        QImage noise(120, 90, QImage::Format_MonoLSB);
        noise.setColorTable({QColor(Qt::color0).rgba(), QColor(Qt::color1).rgba()});
        std::generate_n(noise.bits(), noise.sizeInBytes(), std::mt19937(5));
        const QBitmap mask = QBitmap::fromImage(noise);
        if (noisySelection)
            h.canvas->mask() = mask;
        static_cast<BrushTool*>(h.tool)->draw(corner + QPointF(15, 15)); // the starting size
        QImage expected = picture;
        QPainter painter(&expected);
        painter.setClipRegion(noisySelection ? QRegion(mask) : QRegion(picture.rect()));
        painter.setOpacity(noisySelection ? 0.5 : 1);
        painter.drawImage(
            QPoint(int(std::floor(corner.x() + 0.5)), int(std::floor(corner.y() + 0.5))),
            create_brush(QBitmap(":/data/zarn_bitmap.png"), h.window.drawColor(), 15));
        painter.end();
        QCOMPARE(h.canvas->image(), expected);
    }

    // The baseline starts at the press, at the last digit's opacity; a selection
    // clips, Select All nothing, not even an underline beyond the ink.
    void text()
    {
        const QImage white = filled(600, 300, 0xffffffff);
        Harness h(white, "Text");
        h.window.setDrawColor(Qt::black);
        h.type("3");
        h.drag({{100, 200}, {300, 250}});                             // one word only
        const QRect word = changedArea(white, h.canvas->image(), 70); // 72 points, no descenders
        int darkest = 255;                                            // 30 % black over white: 178
        for (int i = 0; i < 600 * 300; ++i)
            darkest = std::min(darkest, qRed(h.canvas->image().pixel(i % 600, i / 600)));
        QVERIFY(qAbs(darkest - 178) <= 1 && word.bottom() <= 200 && word.bottom() >= 197 &&
                word.top() < 160 && word.left() >= 100 && word.left() < 110 && word.right() < 350);
        auto* text = static_cast<TextTool*>(h.tool);
        whenModal([text](QWidget* dialog) {
            QFont underlined = text->textFont();
            underlined.setUnderline(true);
            qobject_cast<QFontDialog*>(dialog)->setCurrentFont(underlined),
                static_cast<QDialog*>(dialog)->accept();
        });
        h.type("f");
        QImage unselected;
        for (const QRegion& selected :
             {QRegion(), QRegion(0, 0, 600, 300), QRegion(0, 0, 40, 300)}) {
            h.canvas->image() = photo(600, 300);
            h.select(selected);
            text->draw(QPointF(-30.5, 150.5));
            unselected = unselected.isNull() ? h.canvas->image() : unselected;
            QCOMPARE(h.canvas->image() == unselected, selected.boundingRect().width() != 40);
        }
        QCOMPARE(changedArea(photo(600, 300), h.canvas->image()).right(), 39);
    }

    void marqueeAndLasso()
    {
        Harness h(filled(100, 100, 0xffffffff), "Marquee");
        QCOMPARE(h.window.statusBar()->currentMessage(),
                 QString("Press Shift or Alt to add and subtract selection"));
        QCOMPARE(h.canvas->cursor().shape(), Qt::CrossCursor);
        h.drag({{70, 30}, {20, 50}}); // any direction
        h.drag({{40, 20}, {80, 60}}, Qt::ShiftModifier);
        h.drag({{0, 0}, {30, 100}}, Qt::AltModifier);
        h.drag({{0, 0}, {50, 25}}, Qt::AltModifier | Qt::ShiftModifier); // Alt wins
        QVERIFY(h.selects(QRegion(20, 30, 50, 20) + QRegion(40, 20, 40, 40) -
                          QRegion(0, 0, 30, 100) - QRegion(0, 0, 50, 25)));
        // The rectangle ends at the last move, not at the release; a right
        // button ends nothing; a click clears.
        h.press(20, 30);
        h.move(70, 50);
        h.release(90, 90, Qt::RightButton);
        h.release(90, 90);
        QVERIFY(h.selects(QRegion(20, 30, 50, 20)));
        h.drag({{40, 40}});
        QVERIFY(h.canvas->isMaskEmpty());

        h.pick("Lasso"); // a figure eight fills both loops
        h.drag({{10, 10}, {90, 50}, {90, 10}, {10, 50}});
        const auto selected = [&h](int x, int y) { return h.selection().contains(QPoint(x, y)); };
        QVERIFY(selected(20, 30) && selected(80, 30) && !selected(50, 15) && !selected(50, 45));
        h.drag({{50, 50}, {90, 90}}); // fewer than three points only clear
        QVERIFY(h.canvas->isMaskEmpty());
        h.press(0, 60, Qt::ShiftModifier); // the release point is no corner
        h.move(20, 60);
        h.move(0, 80);
        h.release(40, 95);
        QVERIFY(selected(3, 63) && !selected(30, 80));
    }

    void wand()
    {
        QCOMPARE(pixel_diff(0x00102030, 0xff112233), 6);
        QCOMPARE(pixel_diff(0xff000000, 0x00ffffff), 765);
        // A black diagonal joined at corners, a near-black and a clear pixel.
        const QRgb w = 0xffffffff, b = 0xff000000;
        const QRgb rows[] = {0, w, w, w, w, b, w, b, w, w,          w, w,
                             w, w, b, w, w, w, w, w, w, 0xff010101, w, w};
        QImage image = filled(70, 4, w); // white beyond, past the first 64-pixel word
        for (int i = 0; i < 24; ++i)
            image.setPixel(i % 6, i / 6, rows[i]);
        Harness h(image, "Magic Wand");
        auto* wand = static_cast<MagicWandTool*>(h.tool);
        const QRegion diagonal = QRegion(0, 0, 1, 1) + QRect(1, 1, 1, 1) + QRect(2, 2, 1, 1);
        const QRegion nearBlack(3, 3, 1, 1), black(5, 0, 1, 1);
        h.type("[", 61);
        h.press(1, 1); // within 3 and inclusive; alpha ignored
        QVERIFY(wand->currentTolerance() == 3 && h.selects(diagonal + nearBlack));
        h.type("[", 10);
        h.press(5, 0, Qt::ShiftModifier);
        h.press(0, 0, Qt::AltModifier | Qt::ShiftModifier); // at 0 the near-black stays
        QVERIFY(h.selects(nearBlack + black));
        h.tool->mousePressEvent(QPoint(), {-0.6, 2}, Qt::LeftButton, Qt::LeftButton, {});
        QVERIFY(h.selects(nearBlack + black)); // outside: the selection stays
        h.tool->mousePressEvent(QPoint(), {-0.5, 1.6}, Qt::LeftButton, Qt::LeftButton, {});
        QVERIFY(h.selects(QRegion(0, 0, 70, 4) - diagonal - nearBlack - black));
        h.type("]", 1000);
        h.press(3, 3);
        QVERIFY(wand->currentTolerance() == 1000 && h.selects(QRegion(0, 0, 70, 4)));
    }

    // Random pictures, several starts, walls now and then: the fill's arrays are
    // pinned by a digest of those of a breadth-first fill pixel by pixel.
    void wandFillOnRandomPictures()
    {
        QRandomGenerator random(2024);
        QCryptographicHash fills(QCryptographicHash::Sha1);
        for (int round = 0; round < 600; ++round) {
            const int w = 1 + int(random.bounded(round % 3 ? 45u : 200u)),
                      h = 1 + int(random.bounded(45u));
            std::vector<unsigned> pixels(size_t(w * h));
            for (size_t i = 0; i < pixels.size(); ++i) {
                const unsigned r = random.generate(), odd = (int(i) % w + int(i) / w) % 2;
                const unsigned kinds[4] = {r, r % 6 ? 0xff2080c0u : r,
                                           r % 8 ? 0xffffffffu * (1 - odd) | 0xff000000u : r,
                                           0xff808080u + (r % 3) * 0x010101u};
                pixels[i] = kinds[round % 4];
            }
            std::vector<unsigned*> rows;
            for (int y = 0; y < h; ++y)
                rows.push_back(pixels.data() + size_t(y * w));
            const int tolerance = int(random.bounded(round % 4 ? 6u : 800u));
            std::queue<QPoint> mine;
            for (int i = 0; i < (round % 5 ? 1 : 4); ++i) {
                QPoint p(int(random.bounded(unsigned(w))), int(random.bounded(unsigned(h))));
                p = i == 1 ? QPoint(w - 1, p.y()) : i == 3 ? mine.front() : p;
                mine.push(p);
            }
            std::vector<unsigned char> queued(pixels.size()), selected(pixels.size());
            for (auto& mark : queued)
                mark = round % 7 == 0 && random.bounded(9u) == 0;
            flood_fill(rows[size_t(mine.front().y())][mine.front().x()], tolerance, queued.data(),
                       selected.data(), rows, mine, w, h);
            QVERIFY(mine.empty());
            fills.addData(QByteArrayView(queued.data(), qsizetype(queued.size())));
            fills.addData(QByteArrayView(selected.data(), qsizetype(selected.size())));
        }
        QCOMPARE(fills.result().toHex().left(20), "a0ad43fb55bde4c2ea94");
    }
};

QTEST_MAIN(TestTools)
#include "tst_tools.moc"
