// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "app/imagefile.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

QImage load_image_file(const QString& path) { return {}; }
bool save_image_file(const QImage& image, const QString& path) { return {}; }
