// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "app/sliderdialog.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

SliderDialog::SliderDialog(const QString& title, const QString& label, int value, int min, int max, QWidget* parent, Qt::WindowFlags flags) : QDialog(parent, flags) {}
SliderDialog::~SliderDialog() {}
void SliderDialog::build(const QString& title, const QString& label, int value, int min, int max) {}
int SliderDialog::value() const { return {}; }
