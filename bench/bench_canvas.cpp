// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QBitmap>
#include <QEventLoop>
#include <QPainter>
#include <QTimer>
#include <cstdio>

#include "bench.h"
#include "canvas/canvas.h"
#include "canvas/edgedetect.h"

namespace {

const QSize kPhotoSize(6000, 4000);
const QSize kWidgetSize(1920, 1080);

const QImage& photo()
{
    static const QImage picture = bench_photo(kPhotoSize.width(), kPhotoSize.height());
    return picture;
}

// One shown canvas over the photo, shared by the cases: building it costs
// more than anything measured here.
Canvas& shared_canvas()
{
    // Never destroyed: a widget must not outlive the application object,
    // and a static one would be destroyed after it.
    static Canvas* canvas = nullptr;
    if (!canvas) {
        canvas = new Canvas(photo());
        canvas->resize(kWidgetSize);
        canvas->init();
        // Shown, so that rendering sends no resize events (which would mark
        // the outline for rebuilding).
        canvas->show();
        QCoreApplication::processEvents();
    }
    return *canvas;
}

void select_all(Canvas& canvas)
{
    canvas.mask().fill(Qt::color1);
    canvas.updateMaskStuff();
}

// The canvas at the given magnification, with everything selected and the
// outline already built, so the timed paint only repaints.
std::function<void()> repaint_at(double magnification)
{
    Canvas& canvas = shared_canvas();
    canvas.resetView();
    canvas.zoom(magnification);
    select_all(canvas);
    auto target = std::make_shared<QImage>(kWidgetSize, QImage::Format_ARGB32_Premultiplied);
    canvas.render(target.get());
    const qint64 outlineKey = canvas.outlineBitmap().cacheKey();
    return [&canvas, target, outlineKey] {
        canvas.render(target.get());
        if (canvas.outlineBitmap().cacheKey() != outlineKey)
            std::fprintf(stderr, "outline was rebuilt during a plain repaint\n");
    };
}

// Select All (or a zoom step) followed by the paint that rebuilds the
// outline and repaints.
std::function<void()> rebuild_at(double magnification, bool newMask)
{
    Canvas& canvas = shared_canvas();
    canvas.resetView();
    canvas.zoom(magnification);
    auto target = std::make_shared<QImage>(kWidgetSize, QImage::Format_ARGB32_Premultiplied);
    canvas.render(target.get());
    if (newMask)
        select_all(canvas);
    else
        canvas.translate(1, 1);
    return [&canvas, target] { canvas.render(target.get()); };
}

std::function<void()> empty_mask_scan()
{
    Canvas& canvas = shared_canvas();
    canvas.clearMask();
    canvas.updateMaskStuff(); // forget the cached answer
    return [&canvas] {
        if (!canvas.isMaskEmpty())
            std::fprintf(stderr, "mask should be empty\n");
    };
}

std::function<void()> edges_of_widget_sized_bitmap()
{
    static const QBitmap bitmap = [] {
        QBitmap b(kWidgetSize);
        b.fill(Qt::color0);
        QPainter painter(&b);
        painter.setPen(Qt::color1);
        painter.setBrush(Qt::color1);
        painter.drawEllipse(100, 100, 1500, 800);
        for (int i = 0; i < 20000; ++i)
            painter.drawPoint((i * 7919) % kWidgetSize.width(),
                              (i * 104729) % kWidgetSize.height());
        return b;
    }();
    return [] { find_edges(bitmap); };
}

void snapshot_and_stamp(Canvas& canvas)
{
    canvas.undoSnapshot();
    QPainter painter(&canvas.image());
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::darkGreen);
    painter.drawEllipse(3000, 2000, 64, 64);
}

std::function<void()> snapshot_then_first_write()
{
    Canvas& canvas = shared_canvas();
    canvas.clearMask();
    canvas.image().setPixel(0, 0, 0xFF000000u); // the document owns its pixels
    return [&canvas] { snapshot_and_stamp(canvas); };
}

// A stroke that starts a second after the previous change, the program having
// spent that second in its event loop, as it does between two strokes.
std::function<void()> snapshot_after_idle_second()
{
    Canvas& canvas = shared_canvas();
    canvas.clearMask();
    snapshot_and_stamp(canvas);
    QEventLoop idle;
    QTimer::singleShot(1000, &idle, &QEventLoop::quit);
    idle.exec();
    return [&canvas] { snapshot_and_stamp(canvas); };
}

const BenchRegistrar reg({
    {"canvas repaint, magnification 1", kWidgetSize, [] { return repaint_at(1); }, 9},
    {"canvas repaint, magnification 1/4", kWidgetSize, [] { return repaint_at(0.25); }, 9},
    {"canvas repaint, magnification 4", kWidgetSize, [] { return repaint_at(4); }, 9},
    {"outline rebuild + repaint, Select All", kWidgetSize, [] { return rebuild_at(1, true); }, 5},
    {"outline rebuild + repaint, Select All 1/4", kWidgetSize,
     [] { return rebuild_at(0.25, true); }, 5},
    {"outline rebuild + repaint, pan at 4", kWidgetSize, [] { return rebuild_at(4, false); }, 5},
    {"isMaskEmpty, empty 6000x4000 mask", kPhotoSize, empty_mask_scan, 9},
    {"find_edges, noisy bitmap", kWidgetSize, edges_of_widget_sized_bitmap, 9},
    {"undoSnapshot + first brush write", kPhotoSize, snapshot_then_first_write, 5},
    {"stroke 1 s after the last change", kPhotoSize, snapshot_after_idle_second, 5},
});

} // namespace
