// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "tools/brushtool.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

QImage create_brush(const QBitmap& shape, const QColor& color, int size) { return {}; }
BrushTool::BrushTool() {}
void BrushTool::mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void BrushTool::mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void BrushTool::mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void BrushTool::keyPressEvent(int key, const QString& text, Qt::KeyboardModifiers modifiers) {}
void BrushTool::activeEvent(bool active) {}
void BrushTool::paintEvent(QPainter* painter) {}
void BrushTool::draw(const QPointF& p) {}
void BrushTool::resize(int steps) {}
void BrushTool::setOpacity(int percent) {}
