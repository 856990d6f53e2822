// SPDX-License-Identifier: MIT
#include <QImage>
#include <QTemporaryDir>

#include "app/imagefile.h"
#include "bench.h"

namespace {

// Writes the photo once per run of the program; every repetition reads the same file.
QString photo_file(int width, int height, const char* suffix)
{
    static QTemporaryDir dir;
    const QString path = dir.filePath(QString("photo-%1x%2.%3").arg(width).arg(height).arg(suffix));
    if (!QFile::exists(path))
        bench_photo(width, height).save(path);
    return path;
}

std::function<void()> open_file(int width, int height, const char* suffix)
{
    const QString path = photo_file(width, height, suffix);
    return [path] {
        if (load_image_file(path).isNull())
            qFatal("could not open %s", qPrintable(path));
    };
}

const BenchRegistrar reg({
    {"open png 12 MP", QSize(4000, 3000), [] { return open_file(4000, 3000, "png"); }, 5},
    {"open jpeg 12 MP", QSize(4000, 3000), [] { return open_file(4000, 3000, "jpg"); }, 5},
    {"open jpeg 100 MP", QSize(10000, 10000), [] { return open_file(10000, 10000, "jpg"); }, 3},
    {"save png 12 MP", QSize(4000, 3000),
     [] {
         static QTemporaryDir dir;
         const QImage photo = bench_photo(4000, 3000);
         const QString path = dir.filePath("saved.png");
         return std::function<void()>([photo, path] { save_image_file(photo, path); });
     },
     3},
});

} // namespace
