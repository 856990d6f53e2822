// SPDX-License-Identifier: MIT
#include <QDir>
#include <QElapsedTimer>
#include <QSplashScreen>
#include <QTest>

#include "app/splash.h"

class TestSplash : public QObject
{
    Q_OBJECT

private slots:
    void showsGrowingDots();
    void pluginPath();
};

void TestSplash::showsGrowingDots()
{
    QSplashScreen splash(QPixmap(":/data/splash.png"));
    splash.show();

    QStringList messages;
    QElapsedTimer clock;
    clock.start();
    run_splash_loop(&splash, [&](const QString& message) {
        // Every message is on the splash by the time it is reported.
        QCOMPARE(splash.message(), message);
        messages << message;
    });
    const qint64 elapsed = clock.elapsed();

    QStringList dots;
    for (int k = 0; k <= 20; ++k)
        dots << QString(k, QChar('.'));
    QCOMPARE(messages, dots);
    // The dot appended in the last round is never shown.
    QCOMPARE(splash.message(), QString(20, QChar('.')));
    QVERIFY2(elapsed >= 2500, qPrintable(QString::number(elapsed)));
}

void TestSplash::pluginPath()
{
    QDir parent(QCoreApplication::applicationDirPath());
    QVERIFY(parent.cdUp());
    const bool createdPlugins = !parent.exists("plugins") && parent.mkdir("plugins");

    const QString withPlugins = add_plugin_path();
    QCOMPARE(withPlugins, parent.absoluteFilePath("plugins"));
    QVERIFY(QCoreApplication::libraryPaths().contains(withPlugins));
    if (createdPlugins) { // without the directory the parent itself is added
        QVERIFY(parent.rmdir("plugins"));
        QCOMPARE(add_plugin_path(), parent.absolutePath());
        QVERIFY(QCoreApplication::libraryPaths().contains(parent.absolutePath()));
    }
}

QTEST_MAIN(TestSplash)
#include "tst_splash.moc"
