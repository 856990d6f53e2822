// SPDX-License-Identifier: MIT
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QTest>

#include "app/sliderdialog.h"
#include "support/modal.h"

namespace {

template <typename T> T* cell(SliderDialog& dialog, int row, int column)
{
    auto* grid = qobject_cast<QGridLayout*>(dialog.layout());
    QLayoutItem* item = grid ? grid->itemAtPosition(row, column) : nullptr;
    return item ? qobject_cast<T*>(item->widget()) : nullptr;
}

} // namespace

class TestSliderDialog : public QObject
{
    Q_OBJECT

private slots:
    void numberLabelAndLayout();
    void okAndCancel();
};

void TestSliderDialog::numberLabelAndLayout()
{
    // minimum, maximum, initial value, the number shown at first; the
    // label is set only when the slider moves off its starting minimum.
    const QList<std::tuple<int, int, int, QString>> cases = {
        {4, 100, 30, "30"}, {4, 100, 4, ""}, {-100, 100, 0, ""}, {-100, 100, -1, "-1"}};
    for (const auto& [minimum, maximum, initial, shown] : cases) {
        SliderDialog dialog("Zarnelate", "Size", initial, minimum, maximum);
        QLabel* number = cell<QLabel>(dialog, 0, 2);
        QVERIFY(number);
        QCOMPARE(dialog.value(), initial);
        QCOMPARE(number->text(), shown);
        dialog.valueSlider()->setValue(minimum + 1);
        QCOMPARE(number->text(), QString::number(minimum + 1));
        dialog.valueSlider()->setValue(initial);
        QCOMPARE(number->text(), QString::number(initial));
    }

    // Caption, slider, number and OK in the first row; Cancel alone under OK.
    SliderDialog dialog("Zarnify", "Value", 25, 1, 100);
    QCOMPARE(dialog.windowTitle(), QString("Zarnify"));
    QCOMPARE(cell<QLabel>(dialog, 0, 0)->text(), QString("Value"));
    QCOMPARE(cell<QSlider>(dialog, 0, 1), dialog.valueSlider());
    QCOMPARE(dialog.valueSlider()->orientation(), Qt::Horizontal);
    QCOMPARE(cell<QPushButton>(dialog, 0, 3)->text(), QString("OK"));
    QCOMPARE(cell<QPushButton>(dialog, 1, 3)->text(), QString("Cancel"));
    for (int column = 0; column < 3; ++column)
        QCOMPARE(cell<QWidget>(dialog, 1, column), nullptr);
}

void TestSliderDialog::okAndCancel()
{
    SliderDialog dialog("Zarnelate", "Size", 16, 4, 100);
    whenModal([&dialog](QWidget* w) {
        QCOMPARE(w, static_cast<QWidget*>(&dialog));
        dialog.valueSlider()->setValue(77);
        QTest::mouseClick(cell<QPushButton>(dialog, 0, 3), Qt::LeftButton);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QCOMPARE(dialog.value(), 77);

    whenModal([&dialog](QWidget*) {
        QTest::mouseClick(cell<QPushButton>(dialog, 1, 3), Qt::LeftButton);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    whenModal([](QWidget* w) { QTest::keyClick(w, Qt::Key_Escape); });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
}

QTEST_MAIN(TestSliderDialog)
#include "tst_sliderdialog.moc"
