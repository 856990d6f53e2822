// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "tools/lassotool.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

LassoTool::LassoTool() {}
void LassoTool::mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void LassoTool::mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void LassoTool::mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void LassoTool::activeEvent(bool active) {}
void LassoTool::paintEvent(QPainter* painter) {}
