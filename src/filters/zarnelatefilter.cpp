// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "filters/zarnelatefilter.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

int zarnelate_stamp_count(int width, int height, int size) { return {}; }
QImage zarnelate_image(const QImage& source, const QBitmap& bitmap, int size, const FilterProgress& progress) { return {}; }
ZarnelateFilter::ZarnelateFilter(QWidget* parent) : Filter(parent) {}
void ZarnelateFilter::run(Canvas* canvas, bool repeat) {}
