// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "app/mainwindow.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

MainWindow::MainWindow(QWidget* parent, Qt::WindowFlags flags) : QMainWindow(parent, flags) {}
MainWindow::~MainWindow() {}
void MainWindow::setCanvas(Canvas* canvas) {}
void MainWindow::setStatus(const QString& text) {}
QColor MainWindow::drawColor() const { return {}; }
void MainWindow::setDrawColor(const QColor& color) {}
void MainWindow::setAllEnabled(bool enabled) {}
void MainWindow::setFilename(const QString& name) {}
bool MainWindow::save() { return {}; }
void MainWindow::runFilter(Filter* filter) {}
void MainWindow::invertFilter() {}
void MainWindow::zarnelateFilter() {}
void MainWindow::zarnifyFilter() {}
void MainWindow::zarnonimateFilter() {}
void MainWindow::bumpFilter() {}
void MainWindow::editUndo() {}
void MainWindow::editRedo() {}
void MainWindow::editSelectAll() {}
void MainWindow::editClearSelection() {}
void MainWindow::editInvertSelection() {}
void MainWindow::fileNew() {}
void MainWindow::fileClose() {}
void MainWindow::fileSave() {}
void MainWindow::fileOpen() {}
void MainWindow::fileQuit() {}
void MainWindow::helpAbout() {}
void MainWindow::newCanvasDone() {}
void MainWindow::filterPrevious() {}
void MainWindow::mousePressEvent(QMouseEvent* e) {}
void MainWindow::mouseReleaseEvent(QMouseEvent* e) {}
void MainWindow::mouseMoveEvent(QMouseEvent* e) {}
void MainWindow::keyPressEvent(QKeyEvent* e) {}
void MainWindow::keyReleaseEvent(QKeyEvent* e) {}
void MainWindow::initToolBar() {}
void MainWindow::initMenu() {}
void MainWindow::initColorDock() {}
void MainWindow::addMenuItem(QMenu* menu, const QString& label, const QString& shortcut, const char* slot) {}
void MainWindow::addTool(QToolBar* toolBar, QActionGroup* group, const QString& name, const QIcon& icon, const QString& key, Tool* tool) {}
