// SPDX-License-Identifier: MIT
#pragma once

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QBitmap>
#include <QMouseEvent>
#include <QPainter>
#include <QStatusBar>
#include <QTest>
#include <functional>

#include "app/mainwindow.h"
#include "canvas/canvas.h"
#include "tools/tool.h"

inline QImage filled(int width, int height, QRgb color)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

// A shown main window with a canvas on the picture at a 1:1 view and the tool
// picked through the tool bar. Gestures take image points and go through the
// canvas's own mouse and key handlers.
class ToolHarness
{
public:
    ToolHarness(const QImage& picture, const QString& label)
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        window.resize(900, 700);
        window.show();
        canvas = new Canvas(picture);
        window.setCanvas(canvas);
        canvas->resetView();
        pick(label);
    }

    void pick(const QString& label)
    {
        for (QAction* action : window.toolActions()->actions())
            if (action->text() == label)
                action->trigger();
        tool = window.registeredTool(label);
    }

    // Sent straight to the canvas: QTest::mouseMove goes by way of the cursor
    // position, which the offscreen platform misplaces.
    void mouse(QEvent::Type type, const QPoint& pos, Qt::MouseButton b = Qt::NoButton,
               Qt::KeyboardModifiers mods = {})
    {
        if (type == QEvent::MouseButtonPress)
            held |= b;
        if (type == QEvent::MouseButtonRelease)
            held &= ~b;
        QMouseEvent event(type, pos, canvas->mapToGlobal(pos), b, held, mods);
        QApplication::sendEvent(canvas, &event);
    }
    QPoint at(int x, int y) const { return canvas->imageToWidget(x, y).toPoint(); }
    void press(int x, int y, Qt::KeyboardModifiers mods = {}, Qt::MouseButton b = Qt::LeftButton)
    {
        mouse(QEvent::MouseButtonPress, at(x, y), b, mods);
    }
    void move(int x, int y) { mouse(QEvent::MouseMove, at(x, y)); }
    void release(int x, int y, Qt::MouseButton b = Qt::LeftButton)
    {
        mouse(QEvent::MouseButtonRelease, at(x, y), b);
    }
    void drag(const QList<QPoint>& path, Qt::KeyboardModifiers mods = {})
    {
        press(path.first().x(), path.first().y(), mods);
        for (const QPoint& p : path.mid(1))
            move(p.x(), p.y());
        release(path.last().x(), path.last().y());
    }
    void type(const QString& text, int times = 1)
    {
        for (int i = 0; i < times; ++i)
            QTest::keyClicks(canvas, text);
    }

    QString status() const { return window.statusBar()->currentMessage(); }
    bool isSelected(int x, int y) const { return canvas->mask().toImage().pixelIndex(x, y) == 1; }

    // How many pixels of the mask disagree with the expected selection.
    int maskMismatches(const std::function<bool(int, int)>& expected) const
    {
        const QImage bits = canvas->mask().toImage();
        int wrong = 0;
        for (int y = 0; y < bits.height(); ++y)
            for (int x = 0; x < bits.width(); ++x)
                wrong += (bits.pixelIndex(x, y) == 1) != expected(x, y);
        return wrong;
    }

    void selectRect(const QRect& rect)
    {
        canvas->mask().fill(Qt::color0);
        QPainter(&canvas->mask()).fillRect(rect, Qt::color1);
        canvas->updateMaskStuff();
    }

    // The tool's preview alone, over black, at scale screen pixels per image pixel.
    QImage preview(int width, int height, qreal scale = 1) const
    {
        QImage screen = filled(width, height, 0xff000000);
        QPainter painter(&screen);
        painter.scale(scale, scale);
        tool->paintEvent(&painter);
        painter.end();
        return screen;
    }

    MainWindow window;
    Canvas* canvas = nullptr;
    Tool* tool = nullptr;

private:
    Qt::MouseButtons held;
};
