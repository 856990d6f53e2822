// SPDX-License-Identifier: MIT
#include <QPainter>
#include <QtTest>

#include "filters/filter_harness.h"
#include "filters/invertfilter.h"

class TestInvertFilter : public QObject
{
    Q_OBJECT

private slots:
    void invertsColourBytesAndKeepsAlpha()
    {
        const QList<QRgb> input = {0x80400080u, 0xFF000000u, 0x00000000u, 0x7F123456u};
        QImage image(4, 1, QImage::Format_ARGB32_Premultiplied);
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(0));
        std::copy(input.begin(), input.end(), line);
        invert_pixels(image);
        QCOMPARE(QList<QRgb>(line, line + 4),
                 QList<QRgb>({0x80BFFF7Fu, 0xFFFFFFFFu, 0x00FFFFFFu, 0x7FEDCBA9u}));
    }

    void twiceRestoresWithTwoUndoStepsAndSelectionLimitsIt()
    {
        const QImage original = positions(10, 8);
        FilterDocument doc(original);
        InvertFilter filter(&doc.window);
        const int undoBefore = doc.canvas->undoCount();
        const auto seen = answerSlider(std::nullopt, 0);
        filter.run(doc.canvas, false);
        QCoreApplication::processEvents();
        QVERIFY(seen->isEmpty());
        QCOMPARE(doc.picture().pixel(3, 2), qRgb(255 - 3, 255 - 2, 255 - 7));
        filter.run(doc.canvas, true);
        QCOMPARE(doc.picture(), original);
        QCOMPARE(doc.canvas->undoCount(), undoBefore + 2);
        doc.canvas->undo();
        QCOMPARE(doc.picture().pixel(9, 7), qRgb(255 - 9, 255 - 7, 255 - 7));

        doc.canvas->undo();
        const QRect selected(2, 3, 4, 2);
        doc.canvas->mask().fill(Qt::color0);
        QPainter(&doc.canvas->mask()).fillRect(selected, Qt::color1);
        doc.canvas->updateMaskStuff();
        filter.run(doc.canvas, false);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 10; ++x)
                QCOMPARE(doc.picture().pixel(x, y),
                         original.pixel(x, y) ^ (selected.contains(x, y) ? 0x00FFFFFFu : 0u));
    }
};

QTEST_MAIN(TestInvertFilter)
#include "tst_invertfilter.moc"
