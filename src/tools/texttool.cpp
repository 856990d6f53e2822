// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "tools/texttool.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

TextTool::TextTool() {}
void TextTool::mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void TextTool::keyPressEvent(int key, const QString& text, Qt::KeyboardModifiers modifiers) {}
void TextTool::activeEvent(bool active) {}
void TextTool::paintEvent(QPainter* painter) {}
void TextTool::draw(QPainter* painter, const QPointF& p, double opacity, const QColor& color) {}
void TextTool::draw(const QPointF& p) {}
void TextTool::resize(int steps) {}
void TextTool::setOpacity(int percent) {}
