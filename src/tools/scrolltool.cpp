// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "tools/scrolltool.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

void ScrollTool::mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void ScrollTool::mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void ScrollTool::mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void ScrollTool::activeEvent(bool active) {}
