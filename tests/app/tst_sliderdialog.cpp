// SPDX-License-Identifier: MIT
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QTest>

#include "app/sliderdialog.h"
#include "support/modal.h"

namespace {

QWidget* cell(SliderDialog& dialog, int row, int column)
{
    auto* grid = qobject_cast<QGridLayout*>(dialog.layout());
    if (!grid)
        return nullptr;
    QLayoutItem* item = grid->itemAtPosition(row, column);
    return item ? item->widget() : nullptr;
}

QLabel* numberCell(SliderDialog& dialog)
{
    return qobject_cast<QLabel*>(cell(dialog, 0, 2));
}

QPushButton* button(SliderDialog& dialog, int row)
{
    return qobject_cast<QPushButton*>(cell(dialog, row, 3));
}

} // namespace

class TestSliderDialog : public QObject
{
    Q_OBJECT

private slots:
    void numberLabel_data();
    void numberLabel();
    void layoutPlacesEveryWidget();
    void okAndCancel();
};

void TestSliderDialog::numberLabel_data()
{
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("initial");
    QTest::addColumn<int>("expectedValue");
    QTest::addColumn<QString>("expectedText");

    QTest::newRow("zarnelate 30") << 4 << 100 << 30 << 30 << "30";
    QTest::newRow("initial equals minimum") << 4 << 100 << 4 << 4 << "";
    QTest::newRow("zero in symmetric range") << -100 << 100 << 0 << 0 << "";
    QTest::newRow("bump default") << -100 << 100 << 50 << 50 << "50";
    QTest::newRow("negative initial") << -100 << 100 << -1 << -1 << "-1";
    // Below the range: the slider already sits at the minimum, so no change.
    QTest::newRow("clamped to minimum") << 10 << 20 << 5 << 10 << "";
    QTest::newRow("clamped to maximum") << 10 << 20 << 99 << 20 << "20";
    QTest::newRow("range below zero") << -20 << -10 << -10 << -10 << "";
    QTest::newRow("inside negative range") << -20 << -10 << -15 << -15 << "-15";
}

void TestSliderDialog::numberLabel()
{
    QFETCH(int, minimum);
    QFETCH(int, maximum);
    QFETCH(int, initial);
    QFETCH(int, expectedValue);
    QFETCH(QString, expectedText);

    SliderDialog dialog("Zarnelate", "Size", initial, minimum, maximum);
    QCOMPARE(dialog.windowTitle(), QString("Zarnelate"));
    QCOMPARE(dialog.value(), expectedValue);
    QCOMPARE(dialog.valueSlider()->minimum(), minimum);
    QCOMPARE(dialog.valueSlider()->maximum(), maximum);
    QLabel* number = numberCell(dialog);
    QVERIFY(number);
    QCOMPARE(number->text(), expectedText);
    QVERIFY(number->minimumWidth() >= 50);

    // Moving the slider always updates the number, including back to the start.
    dialog.valueSlider()->setValue(minimum + 1);
    QCOMPARE(number->text(), QString::number(minimum + 1));
    dialog.valueSlider()->setValue(expectedValue);
    QCOMPARE(number->text(), QString::number(expectedValue));
}

void TestSliderDialog::layoutPlacesEveryWidget()
{
    SliderDialog dialog("Zarnify", "Value", 25, 1, 100);
    auto* caption = qobject_cast<QLabel*>(cell(dialog, 0, 0));
    QVERIFY(caption);
    QCOMPARE(caption->text(), QString("Value"));
    QCOMPARE(cell(dialog, 0, 1), static_cast<QWidget*>(dialog.valueSlider()));
    QCOMPARE(dialog.valueSlider()->orientation(), Qt::Horizontal);
    QVERIFY(numberCell(dialog));
    QVERIFY(button(dialog, 0));
    QCOMPARE(button(dialog, 0)->text(), QString("OK"));
    QVERIFY(button(dialog, 1));
    QCOMPARE(button(dialog, 1)->text(), QString("Cancel"));
    // Cancel stands alone in the second row.
    QCOMPARE(cell(dialog, 1, 0), nullptr);
    QCOMPARE(cell(dialog, 1, 1), nullptr);
    QCOMPARE(cell(dialog, 1, 2), nullptr);
}

void TestSliderDialog::okAndCancel()
{
    {
        SliderDialog dialog("Zarnelate", "Size", 16, 4, 100);
        whenModal([&dialog](QWidget* w) {
            QCOMPARE(w, static_cast<QWidget*>(&dialog));
            dialog.valueSlider()->setValue(77);
            QTest::mouseClick(button(dialog, 0), Qt::LeftButton);
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(dialog.value(), 77);
    }
    {
        SliderDialog dialog("Zarnelure", "Value", 50, -100, 100);
        whenModal([&dialog](QWidget*) { QTest::mouseClick(button(dialog, 1), Qt::LeftButton); });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    }
    {
        SliderDialog dialog("Zarnelure", "Value", 50, -100, 100);
        whenModal([](QWidget* w) { QTest::keyClick(w, Qt::Key_Escape); });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    }
}

QTEST_MAIN(TestSliderDialog)
#include "tst_sliderdialog.moc"
