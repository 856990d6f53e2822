// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "tools/magicwandtool.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

int pixel_diff(unsigned int a, unsigned int b) { return {}; }
void flood_fill(unsigned int seed, int tolerance, unsigned char* queued, unsigned char* selected, const std::vector<unsigned int*>& rows, std::queue<QPoint>& queue, int width, int height) {}
void MagicWandTool::mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos, Qt::MouseButton button, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {}
void MagicWandTool::keyPressEvent(int key, const QString& text, Qt::KeyboardModifiers modifiers) {}
void MagicWandTool::activeEvent(bool active) {}
void MagicWandTool::paintEvent(QPainter* painter) {}
