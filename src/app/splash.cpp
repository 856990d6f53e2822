// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "app/splash.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

void run_splash_loop(QSplashScreen* splash, const std::function<void(const QString&)>& onMessage) {}
QString add_plugin_path() { return {}; }
