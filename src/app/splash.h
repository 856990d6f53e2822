// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <functional>

class QSplashScreen;

// The fixed start-up pause: 100 rounds of 25 ms, showing a growing row of dots
// in rounds divisible by 7 or 13; user input meanwhile is dropped. Every
// message shown is also handed to onMessage when given, so the sequence can be
// observed.
void run_splash_loop(QSplashScreen* splash,
                     const std::function<void(const QString&)>& onMessage = {});

// Adds "plugins" one level above the executable's directory (or that parent
// itself when "plugins" is missing) to the library path; returns the path added.
QString add_plugin_path();
