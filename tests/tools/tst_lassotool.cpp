// SPDX-License-Identifier: MIT
#include <QTest>
#include <cmath>

#include "tools/toolharness.h"

class TestLassoTool : public QObject
{
    Q_OBJECT

private slots:
    void figureEightAndStarFillByWinding()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Lasso");
        h.drag({{10, 10}, {90, 50}, {90, 10}, {10, 50}});
        QVERIFY(h.isSelected(20, 30) && h.isSelected(80, 30));
        QVERIFY(!h.isSelected(50, 15) && !h.isSelected(50, 45));
        // A pentagram's centre is enclosed twice: even-odd filling would
        // leave it empty.
        QList<QPoint> star;
        for (int k = 0; k < 5; ++k) {
            const double angle = (-90 + 144 * k) * M_PI / 180;
            star << QPoint(50 + qRound(45 * std::cos(angle)), 50 + qRound(45 * std::sin(angle)));
        }
        h.drag(star);
        QVERIFY(h.isSelected(50, 50) && h.isSelected(50, 15));
        QVERIFY(!h.isSelected(80, 20) && !h.isSelected(20, 30));
    }

    void shortGesturesOnlyClearAndModifiersCombine()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Lasso");
        h.selectRect(QRect(0, 0, 10, 10));
        h.drag({{50, 50}});
        QVERIFY(h.canvas->isMaskEmpty());
        h.selectRect(QRect(0, 0, 10, 10));
        h.drag({{50, 50}, {90, 90}});
        QVERIFY(h.canvas->isMaskEmpty());

        h.drag({{10, 10}, {30, 10}, {10, 30}});
        h.drag({{60, 60}, {90, 60}, {60, 90}}, Qt::ShiftModifier);
        QVERIFY(h.isSelected(15, 15) && h.isSelected(65, 65) && !h.isSelected(40, 40));
        h.drag({{0, 0}, {40, 0}, {0, 40}}, Qt::ShiftModifier | Qt::AltModifier);
        QVERIFY(!h.isSelected(15, 15) && h.isSelected(65, 65));

        // The release point is no corner of the polygon, and the preview
        // before it is an open, unfilled polyline.
        h.press(10, 10);
        h.move(50, 10);
        h.move(10, 50);
        const QImage shown = h.preview(100, 100);
        QVERIFY(shown.pixel(30, 10) == 0xffffffffu && shown.pixel(30, 30) == 0xffffffffu);
        QVERIFY(shown.pixel(10, 30) == 0xff000000u && shown.pixel(20, 20) == 0xff000000u);
        h.release(90, 90);
        QVERIFY(h.isSelected(15, 15) && !h.isSelected(70, 75));
    }
};

QTEST_MAIN(TestLassoTool)
#include "tst_lassotool.moc"
