// SPDX-License-Identifier: MIT
// Peak memory of painting: 25 brush strokes on a 6000x4000 picture, which
// keeps 20 undo snapshots, must stay within 22 pictures' worth plus 10 %;
// after File > Close and deferred deletion the memory must be given back.
// The figures are printed beside the timing; "OVER" or "HELD" marks a fault.
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QEventLoop>
#include <QFile>
#include <QMouseEvent>
#include <QTimer>
#include <cstdio>
#include <random>

#include "app/mainwindow.h"
#include "bench.h"
#include "canvas/canvas.h"
#include "procmemory.h"

namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;
constexpr int kStrokes = 25;
constexpr int kMovesPerStroke = 12;

void send_mouse(Canvas* canvas, QEvent::Type type, const QPoint& at)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButtons held =
        type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(Qt::LeftButton);
    QMouseEvent event(type, QPointF(at), canvas->mapToGlobal(QPointF(at)), button, held,
                      Qt::NoModifier);
    QApplication::sendEvent(canvas, &event);
}

void strokes(Canvas* canvas)
{
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> x(0, canvas->width() - 1);
    std::uniform_int_distribution<int> y(0, canvas->height() - 1);
    for (int s = 0; s < kStrokes; ++s) {
        QPoint at(x(rng), y(rng));
        send_mouse(canvas, QEvent::MouseButtonPress, at);
        for (int m = 0; m < kMovesPerStroke; ++m) {
            at += QPoint(7, 3);
            send_mouse(canvas, QEvent::MouseMove, at);
        }
        send_mouse(canvas, QEvent::MouseButtonRelease, at);
        QCoreApplication::processEvents();
    }
}

void measure()
{
    static MainWindow* window = nullptr; // like the program's, never destroyed
    if (!window) {
        window = new MainWindow;
        window->resize(800, 500);
        window->show();
    }
    // Canvases of earlier cases prepare their next snapshot while the program
    // is idle; give them that time now, so that it is not counted here.
    QEventLoop idle;
    QTimer::singleShot(1000, &idle, &QEventLoop::quit);
    idle.exec();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const long baseline = procStatusKiB("VmRSS");
    resetPeakRss();

    window->setCanvas(new Canvas(bench_photo(kWidth, kHeight)));
    QCoreApplication::processEvents();
    Canvas* canvas = window->currentCanvas();
    for (QAction* action : window->toolActions()->actions())
        if (action->text() == "Brush")
            action->trigger();
    strokes(canvas);

    const double pictureMiB = double(kWidth) * kHeight * 4 / (1024.0 * 1024.0);
    const double peakMiB = (procStatusKiB("VmHWM") - baseline) / 1024.0;
    const double limitMiB = 22 * pictureMiB * 1.1;
    const int snapshots = canvas->undoCount();

    QMetaObject::invokeMethod(window, "fileClose");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    const double heldMiB = (procStatusKiB("VmRSS") - baseline) / 1024.0;
    // Anything near one picture still resident after Close is a leak.
    const double heldLimitMiB = pictureMiB / 2;

    std::printf("  memory: %d strokes, %d snapshots kept; peak %.0f MiB over the start "
                "(%.1f pictures; limit %.0f MiB) %s; after Close %.0f MiB held (limit %.0f) %s\n",
                kStrokes, snapshots, peakMiB, peakMiB / pictureMiB, limitMiB,
                peakMiB <= limitMiB ? "OK" : "OVER", heldMiB, heldLimitMiB,
                heldMiB <= heldLimitMiB ? "OK" : "HELD");
    std::fflush(stdout);
}

BenchRegistrar reg({
    {"memory: 25 brush strokes, then Close", QSize(kWidth, kHeight),
     [] { return std::function<void()>(measure); }, 1},
});

} // namespace
