// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QPointF>
#include <Qt>

class Canvas;
class MainWindow;
class QPainter;
class QString;

// The image pixel under an image position: halves round upward on both sides
// of zero, so x = -0.5 still hits column 0 (qRound would send it to -1).
// False when the position lies beyond any int.
bool nearest_pixel(const QPointF& p, QPoint* pixel);

// An interactive tool. The canvas routes its mouse and key input to the tool
// on top of its tool stack, in widget and image coordinates at once, and lets
// it draw a preview over the image in every repaint.
class Tool
{
public:
    Tool() = default;
    virtual ~Tool();

    virtual void mousePressEvent(const QPoint& widgetPos, const QPointF& imagePos,
                                 Qt::MouseButton button, Qt::MouseButtons buttons,
                                 Qt::KeyboardModifiers modifiers);
    virtual void mouseReleaseEvent(const QPoint& widgetPos, const QPointF& imagePos,
                                   Qt::MouseButton button, Qt::MouseButtons buttons,
                                   Qt::KeyboardModifiers modifiers);
    virtual void mouseMoveEvent(const QPoint& widgetPos, const QPointF& imagePos,
                                Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers);
    virtual void keyPressEvent(int key, const QString& text, Qt::KeyboardModifiers modifiers);
    virtual void keyReleaseEvent(int key, const QString& text, Qt::KeyboardModifiers modifiers);
    virtual void activeEvent(bool active);
    virtual void paintEvent(QPainter* painter);

    void setMainWindow(MainWindow* mainWindow);
    void setActive(Canvas* canvas);
    void setInactive();
    void setMousePos(const QPoint& widgetPos, const QPointF& imagePos);

    // Read access for the canvas and for tests.
    Canvas* activeCanvas() const { return canvas; }
    QPoint lastWidgetPos() const { return widgetPos; }
    QPointF lastImagePos() const { return imagePos; }

protected:
    MainWindow* mainWindow = nullptr;
    Canvas* canvas = nullptr;
    QPoint widgetPos;
    QPointF imagePos;

private:
    Q_DISABLE_COPY(Tool)
};
