// SPDX-License-Identifier: MIT
#include <QPainter>
#include <QPushButton>
#include <QtTest>

#include "filters/filter_harness.h"
#include "filters/invertfilter.h"

// Opens the protected protocol helpers of the base class to the test.
class ProbeFilter : public Filter
{
public:
    using Filter::createProgress;
    using Filter::dialogParent;
    using Filter::Filter;
    using Filter::pollProgress;

    void run(Canvas*, bool) override {}
};

// An opaque picture whose every pixel differs from its neighbours.
static QImage pattern(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x * 20, y * 30, (x + y) * 7));
    }
    return image;
}

class TestInvertFilter : public QObject
{
    Q_OBJECT

private slots:
    void invertsColourBytesAndKeepsAlpha()
    {
        const QList<QRgb> input = {0x80400080u, 0xFF000000u, 0x00000000u, 0x7F123456u};
        const QList<QRgb> expected = {0x80BFFF7Fu, 0xFFFFFFFFu, 0x00FFFFFFu, 0x7FEDCBA9u};
        QImage image(4, 1, QImage::Format_ARGB32_Premultiplied);
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(0));
        std::copy(input.begin(), input.end(), line);
        invert_pixels(image);
        QCOMPARE(QList<QRgb>(line, line + 4), expected);

        // Other depths are brought to 32 bits first.
        QImage grey(3, 2, QImage::Format_Grayscale8);
        grey.fill(0x20);
        invert_pixels(grey);
        QCOMPARE(grey.pixel(2, 1), qRgb(0xDF, 0xDF, 0xDF));
    }

    void progressDialogAndPolling()
    {
        QWidget window;
        ProbeFilter filter(&window);
        QCOMPARE(filter.dialogParent(), &window);
        const auto dialog = filter.createProgress(QStringLiteral("Zarnonimating..."), 9);
        QCOMPARE(dialog->parentWidget(), &window);
        QCOMPARE(dialog->findChild<QPushButton*>()->text(), QStringLiteral("Cancel"));
        QVERIFY(!dialog->isVisible());
        const FilterProgress progress = ProbeFilter::pollProgress(dialog.get());
        QVERIFY(progress(0) && progress(4));
        QCOMPARE(dialog->value(), 4);
        dialog->cancel();
        QVERIFY(!progress(5));
    }

    void invertTwiceRestoresWithTwoUndoSteps()
    {
        const QImage original = pattern(7, 5);
        FilterDocument doc(original);
        InvertFilter filter(&doc.window);
        const int undoBefore = doc.canvas->undoCount();
        const auto seen = answerSlider(std::nullopt, 0);
        filter.run(doc.canvas, false);
        QCoreApplication::processEvents();
        QVERIFY(seen->title.isEmpty());
        QCOMPARE(doc.picture().pixel(3, 2), qRgb(255 - 60, 255 - 60, 255 - 35));
        filter.run(doc.canvas, true);
        QCOMPARE(doc.picture(), original);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 2);
        doc.canvas->undo();
        QCOMPARE(doc.picture().pixel(6, 4), qRgb(255 - 120, 255 - 120, 255 - 70));
    }

    void selectionLimitsTheChange()
    {
        const QImage original = pattern(10, 8);
        FilterDocument doc(original);
        const QRect selected(2, 3, 4, 2);
        doc.canvas->mask().fill(Qt::color0);
        QPainter(&doc.canvas->mask()).fillRect(selected, Qt::color1);
        doc.canvas->updateMaskStuff();
        InvertFilter(&doc.window).run(doc.canvas, false);
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 10; ++x) {
                const QRgb flip = selected.contains(x, y) ? 0x00FFFFFFu : 0u;
                QCOMPARE(doc.picture().pixel(x, y), original.pixel(x, y) ^ flip);
            }
        }
    }
};

QTEST_MAIN(TestInvertFilter)
#include "tst_invertfilter.moc"
