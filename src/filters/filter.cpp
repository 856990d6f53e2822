// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "filters/filter.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

Filter::Filter(QWidget* parent) : QObject(parent) {}
Filter::~Filter() {}
QWidget* Filter::dialogParent() const { return {}; }
std::unique_ptr<QProgressDialog> Filter::createProgress(const QString& label, int maximum) const { return {}; }
FilterProgress Filter::pollProgress(QProgressDialog* dialog) { return {}; }
