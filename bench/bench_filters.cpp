// SPDX-License-Identifier: MIT
#include <QBitmap>
#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QWidget>
#include <cstdio>
#include <memory>

#include "bench.h"
#include "canvas/canvas.h"
#include "filters/bumpfilter.h"
#include "filters/invertfilter.h"
#include "filters/zarnelatefilter.h"
#include "filters/zarnifyfilter.h"
#include "filters/zarnonimatefilter.h"

namespace {

const QSize kPhotoSize(6000, 4000);

const QImage& photo()
{
    static const QImage picture = bench_photo(kPhotoSize.width(), kPhotoSize.height());
    return picture;
}

// A main-window stand-in with a fresh canvas over the photo and the filter
// parented to the window, as the program builds them. Every repetition gets
// its own, so the undo history does not pile up snapshots of the photo.
template <typename F> struct FilterDesk
{
    QWidget window;
    Canvas* canvas = new Canvas(photo(), &window);
    F* filter = new F(&window);

    FilterDesk() { canvas->init(); }
};

// Filters > Last on the whole photo: no dialog, the progress dialog, the
// undo snapshot and the masked apply all included.
template <typename F> std::function<std::function<void()>()> repeat_run()
{
    return [] {
        auto desk = std::make_shared<FilterDesk<F>>();
        return [desk] { desk->filter->run(desk->canvas, true); };
    };
}

std::function<std::function<void()>()> pure_invert()
{
    return [] {
        auto copy = std::make_shared<QImage>(photo().copy());
        return [copy] { invert_pixels(*copy); };
    };
}

std::function<std::function<void()>()> pure_zarnify()
{
    return [] {
        auto copy = std::make_shared<QImage>(photo().copy());
        return [copy] { zarnify_image(*copy, 25); };
    };
}

std::function<std::function<void()>()> pure_bump()
{
    return [] {
        auto filter = std::make_shared<BumpFilter>(nullptr);
        return [filter] { bump_image(photo(), filter->slopes(), 64, 64, 50); };
    };
}

std::function<std::function<void()>()> pure_zarnonimate()
{
    return [] {
        auto filter = std::make_shared<ZarnonimateFilter>(nullptr);
        return [filter] { zarnonimate_image(photo(), filter->rowTables(), 128, 128); };
    };
}

std::function<std::function<void()>()> pure_zarnelate()
{
    return [] {
        auto shape = std::make_shared<QBitmap>(QStringLiteral(":/data/zarn_bitmap_small.png"));
        return [shape] { zarnelate_image(photo(), *shape, 16); };
    };
}

// Only a real ImageMagick counts: a stand-in of the same name may be installed.
// Asked through popen because the cases are registered before QApplication.
bool imagemagick_available()
{
    FILE* probe = popen("convert -version 2>/dev/null", "r");
    if (!probe)
        return false;
    QByteArray output;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, probe))
        output += buffer;
    pclose(probe);
    return output.contains("ImageMagick");
}

// ImageMagick's nearest equivalent on the same pixels, read and written as raw
// BGRA so that no image codec is timed; process start-up is included.
std::function<std::function<void()>()> imagemagick(const QStringList& operation)
{
    return [operation] {
        auto dir = std::make_shared<QTemporaryDir>();
        const QString input = dir->filePath(QStringLiteral("in.bgra"));
        QFile file(input);
        if (file.open(QIODevice::WriteOnly))
            file.write(reinterpret_cast<const char*>(photo().constBits()), photo().sizeInBytes());
        file.close();
        const QString size =
            QStringLiteral("%1x%2").arg(kPhotoSize.width()).arg(kPhotoSize.height());
        QStringList arguments = {QStringLiteral("-size"), size, QStringLiteral("-depth"),
                                 QStringLiteral("8"), QStringLiteral("bgra:") + input};
        arguments << operation << QStringLiteral("bgra:") + dir->filePath(QStringLiteral("out"));
        return [dir, arguments] {
            if (QProcess::execute(QStringLiteral("convert"), arguments) != 0)
                std::fprintf(stderr, "convert failed\n");
        };
    };
}

std::vector<BenchCase> filter_cases()
{
    std::vector<BenchCase> cases = {
        {"filter Zarnert run", kPhotoSize, repeat_run<InvertFilter>(), 5},
        {"filter Zarnify run (25)", kPhotoSize, repeat_run<ZarnifyFilter>(), 5},
        {"filter Zarnelure run (50)", kPhotoSize, repeat_run<BumpFilter>(), 5},
        {"filter Zarnonimate run", kPhotoSize, repeat_run<ZarnonimateFilter>(), 5},
        {"filter Zarnelate run (16)", kPhotoSize, repeat_run<ZarnelateFilter>(), 3},
        {"pixels invert_pixels", kPhotoSize, pure_invert(), 5},
        {"pixels zarnify_image (25)", kPhotoSize, pure_zarnify(), 5},
        {"pixels bump_image (50)", kPhotoSize, pure_bump(), 5},
        {"pixels zarnonimate_image", kPhotoSize, pure_zarnonimate(), 5},
        {"pixels zarnelate_image (16)", kPhotoSize, pure_zarnelate(), 3},
    };
    return cases;
}

const BenchRegistrar registrar(filter_cases());

std::vector<BenchCase> imagemagick_cases()
{
    if (!imagemagick_available()) {
        std::fprintf(stderr, "no ImageMagick convert: its comparison cases are left out\n");
        return {};
    }
    // Zarnify at 25 turns hues by 22.5 degrees (hue 112.5) and lifts
    // saturation and brightness; -modulate does the linear counterpart.
    return {
        {"imagemagick -negate", kPhotoSize, imagemagick({QStringLiteral("-negate")}), 3},
        {"imagemagick -modulate 110,130,112.5", kPhotoSize,
         imagemagick({QStringLiteral("-modulate"), QStringLiteral("110,130,112.5")}), 3},
    };
}

const BenchRegistrar imagemagickRegistrar(imagemagick_cases());

} // namespace
