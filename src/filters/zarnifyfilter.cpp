// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "filters/zarnifyfilter.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

QRgb zarnify_pixel(QRgb pixel, int value) { return {}; }
bool zarnify_image(QImage& image, int value, const FilterProgress& progress) { return {}; }
ZarnifyFilter::ZarnifyFilter(QWidget* parent) : Filter(parent) {}
void ZarnifyFilter::run(Canvas* canvas, bool repeat) {}
