// SPDX-License-Identifier: MIT
#include <QColorDialog>
#include <QHBoxLayout>
#include <QSignalSpy>
#include <QTest>

#include "app/colorwidget.h"
#include "support/modal.h"

class TestColorWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }
    void startAndSetColor();
    void onlyLeftClickPicks();
};

void TestColorWidget::startAndSetColor()
{
    QWidget host; // a roomy dock: the swatch still stays small
    auto* swatch = new ColorWidget;
    (new QHBoxLayout(&host))->addWidget(swatch);
    host.resize(400, 300);
    host.show();
    QVERIFY(QTest::qWaitForWindowExposed(&host));
    QCOMPARE(swatch->color(), QColor(0, 128, 0, 255));
    QVERIFY(swatch->width() <= 64 && swatch->height() <= 64);

    QSignalSpy spy(swatch, &ColorWidget::colorChanged);
    swatch->setColor(QColor(0, 128, 0)); // the same colour still counts
    QCOMPARE(spy.count(), 1);
    swatch->setColor(QColor(200, 10, 20));
    const QImage shot = swatch->grab().toImage();
    QCOMPARE(QColor(shot.pixel(0, 0)), QColor(200, 10, 20));
    QCOMPARE(QColor(shot.pixel(shot.width() - 1, shot.height() - 1)), QColor(200, 10, 20));
}

void TestColorWidget::onlyLeftClickPicks()
{
    ColorWidget swatch;
    swatch.resize(32, 32);
    swatch.show();
    QVERIFY(QTest::qWaitForWindowExposed(&swatch));
    QSignalSpy spy(&swatch, &ColorWidget::colorChanged);
    // Notes the dialog's title and starting colour, then picks (or, given
    // an invalid colour, cancels).
    QStringList seen;
    auto answer = [&seen](const QColor& pick) {
        return [&seen, pick](QWidget* w) {
            auto* dialog = qobject_cast<QColorDialog*>(w);
            seen << w->windowTitle() + " " + (dialog ? dialog->currentColor().name() : "?");
            if (dialog && pick.isValid()) {
                dialog->setCurrentColor(pick);
                dialog->accept();
            }
            w->close();
        };
    };
    whenModal(answer(QColor(10, 20, 30)));
    QTest::mouseClick(&swatch, Qt::LeftButton);
    whenModal(answer(QColor()));
    QTest::mouseClick(&swatch, Qt::LeftButton);
    QCOMPARE(seen, QStringList({"Select Color #008000", "Select Color #0a141e"}));
    QCOMPARE(swatch.color(), QColor(10, 20, 30));
    QCOMPARE(spy.count(), 1);

    // A dialog here would block the click until the driver closed it.
    whenModal(answer(Qt::yellow), 5);
    QTest::mouseClick(&swatch, Qt::RightButton);
    QTest::mouseClick(&swatch, Qt::MiddleButton);
    for (int round = 0; round < 10; ++round)
        QCoreApplication::processEvents(); // let the unused driver run out
    QCOMPARE(seen.size(), 2);
    QCOMPARE(swatch.color(), QColor(10, 20, 30));
}

QTEST_MAIN(TestColorWidget)
#include "tst_colorwidget.moc"
