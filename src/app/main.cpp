// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QPixmap>
#include <QSplashScreen>

#include "app/mainwindow.h"
#include "app/splash.h"

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    add_plugin_path();

    QPixmap splashPicture(":/data/splash.png");
    QSplashScreen splash(splashPicture);
    splash.show();
    QCoreApplication::processEvents();

    // The window lives until the process ends; it is deliberately never
    // deleted, so nothing of it runs after the application object is gone.
    auto* window = new MainWindow(nullptr, {});
    window->resize(800, 500);

    run_splash_loop(&splash);
    // Not finish(): on Qt 6 it waits up to a second for the window, which is
    // not shown yet. The splash goes at once, then the window appears.
    splash.close();
    window->show();
    // Qt has already taken its own options (-platform, -style, ...) out.
    window->openFirstOf(QCoreApplication::arguments().mid(1));
    return app.exec();
}
