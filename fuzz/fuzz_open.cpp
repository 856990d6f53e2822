// SPDX-License-Identifier: MIT
// libFuzzer entry point: any bytes through the Open path, then the document
// they make through painting, the selection outline and a filter.
#include <QApplication>
#include <QTemporaryFile>
#include <cstdint>
#include <cstdlib>

#include "app/imagefile.h"
#include "canvas/canvas.h"
#include "filters/invertfilter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char* argv[] = {const_cast<char*>("fuzz_open"), nullptr};
    static QApplication app(argc, argv);
    static QWidget window;
    static InvertFilter invert(&window);

    QTemporaryFile file;
    if (!file.open() ||
        file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        return 0;
    file.close();
    const QImage image = load_image_file(file.fileName());
    if (image.isNull())
        return 0;
    if (image.format() != QImage::Format_ARGB32_Premultiplied ||
        image.sizeInBytes() > qint64(kImageAllocationLimitMiB) << 20)
        std::abort();
    // Pictures up to the limit are legitimate; painting the big ones only costs time.
    if (image.sizeInBytes() > (qint64(64) << 20))
        return 0;
    auto* canvas = new Canvas(image, &window);
    canvas->resize(61, 47);
    canvas->init();
    canvas->resetView();
    canvas->mask().fill(Qt::color1);
    canvas->updateMaskStuff();
    canvas->grab();
    invert.run(canvas, true);
    if (canvas->image().size() != image.size() || canvas->mask().size() != image.size())
        std::abort();
    delete canvas;
    return 0;
}
