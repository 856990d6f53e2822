// SPDX-License-Identifier: MIT
#include <QBitmap>
#include <QImage>
#include <QRandomGenerator>
#include <cstdio>
#include <map>

#include "app/mainwindow.h"
#include "bench.h"
#include "canvas/canvas.h"
#include "tools/brushtool.h"
#include "tools/magicwandtool.h"

namespace {

const QSize kPhotoSize(6000, 4000);
const QPointF kMiddle(3000.3, 2000.7);

// Left half noise around one grey, right half noise around a green that is
// far outside the default tolerance: the wand fills exactly the left half.
QImage noisy_halves()
{
    QImage image(kPhotoSize, QImage::Format_ARGB32_Premultiplied);
    QRandomGenerator random(42);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int n = int(random.bounded(17u)) - 8;
            line[x] = x < image.width() / 2 ? qRgb(128 + n, 128 - n, 128 + n)
                                            : qRgb(30 + n, 200 + n, 30 - n);
        }
    }
    return image;
}

// Every pixel an independent random colour: at tolerance 300 about three in
// five join, so the region is a sponge of short runs and single pixels.
QImage colour_noise()
{
    QImage image(kPhotoSize, QImage::Format_ARGB32_Premultiplied);
    QRandomGenerator random(5);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            line[x] = 0xff000000u | (random.generate() & 0x00ffffffu);
    }
    return image;
}

QBitmap noisy_mask()
{
    QImage bits(kPhotoSize, QImage::Format_MonoLSB);
    QRandomGenerator random(7);
    for (int y = 0; y < bits.height(); ++y) {
        uchar* line = bits.scanLine(y);
        for (int i = 0; i < bits.bytesPerLine(); ++i)
            line[i] = uchar(random.bounded(256u));
    }
    return QBitmap::fromImage(bits);
}

MainWindow& window()
{
    // Deliberately never destroyed: the tools live as long as the program.
    static MainWindow* main = new MainWindow;
    return *main;
}

// One canvas per picture, kept across cases; the tool is moved onto it.
Canvas& canvas_with(const char* name, QImage (*make)(), Tool* tool)
{
    static std::map<std::string, Canvas*> canvases;
    Canvas*& canvas = canvases[name];
    if (!canvas) {
        canvas = new Canvas(make());
        canvas->resize(1200, 800);
        canvas->init();
        canvas->resetView();
    }
    for (auto& entry : canvases)
        while (entry.second->hasTool())
            entry.second->popTool();
    canvas->pushTool(tool);
    return *canvas;
}

QImage photo()
{
    return bench_photo(kPhotoSize.width(), kPhotoSize.height());
}

std::function<void()> wand_click(const char* name, QImage (*make)(), int tolerance, QPointF at)
{
    auto* wand = static_cast<MagicWandTool*>(window().registeredTool("Magic Wand"));
    while (wand->currentTolerance() < tolerance)
        wand->keyPressEvent(0, "]", {});
    while (wand->currentTolerance() > tolerance)
        wand->keyPressEvent(0, "[", {});
    canvas_with(name, make, wand);
    return [wand, at] { wand->mousePressEvent(QPoint(), at, Qt::LeftButton, Qt::LeftButton, {}); };
}

std::function<void()> brush_stamp(int size, bool noisySelection)
{
    auto* brush = static_cast<BrushTool*>(window().registeredTool("Brush"));
    brush->resize(-1000);
    while (brush->brushSize() < size)
        brush->resize(1);
    if (brush->brushSize() != size)
        std::fprintf(stderr, "brush size %d, wanted %d\n", brush->brushSize(), size);
    Canvas& canvas = canvas_with("photo", photo, brush);
    static const QBitmap noise = noisy_mask();
    canvas.mask() = noisySelection ? noise : QBitmap(canvas.mask().size());
    if (!noisySelection)
        canvas.mask().fill(Qt::color0);
    canvas.updateMaskStuff();
    brush->draw(kMiddle); // the document owns its pixels before the timed stamp
    return [brush] { brush->mouseMoveEvent(QPoint(), kMiddle, Qt::LeftButton, {}); };
}

const BenchRegistrar reg({
    {"wand, whole photo, tolerance 765", kPhotoSize,
     [] { return wand_click("photo", photo, 765, kMiddle); }, 5},
    {"wand, noisy left half, tolerance 64", kPhotoSize,
     [] { return wand_click("halves", noisy_halves, 64, QPointF(1000, 2000)); }, 5},
    {"wand, colour noise, tolerance 300", kPhotoSize,
     [] { return wand_click("noise", colour_noise, 300, kMiddle); }, 3},
    {"brush stamp, size 15", kPhotoSize, [] { return brush_stamp(15, false); }, 9},
    {"brush stamp, size 256", kPhotoSize, [] { return brush_stamp(256, false); }, 9},
    {"brush stamp, size 15, noisy selection", kPhotoSize, [] { return brush_stamp(15, true); }, 9},
    {"brush stamp, size 256, noisy selection", kPhotoSize, [] { return brush_stamp(256, true); },
     9},
});

} // namespace
