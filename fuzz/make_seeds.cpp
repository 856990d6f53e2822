// SPDX-License-Identifier: MIT
// Writes the seed corpus of the Open-path fuzz target: small pictures in
// every format the toolkit reads besides PNG (whose samples come from the
// shared test data), plus a few hostile headers.
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QImageWriter>
#include <cstdio>
#include <vector>

#include "mutate.h"

namespace {

QImage sample_picture(int width, int height, bool alpha)
{
    QImage image(width, height, alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int a = alpha ? (x * 255 / std::max(1, width - 1)) : 255;
            image.setPixel(x, y, qRgba(x * 37 % 256, y * 53 % 256, (x + y) * 19 % 256, a));
        }
    }
    return image;
}

bool write_file(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray encode(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    return writer.write(image) ? bytes : QByteArray();
}

void append_le16(QByteArray& out, int v)
{
    out.append(char(v & 0xff));
    out.append(char((v >> 8) & 0xff));
}

// The toolkit reads GIF but cannot write it: an uncompressed GIF, every pixel
// a literal 9-bit code and a clear code often enough that the width stays 9.
QByteArray make_gif(int width, int height)
{
    QByteArray out("GIF89a");
    append_le16(out, width);
    append_le16(out, height);
    out.append(char(0xf7)); // global table of 256 colours
    out.append('\0');
    out.append('\0');
    for (int i = 0; i < 256; ++i) {
        out.append(char(i));
        out.append(char(255 - i));
        out.append(char(i * 7));
    }
    out.append(",");
    append_le16(out, 0);
    append_le16(out, 0);
    append_le16(out, width);
    append_le16(out, height);
    out.append('\0');
    out.append(char(8)); // minimum code size

    QByteArray codes;
    quint32 bits = 0;
    int count = 0;
    auto put = [&](int code) {
        bits |= quint32(code) << count;
        count += 9;
        while (count >= 8) {
            codes.append(char(bits & 0xff));
            bits >>= 8;
            count -= 8;
        }
    };
    put(256);
    for (int i = 0; i < width * height; ++i) {
        if (i % 250 == 249)
            put(256);
        put((i * 13) % 256);
    }
    put(257);
    if (count > 0)
        codes.append(char(bits & 0xff));
    for (int i = 0; i < codes.size(); i += 255) {
        const QByteArray block = codes.mid(i, 255);
        out.append(char(block.size()));
        out.append(block);
    }
    out.append('\0');
    out.append(';');
    return out;
}

// Uncompressed true-colour TGA, which the toolkit also only reads.
QByteArray make_tga(const QImage& image)
{
    QByteArray out(18, '\0');
    out[2] = 2;
    out[12] = char(image.width() & 0xff);
    out[13] = char(image.width() >> 8);
    out[14] = char(image.height() & 0xff);
    out[15] = char(image.height() >> 8);
    out[16] = 32;
    out[17] = 0x28; // top-left origin, 8 alpha bits
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb p = image.pixel(x, y);
            out.append(char(qBlue(p)));
            out.append(char(qGreen(p)));
            out.append(char(qRed(p)));
            out.append(char(qAlpha(p)));
        }
    }
    return out;
}

QByteArray make_svg()
{
    return "<svg xmlns='http://www.w3.org/2000/svg' width='23' height='17'>"
           "<circle cx='11' cy='8' r='7' fill='#a05020'/></svg>";
}

// A PNG whose header claims a picture far beyond the allocation limit.
QByteArray make_huge_png_header(quint32 width, quint32 height)
{
    QByteArray png = encode(sample_picture(2, 2, false), "png");
    auto* d = reinterpret_cast<uchar*>(png.data());
    for (int i = 0; i < 4; ++i) {
        d[16 + i] = uchar(width >> (24 - 8 * i));
        d[20 + i] = uchar(height >> (24 - 8 * i));
    }
    fix_png_crcs(d, size_t(png.size()));
    return png;
}

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <output directory>\n", argv[0]);
        return 2;
    }
    QDir dir(QString::fromLocal8Bit(argv[1]));
    dir.mkpath(".");

    const QImage small = sample_picture(7, 5, true);
    const QImage opaque = sample_picture(33, 17, false);
    const QImage single = sample_picture(1, 1, false);
    const QImage indexed = opaque.convertToFormat(QImage::Format_Indexed8);
    const QImage mono = opaque.convertToFormat(QImage::Format_Mono);

    struct Seed
    {
        const char* name;
        QByteArray bytes;
    };
    const std::vector<Seed> seeds = {
        {"small.jpg", encode(opaque, "jpg")},
        {"single.jpg", encode(single, "jpg")},
        {"small.bmp", encode(small, "bmp")},
        {"indexed.bmp", encode(indexed, "bmp")},
        {"mono.bmp", encode(mono, "bmp")},
        {"small.tiff", encode(small, "tiff")},
        {"indexed.tiff", encode(indexed, "tiff")},
        {"small.webp", encode(small, "webp")},
        {"opaque.webp", encode(opaque, "webp")},
        {"small.ico", encode(small, "ico")},
        {"small.ppm", encode(opaque, "ppm")},
        {"small.pgm", encode(opaque, "pgm")},
        {"small.pbm", encode(mono, "pbm")},
        {"small.xpm", encode(indexed, "xpm")},
        {"small.xbm", encode(mono, "xbm")},
        {"small.gif", make_gif(9, 7)},
        {"long.gif", make_gif(300, 2)},
        {"small.tga", make_tga(small)},
        {"small.svg", make_svg()},
        {"huge-header.png", make_huge_png_header(100000, 100000)},
        {"wide-header.png", make_huge_png_header(0x7fffffff, 1)},
        {"truncated.png", encode(opaque, "png").left(60)},
        {"empty.bin", QByteArray()},
    };
    int written = 0;
    for (const Seed& seed : seeds) {
        if (seed.bytes.isEmpty() && qstrcmp(seed.name, "empty.bin") != 0) {
            std::fprintf(stderr, "make_seeds: no writer for %s, skipped\n", seed.name);
            continue;
        }
        if (write_file(dir.filePath(seed.name), seed.bytes))
            ++written;
    }
    std::printf("make_seeds: %d seed files in %s\n", written, qPrintable(dir.absolutePath()));
    return written > 0 ? 0 : 1;
}
