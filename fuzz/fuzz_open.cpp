// SPDX-License-Identifier: MIT
#include "fuzz_open.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "app/imagefile.h"
#include "canvas/canvas.h"
#include "filters/invertfilter.h"
#include "mutate.h"

namespace {

constexpr qint64 kMiB = 1024 * 1024;

// A few bytes of header may legitimately claim a picture up to the loader's
// limit; the document, its undo snapshot and a filter result then cost
// seconds and gigabytes by design, not by fault. Such pictures are loaded and
// checked here, and left to the extreme-size soak for the rest of the path.
constexpr qint64 kExerciseLimitBytes = 64 * kMiB;

// The widget the picture is painted into: small, so that a case costs what
// the picture costs and not what the screen costs.
constexpr int kViewWidth = 61;
constexpr int kViewHeight = 47;

// libFuzzer sees only this program's own code, not the toolkit's decoders, so
// inputs of every format would look alike and the corpus would shrink to a
// few of them. A distinct function per decoder and per order of magnitude of
// the size gives each kind of picture an edge of its own to keep it by.
template <int N> [[gnu::noinline]] void mark()
{
    static volatile int hits;
    hits = hits + 1;
}

int log2_bucket(int value)
{
    int bucket = 0;
    while (value > 1 && bucket < 15) {
        value >>= 1;
        ++bucket;
    }
    return bucket;
}

template <int... N> void mark_one_of(int index, std::integer_sequence<int, N...>)
{
    ((index == N ? mark<N>() : void()), ...);
}

void note_kind(const QByteArray& format, const QImage& image)
{
    static const QList<QByteArray> formats = {"png", "jpeg", "gif", "bmp", "tiff", "webp",
                                              "ico", "svg", "pbm", "pgm", "ppm", "xbm",
                                              "xpm", "tga", "wbmp", "icns", "mng"};
    const int kind = int(formats.indexOf(format)) + 1; // 0: anything else
    mark_one_of(kind, std::make_integer_sequence<int, 18>());
    mark_one_of(20 + log2_bucket(image.width()), std::make_integer_sequence<int, 40>());
    mark_one_of(40 + log2_bucket(image.height()), std::make_integer_sequence<int, 60>());
    mark_one_of(60 + (image.hasAlphaChannel() ? 1 : 0), std::make_integer_sequence<int, 62>());
}

QString& input_path()
{
    static QString path;
    return path;
}

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "fuzz_open: invariant broken: %s\n", what);
    std::fflush(stderr);
    std::abort();
}

void write_input(const uint8_t* data, size_t size)
{
    QFile file(input_path());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        fail("cannot write the input file");
    if (size && file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        fail("short write of the input file");
}

void check_document(Canvas& canvas, const QSize& size)
{
    if (canvas.image().format() != QImage::Format_ARGB32_Premultiplied)
        fail("document image is not ARGB32 premultiplied");
    if (canvas.image().size() != size)
        fail("document image changed its size");
    if (canvas.mask().size() != size)
        fail("mask size differs from the image size");
}

void exercise(QImage loaded)
{
    const qint64 bytes = qint64(loaded.width()) * loaded.height() * 4;
    if (bytes > qint64(kImageAllocationLimitMiB) * kMiB)
        fail("loader accepted an image over the allocation limit");
    if (loaded.format() != QImage::Format_ARGB32_Premultiplied)
        fail("loader returned an image that is not ARGB32 premultiplied");
    if (bytes > kExerciseLimitBytes)
        return;

    const QSize size = loaded.size();
    Canvas canvas(loaded, nullptr, {});
    loaded = QImage(); // the document is the only owner, as after File > Open
    canvas.resize(kViewWidth, kViewHeight);
    canvas.init();
    canvas.resetView();
    check_document(canvas, size);

    // Select everything so the paint also builds the outline.
    canvas.mask().fill(Qt::color1);
    canvas.updateMaskStuff();
    QImage screen(kViewWidth, kViewHeight, QImage::Format_ARGB32_Premultiplied);
    canvas.render(&screen);

    canvas.undoSnapshot();
    QImage inverted = canvas.image();
    invert_pixels(inverted);
    canvas.applyImageWithMask(inverted);
    check_document(canvas, size);
}

} // namespace

void fuzz_open_setup()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "fuzz_open";
    static char* argv[] = {name, nullptr};
    static QApplication app(argc, argv);
    // Every broken input makes a decoder complain; thousands of cases would
    // bury a real report under those lines.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type == QtFatalMsg) {
            std::fprintf(stderr, "%s\n", qPrintable(text));
            std::abort();
        }
    });
    // /dev/shm keeps the per-case file off the disk when it exists.
    const QString dir = QDir("/dev/shm").exists() ? QStringLiteral("/dev/shm") : QDir::tempPath();
    input_path() =
        dir + QStringLiteral("/zarn-fuzz-%1.bin").arg(QCoreApplication::applicationPid());
    std::atexit([] { QFile::remove(input_path()); });
}

void fuzz_open_one(const uint8_t* data, size_t size)
{
    write_input(data, size);
    QImage loaded = load_image_file(input_path());
    if (loaded.isNull())
        return;
    note_kind(QImageReader(input_path()).format(), loaded);
    exercise(std::move(loaded));
}

#ifdef ZARN_LIBFUZZER
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz_open_setup();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz_open_one(data, size);
    return 0;
}

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

// libFuzzer's own mutations, with PNG checksums repaired so that mutated
// headers are decoded instead of being rejected at the first chunk.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int)
{
    size = LLVMFuzzerMutate(data, size, maxSize);
    fix_png_crcs(data, size);
    return size;
}
#endif
