// SPDX-License-Identifier: MIT
#include <QImage>
#include <QPainter>
#include <QPushButton>
#include <QtTest>

#include "filters/filter_harness.h"
#include "filters/invertfilter.h"

// Opens the protected protocol helpers of the base class to the test.
class ProbeFilter : public Filter
{
public:
    using Filter::askSetting;
    using Filter::createProgress;
    using Filter::dialogParent;
    using Filter::Filter;
    using Filter::pollProgress;

    void run(Canvas* /*canvas*/, bool /*repeat*/) override {}
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
    void initTestCase() { QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void invertsColourBytesAndKeepsAlpha()
    {
        const QRgb input[] = {0x80400080u, 0xFF000000u, 0x00000000u, 0xFFFFFFFFu, 0x7F123456u};
        const QRgb expected[] = {0x80BFFF7Fu, 0xFFFFFFFFu, 0x00FFFFFFu, 0xFF000000u, 0x7FEDCBA9u};
        QImage image(5, 1, QImage::Format_ARGB32_Premultiplied);
        for (int x = 0; x < 5; ++x)
            reinterpret_cast<QRgb*>(image.scanLine(0))[x] = input[x];
        invert_pixels(image);
        for (int x = 0; x < 5; ++x)
            QCOMPARE(reinterpret_cast<const QRgb*>(image.constScanLine(0))[x], expected[x]);
        invert_pixels(image);
        for (int x = 0; x < 5; ++x)
            QCOMPARE(reinterpret_cast<const QRgb*>(image.constScanLine(0))[x], input[x]);

        // Images of other depths are brought to 32 bits first.
        QImage grey(3, 2, QImage::Format_Grayscale8);
        grey.fill(0x20);
        invert_pixels(grey);
        QCOMPARE(grey.depth(), 32);
        QCOMPARE(grey.pixel(2, 1), qRgb(0xDF, 0xDF, 0xDF));
    }

    void protocolHelpers()
    {
        QWidget window;
        ProbeFilter filter(&window);
        QCOMPARE(filter.dialogParent(), &window);

        const auto dialog = filter.createProgress(QStringLiteral("Zarnifying..."), 9);
        QCOMPARE(dialog->parentWidget(), &window);
        QCOMPARE(dialog->labelText(), QStringLiteral("Zarnifying..."));
        QCOMPARE(dialog->minimum(), 0);
        QCOMPARE(dialog->maximum(), 9);
        QCOMPARE(dialog->windowModality(), Qt::WindowModal);
        QVERIFY(!dialog->isVisible());
        QPushButton* cancel = dialog->findChild<QPushButton*>();
        QVERIFY(cancel);
        QCOMPARE(cancel->text(), QStringLiteral("Cancel"));

        const FilterProgress progress = ProbeFilter::pollProgress(dialog.get());
        QVERIFY(progress(0));
        QVERIFY(progress(4));
        QCOMPARE(dialog->value(), 4);
        dialog->cancel();
        QVERIFY(!progress(5));

        int setting = 7;
        answerSlider(12);
        QVERIFY(filter.askSetting(QStringLiteral("T"), QStringLiteral("L"), 4, 100, setting));
        QCOMPARE(setting, 12);
        answerSlider(std::nullopt);
        QVERIFY(!filter.askSetting(QStringLiteral("T"), QStringLiteral("L"), 4, 100, setting));
        QCOMPARE(setting, 12);
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
        QVERIFY(!seen->shown);
        QCOMPARE(doc.picture().pixel(3, 2), qRgb(255 - 60, 255 - 60, 255 - 35));
        QCOMPARE(doc.picture().pixel(0, 0), qRgb(255, 255, 255));
        filter.run(doc.canvas, true);
        QCOMPARE(doc.picture(), original);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 2);
        QVERIFY(doc.canvas->isChanged());
        doc.canvas->undo();
        QCOMPARE(doc.picture().pixel(6, 4), qRgb(255 - 120, 255 - 120, 255 - 70));
    }

    void selectionLimitsTheChange()
    {
        const QImage original = pattern(10, 8);
        FilterDocument doc(original);
        doc.canvas->mask().fill(Qt::color0);
        {
            QPainter painter(&doc.canvas->mask());
            painter.fillRect(QRect(2, 3, 4, 2), Qt::color1);
        }
        doc.canvas->updateMaskStuff();
        InvertFilter(&doc.window).run(doc.canvas, false);
        const QImage result = doc.picture();
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 10; ++x) {
                const bool inside = QRect(2, 3, 4, 2).contains(x, y);
                const QRgb expected =
                    inside ? (original.pixel(x, y) ^ 0x00FFFFFFu) : original.pixel(x, y);
                QCOMPARE(result.pixel(x, y), expected);
            }
        }
    }
};

QTEST_MAIN(TestInvertFilter)
#include "tst_invertfilter.moc"
