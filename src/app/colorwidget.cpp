// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "app/colorwidget.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

ColorWidget::ColorWidget(QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags) {}
ColorWidget::~ColorWidget() {}
void ColorWidget::setColor(const QColor& color) {}
QColor ColorWidget::color() const { return {}; }
