// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "filters/bumpfilter.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

int bump_luminance(unsigned int pixel) { return {}; }
QImage bump_image(const QImage& source, const BumpTable& bump, int bumpWidth, int bumpHeight, int value, const FilterProgress& progress) { return {}; }
BumpFilter::BumpFilter(QWidget* parent) : Filter(parent) {}
bool BumpFilter::loadBump(const char* path) { return {}; }
void BumpFilter::run(Canvas* canvas, bool repeat) {}
