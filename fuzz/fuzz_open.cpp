// SPDX-License-Identifier: MIT
// libFuzzer entry point: any bytes through the Open path, then the document
// they make through Select All and the selection outline.
#include <QApplication>
#include <QTemporaryFile>

#include "app/imagefile.h"
#include "canvas/canvas.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char* argv[] = {const_cast<char*>("fuzz_open"), nullptr};
    static QApplication app(argc, argv);
    QTemporaryFile file;
    if (!file.open() ||
        file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        return 0;
    file.close();
    const QImage image = load_image_file(file.fileName());
    if (image.isNull() || image.sizeInBytes() > (qint64(64) << 20)) // big ones only cost time
        return 0;
    Canvas canvas(image);
    canvas.resize(61, 47);
    canvas.init();
    canvas.resetView();
    canvas.selectAll();
    canvas.grab();
    if (canvas.image().size() != image.size() || canvas.mask().size() != image.size() ||
        image.format() != QImage::Format_ARGB32_Premultiplied)
        abort();
    return 0;
}
