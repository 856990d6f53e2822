// SPDX-License-Identifier: MIT
#include <QTimer>
#include <cmath>

#include "tools/brushtool.h"
#include "tools/texttool.h"
#include "tools/toolharness.h"

// A real picture with translucent pixels, its colours smooth gradients.
static QImage photo(int width, int height)
{
    return QImage(ZARN_TESTDATA_DIR "/png/basn6a08.png")
        .convertToFormat(QImage::Format_ARGB32_Premultiplied)
        .scaled(width, height);
}

struct PaintCounter : QObject
{
    int paints = 0;
    bool eventFilter(QObject*, QEvent* event) override
    {
        return paints += event->type() == QEvent::Paint, false;
    }
};

class TestStamps : public QObject
{
    Q_OBJECT

private slots:
    // Equal to a painter clipped to the mask's region, at the corner rounded halves up.
    void brushStampMatchesClippedPainter_data()
    {
        QTest::addColumn<QPointF>("corner");
        QTest::addColumn<bool>("noisySelection");
        QTest::addColumn<int>("opacity");
        for (bool noisy : {false, true}) {
            QTest::addRow("left half %d", noisy) << QPointF(-2.5, 10) << noisy << 100;
            QTest::addRow("top half %d", noisy) << QPointF(10, -6.5) << noisy << 50;
            QTest::addRow("corner halves %d", noisy) << QPointF(-0.5, -1.5) << noisy << 100;
            QTest::addRow("fractions %d", noisy) << QPointF(-1.25, 20.7) << noisy << 100;
        }
    }
    void brushStampMatchesClippedPainter()
    {
        QFETCH(QPointF, corner);
        QFETCH(bool, noisySelection);
        QFETCH(int, opacity);
        const QImage picture = photo(120, 90);
        ToolHarness h(picture, "Brush");
        auto* brush = static_cast<BrushTool*>(h.tool);
        brush->setOpacity(opacity);
        h.window.setDrawColor(QColor(200, 40, 90, 170));
        // A noisy selection: the picture dithered to one bit.
        const QBitmap mask = QBitmap::fromImage(picture.convertToFormat(QImage::Format_Mono));
        if (noisySelection)
            h.canvas->mask() = mask;
        brush->draw(corner + QPointF(15, 15)); // the starting size

        QImage expected = picture;
        QPainter painter(&expected);
        if (noisySelection)
            painter.setClipRegion(QRegion(mask));
        painter.setOpacity(opacity / 100.0);
        painter.drawImage(
            QPoint(int(std::floor(corner.x() + 0.5)), int(std::floor(corner.y() + 0.5))),
            create_brush(QBitmap(":/data/zarn_bitmap.png"), h.window.drawColor(), 15));
        painter.end();
        QCOMPARE(h.canvas->image(), expected);
    }

    void underlinedTextUnderSelectAllEqualsNoSelection()
    {
        struct UnderlinedText : TextTool
        {
            UnderlinedText() { font.setUnderline(true); }
        } text;
        const QImage picture = photo(400, 200);
        ToolHarness h(picture, "Text");
        text.setMainWindow(&h.window);
        h.canvas->pushTool(&text);
        for (const QPointF at : {QPointF(10, 100), QPointF(-30.5, 150.5)}) {
            h.canvas->image() = picture;
            h.canvas->clearMask();
            text.draw(at);
            const QImage unselected = h.canvas->image();
            h.canvas->image() = picture;
            h.canvas->mask().fill(Qt::color1);
            text.draw(at);
            QCOMPARE(h.canvas->image(), unselected);
        }
    }

    void brushRepaintsAfterEveryKey()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Brush");
        h.canvas->findChild<QTimer*>()->stop(); // its ticks repaint too
        QCoreApplication::processEvents();
        PaintCounter counter;
        h.canvas->installEventFilter(&counter);
        h.tool->keyPressEvent(0, QStringLiteral("a"), {});
        QCoreApplication::processEvents();
        QVERIFY(counter.paints > 0);
    }
};

QTEST_MAIN(TestStamps)
#include "tst_stamps.moc"
