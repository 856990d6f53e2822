// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "canvas/canvas.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

Canvas::Canvas(QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags) {}
Canvas::Canvas(const QImage& image, QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags) {}
Canvas::~Canvas() {}
bool Canvas::init() { return {}; }
QImage& Canvas::image() { static std::remove_const_t<std::remove_reference_t<QImage&>> x; return x; }
QBitmap& Canvas::mask() { static std::remove_const_t<std::remove_reference_t<QBitmap&>> x; return x; }
bool Canvas::isMaskEmpty() const { return {}; }
void Canvas::clearMask() {}
void Canvas::invertMask() {}
void Canvas::updateMaskStuff() {}
bool Canvas::isChanged() const { return {}; }
void Canvas::setChanged(bool value) {}
void Canvas::undoSnapshot() {}
void Canvas::undo() {}
void Canvas::redo() {}
void Canvas::applyImageWithMask(const QImage& image) {}
const QRegion& Canvas::maskRegion() const { static std::remove_const_t<std::remove_reference_t<const QRegion&>> x; return x; }
QPointF Canvas::widgetToImage(const QPoint& p) const { return {}; }
QPointF Canvas::widgetToImage(int x, int y) const { return {}; }
QPointF Canvas::imageToWidget(const QPoint& p) const { return {}; }
QPointF Canvas::imageToWidget(int x, int y) const { return {}; }
QPointF Canvas::center() const { return {}; }
void Canvas::setCenter(const QPointF& c) {}
void Canvas::translate(double dx, double dy) {}
void Canvas::translate(const QPointF& d) {}
void Canvas::zoom(double factor) {}
void Canvas::resetView() {}
double Canvas::screenToImage(double d) { return {}; }
QRect Canvas::inverseView() const { return {}; }
void Canvas::updateAll() {}
void Canvas::keyPressEvent(QKeyEvent* e) {}
void Canvas::keyReleaseEvent(QKeyEvent* e) {}
void Canvas::pushTool(Tool* tool) {}
void Canvas::popTool() {}
bool Canvas::hasTool() const { return {}; }
Tool* Canvas::tool() const { return {}; }
void Canvas::updateMousePos() {}
void Canvas::pushCursor(const QCursor& cursor) {}
void Canvas::popCursor() {}
void Canvas::paintEvent(QPaintEvent* e) {}
void Canvas::resizeEvent(QResizeEvent* e) {}
void Canvas::mousePressEvent(QMouseEvent* e) {}
void Canvas::mouseReleaseEvent(QMouseEvent* e) {}
void Canvas::mouseMoveEvent(QMouseEvent* e) {}
void Canvas::viewChanged() {}
void Canvas::rebuildOutline() {}
void Canvas::maskChanged() {}
