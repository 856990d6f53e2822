// SPDX-License-Identifier: MIT
#include <QColorDialog>
#include <QHBoxLayout>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include "app/colorwidget.h"
#include "support/modal.h"

namespace {

// Closes any modal dialog that shows up while it lives, and remembers that
// one did; for clicks that must not open a dialog at all.
class ModalGuard
{
public:
    ModalGuard()
    {
        timer.setInterval(0);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            if (QWidget* w = QApplication::activeModalWidget()) {
                opened = true;
                w->close();
            }
        });
        timer.start();
    }

    QTimer timer;
    bool opened = false;
};

} // namespace

class TestColorWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }
    void startsDarkGreenAndSmall();
    void setColorAlwaysEmitsAndPaints();
    void leftClickPicksColour();
    void otherButtonsDoNothing();
};

void TestColorWidget::startsDarkGreenAndSmall()
{
    QWidget host;
    auto* layout = new QHBoxLayout(&host);
    auto* swatch = new ColorWidget;
    layout->addWidget(swatch);
    host.resize(400, 300);
    host.show();
    QVERIFY(QTest::qWaitForWindowExposed(&host));

    QCOMPARE(swatch->color(), QColor(0, 128, 0));
    QCOMPARE(swatch->color().alpha(), 255);
    QVERIFY(swatch->width() <= 64);
    QVERIFY(swatch->height() <= 64);
    QCOMPARE(swatch->minimumSize(), QSize(0, 0));
}

void TestColorWidget::setColorAlwaysEmitsAndPaints()
{
    ColorWidget swatch;
    swatch.resize(40, 30);
    QSignalSpy spy(&swatch, &ColorWidget::colorChanged);

    swatch.setColor(QColor(0, 128, 0));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).value<QColor>(), QColor(0, 128, 0));

    const QColor semiRed(200, 10, 20, 255);
    swatch.setColor(semiRed);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(swatch.color(), semiRed);

    // The whole rectangle, corners included, carries the colour.
    const QImage shot = swatch.grab().toImage();
    for (const QPoint& p :
         {QPoint(0, 0), QPoint(39, 0), QPoint(0, 29), QPoint(39, 29), QPoint(20, 15)})
        QCOMPARE(QColor(shot.pixel(p)), semiRed);
}

void TestColorWidget::leftClickPicksColour()
{
    ColorWidget swatch;
    swatch.resize(32, 32);
    swatch.show();
    QVERIFY(QTest::qWaitForWindowExposed(&swatch));
    QSignalSpy spy(&swatch, &ColorWidget::colorChanged);

    QString title;
    QColor shown;
    whenModal([&](QWidget* w) {
        auto* dialog = qobject_cast<QColorDialog*>(w);
        if (!dialog) {
            w->close();
            return;
        }
        title = dialog->windowTitle();
        shown = dialog->currentColor();
        dialog->setCurrentColor(QColor(10, 20, 30));
        dialog->accept();
    });
    QTest::mouseClick(&swatch, Qt::LeftButton);
    QCOMPARE(title, QString("Select Color"));
    QCOMPARE(shown, QColor(0, 128, 0));
    QCOMPARE(swatch.color(), QColor(10, 20, 30));
    QCOMPARE(spy.count(), 1);

    whenModal([](QWidget* w) {
        if (auto* dialog = qobject_cast<QColorDialog*>(w))
            dialog->setCurrentColor(Qt::yellow);
        w->close();
    });
    QTest::mouseClick(&swatch, Qt::LeftButton);
    QCOMPARE(swatch.color(), QColor(10, 20, 30));
    QCOMPARE(spy.count(), 1);
}

void TestColorWidget::otherButtonsDoNothing()
{
    ColorWidget swatch;
    swatch.resize(32, 32);
    swatch.show();
    QVERIFY(QTest::qWaitForWindowExposed(&swatch));
    QSignalSpy spy(&swatch, &ColorWidget::colorChanged);

    ModalGuard guard;
    QTest::mouseClick(&swatch, Qt::RightButton);
    QTest::mouseClick(&swatch, Qt::MiddleButton);
    QCoreApplication::processEvents();
    QVERIFY(!guard.opened);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(swatch.color(), QColor(0, 128, 0));
}

QTEST_MAIN(TestColorWidget)
#include "tst_colorwidget.moc"
