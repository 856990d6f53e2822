// SPDX-License-Identifier: MIT
#include <QTest>

#include "tools/toolharness.h"

class TestEyeDropperTool : public QObject
{
    Q_OBJECT

private slots:
    void picksThePixelNearestTheClick()
    {
        // Every pixel carries its coordinates, so the colour names the pixel.
        QImage picture(20, 20, QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 20; ++x)
                picture.setPixel(x, y, qRgb(x * 10, y * 10, 77));
        ToolHarness h(picture, "Eyedropper");
        const auto pick = [&h](const QPointF& p) {
            h.window.setDrawColor(Qt::blue);
            h.tool->mousePressEvent(QPoint(), p, Qt::LeftButton, Qt::LeftButton, {});
            return h.window.drawColor();
        };
        QCOMPARE(pick({9.5, 9.49}), QColor(100, 90, 77));
        QCOMPARE(pick({-0.5, 3}), QColor(0, 30, 77));
        QCOMPARE(pick({-0.6, 3}), QColor(Qt::blue));
        QCOMPARE(pick({19.49, 2}), QColor(190, 20, 77));
        QCOMPARE(pick({19.5, 2}), QColor(Qt::blue));
        QCOMPARE(pick({3, -1e300}), QColor(Qt::blue));

        h.press(4, 7);
        h.move(12, 12);
        h.release(12, 12);
        h.press(5, 5, {}, Qt::RightButton);
        QCOMPARE(h.window.drawColor(), QColor(40, 70, 77));
    }

    void halfTransparentWhiteGivesMidGreyAndTheBrushUsesThePick()
    {
        QImage picture(10, 10, QImage::Format_ARGB32);
        picture.fill(0x80ffffff);
        picture.setPixel(8, 8, qRgb(255, 0, 0));
        ToolHarness h(picture, "Eyedropper");
        h.press(2, 2);
        QCOMPARE(h.window.drawColor(), QColor(128, 128, 128, 255));
        h.press(8, 8);
        h.pick("Brush");
        h.press(3, 3);
        QCOMPARE(h.canvas->image().pixel(3, 3), qRgb(255, 0, 0));
    }
};

QTEST_MAIN(TestEyeDropperTool)
#include "tst_eyedroppertool.moc"
