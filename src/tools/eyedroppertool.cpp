// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "tools/eyedroppertool.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

void EyeDropperTool::mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void EyeDropperTool::activeEvent(bool active) {}
