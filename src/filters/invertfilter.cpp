// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "filters/invertfilter.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

void invert_pixels(QImage& image) {}
InvertFilter::InvertFilter(QWidget* parent) : Filter(parent) {}
void InvertFilter::run(Canvas* canvas, bool repeat) {}
