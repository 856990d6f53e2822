// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "tools/marqueetool.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

void MarqueeTool::mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void MarqueeTool::mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void MarqueeTool::mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void MarqueeTool::activeEvent(bool active) {}
void MarqueeTool::paintEvent(QPainter* painter) {}
