// SPDX-License-Identifier: MIT
#include "app/splash.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QSplashScreen>
#include <QThread>

namespace {

constexpr int kSplashRounds = 100;
constexpr unsigned long kSplashRoundMs = 25;

bool shows_message(int round)
{
    return round % 7 == 0 || round % 13 == 0;
}

// Qt 6's showMessage processes pending events, so a click on the splash would
// hide it early. The pause is meant to block, so input that arrives meanwhile
// is dropped rather than acted on.
class InputSwallower : public QObject
{
public:
    InputSwallower() { QCoreApplication::instance()->installEventFilter(this); }
    ~InputSwallower() override { QCoreApplication::instance()->removeEventFilter(this); }
    InputSwallower(const InputSwallower&) = delete;
    InputSwallower& operator=(const InputSwallower&) = delete;

protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override { return event->isInputEvent(); }
};

} // namespace

void run_splash_loop(QSplashScreen* splash, const std::function<void(const QString&)>& onMessage)
{
    const InputSwallower noInput;
    QString message;
    for (int round = 0; round < kSplashRounds; ++round) {
        QThread::msleep(kSplashRoundMs);
        if (!shows_message(round))
            continue;
        splash->showMessage(message, Qt::AlignLeft, Qt::white);
        if (onMessage)
            onMessage(message);
        message += ".";
    }
}

QString add_plugin_path()
{
    // A failed step leaves the directory where it was, so a missing
    // "plugins" falls back to the parent of the executable's directory.
    QDir dir(QCoreApplication::applicationDirPath());
    dir.cdUp();
    dir.cd("plugins");
    const QString path = dir.absolutePath();
    QCoreApplication::addLibraryPath(path);
    return path;
}
