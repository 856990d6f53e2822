// SPDX-License-Identifier: MIT
#include <QFontDialog>
#include <QTest>

#include "support/modal.h"
#include "tools/texttool.h"
#include "tools/toolharness.h"

namespace {

QRect darkArea(const QImage& image)
{
    QRect area;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qRed(image.pixel(x, y)) < 128)
                area |= QRect(x, y, 1, 1);
    return area;
}

} // namespace

class TestTextTool : public QObject
{
    Q_OBJECT

private slots:
    void clickStampsOnTheBaselineWithOpacityAndSelection()
    {
        ToolHarness h(filled(600, 300, 0xffffffff), "Text");
        QCOMPARE(h.status(), QString("Resize text with [ and ], press F to select font"));
        h.window.setDrawColor(Qt::black);
        const int snapshots = h.canvas->undoCount();
        h.press(100, 200);
        h.move(300, 250); // a drag does not repeat the word
        h.release(300, 250);
        QCOMPARE(h.canvas->undoCount(), snapshots + 1);
        const QImage full = h.canvas->image();
        // "Zarn" has no descenders; at 72 points the capital is ~50 px tall.
        const QRect word = darkArea(full);
        QVERIFY2(word.bottom() <= 200 && word.bottom() >= 197,
                 qPrintable(QString::number(word.bottom())));
        QVERIFY(word.top() < 160 && word.left() >= 100 && word.left() < 110);
        QVERIFY(word.width() > 100 && word.right() < 350);
        h.canvas->undo();
        QCOMPARE(darkArea(h.canvas->image()), QRect());

        h.type("3");
        h.selectRect(QRect(0, 0, 150, 300));
        h.press(100, 200);
        // Where the full word was solid, 30 % black over white leaves 178.
        int solid = 0;
        for (int y = 100; y <= 200; ++y) {
            for (int x = 100; x < 400; ++x) {
                const QRgb pixel = h.canvas->image().pixel(x, y);
                const bool inked = x < 150 && qRed(full.pixel(x, y)) == 0;
                solid += inked;
                QVERIFY(inked ? qAbs(qRed(pixel) - 178) <= 1 : x < 150 || pixel == 0xffffffffu);
            }
        }
        QVERIFY(solid > 50);
    }

    void bracketsAndTheFontDialog()
    {
        ToolHarness h(filled(100, 100, 0xffffffff), "Text");
        auto* text = static_cast<TextTool*>(h.tool);
        QStringList titles;
        const auto cancel = [&titles](QWidget* dialog) {
            titles << dialog->windowTitle();
            static_cast<QDialog*>(dialog)->reject();
        };
        whenModal(cancel, 0); // one look: an opened dialog would be found and closed
        QTest::sendKeyEvent(QTest::Click, h.canvas, Qt::Key_F, QString("F"), Qt::ShiftModifier);
        QCoreApplication::processEvents();
        QVERIFY(titles.isEmpty());
        whenModal(cancel);
        h.type("f");
        QCOMPARE(titles, QStringList("Select Font"));
        QCOMPARE(text->textFont().pointSize(), 72);

        h.type("[", 35);
        QCOMPARE(text->textFont().pointSize(), 2);
        h.type("[");
        QCOMPARE(text->textFont().pointSize(), 2);
        whenModal([](QWidget* dialog) {
            auto* fonts = qobject_cast<QFontDialog*>(dialog);
            QFont chosen = fonts->currentFont();
            chosen.setPointSize(20);
            fonts->setCurrentFont(chosen);
            fonts->accept();
        });
        h.type("f");
        QCOMPARE(text->textFont().pointSize(), 20);
    }
};

QTEST_MAIN(TestTextTool)
#include "tst_texttool.moc"
