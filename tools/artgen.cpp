// SPDX-License-Identifier: MIT
//
// zarn_artgen draws every picture of Zarn's resource collection and its
// desktop icons from code, so the artwork is ours and reproducible bit for
// bit. No system font is used: lettering is built from our own paths.
//
// Regenerate the committed pictures with
//     cmake --build build --target zarn_artgen && build/tools/zarn_artgen data
// The single argument is the output directory (default: the source tree's
// data/ directory). Running it twice writes the same bytes.
//
// Qt's PNG writer cannot store 1-bit grey or grey with alpha, and the files'
// pixel formats matter to the code that loads them, so the PNG files are
// encoded here; the deflate stream comes from qCompress.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QRadialGradient>
#include <QString>
#include <QTransform>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

// ---------------------------------------------------------------- PNG files

enum class PngColour : quint8 { Grey = 0, Rgb = 2, GreyAlpha = 4, Rgba = 6 };

struct PngRaster
{
    int width = 0;
    int height = 0;
    PngColour colour = PngColour::Grey;
    int depth = 8;
    QByteArray rows; // height rows of stride() bytes each, unfiltered

    int channels() const
    {
        switch (colour) {
        case PngColour::Rgba:
            return 4;
        case PngColour::Rgb:
            return 3;
        case PngColour::GreyAlpha:
            return 2;
        case PngColour::Grey:
            break;
        }
        return 1;
    }
    // Filters compare with the byte one whole pixel back (at least one byte).
    int bytesPerPixel() const { return std::max(1, channels() * depth / 8); }
    int stride() const { return (width * channels() * depth + 7) / 8; }
};

quint32 crc32Of(const QByteArray& bytes)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> t{};
        for (quint32 n = 0; n < 256; ++n) {
            quint32 c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    quint32 crc = 0xFFFFFFFFu;
    for (char byte : bytes)
        crc = table[(crc ^ quint8(byte)) & 0xFF] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}

void appendBigEndian(QByteArray& out, quint32 value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out.append(char((value >> shift) & 0xFF));
}

void appendChunk(QByteArray& png, const char* type, const QByteArray& data)
{
    appendBigEndian(png, quint32(data.size()));
    const QByteArray typed = QByteArray(type) + data;
    png.append(typed);
    appendBigEndian(png, crc32Of(typed));
}

int paeth(int a, int b, int c)
{
    const int p = a + b - c;
    const int pa = std::abs(p - a);
    const int pb = std::abs(p - b);
    const int pc = std::abs(p - c);
    if (pa <= pb && pa <= pc)
        return a;
    return pb <= pc ? b : c;
}

QByteArray filterRow(int type, const quint8* row, const quint8* above, int stride, int bpp)
{
    QByteArray out(stride, '\0');
    for (int i = 0; i < stride; ++i) {
        const int a = i >= bpp ? row[i - bpp] : 0;
        const int b = above[i];
        const int c = i >= bpp ? above[i - bpp] : 0;
        const int predictor = type == 1   ? a
                              : type == 2 ? b
                              : type == 3 ? (a + b) / 2
                              : type == 4 ? paeth(a, b, c)
                                          : 0;
        out[i] = char(quint8(row[i] - predictor));
    }
    return out;
}

int filterCost(const QByteArray& filtered)
{
    int cost = 0;
    for (char byte : filtered)
        cost += std::abs(int(qint8(byte)));
    return cost;
}

// Per row the filter with the smallest sum of signed residuals; packed
// sub-byte rows compress best unfiltered.
QByteArray filteredScanlines(const PngRaster& raster)
{
    const int stride = raster.stride();
    const QByteArray zeros(stride, '\0');
    const int filterCount = raster.depth < 8 ? 1 : 5;
    QByteArray out;
    for (int y = 0; y < raster.height; ++y) {
        const auto* row = reinterpret_cast<const quint8*>(raster.rows.constData()) + y * stride;
        const quint8* above =
            y > 0 ? row - stride : reinterpret_cast<const quint8*>(zeros.constData());
        QByteArray best;
        int bestType = 0;
        for (int type = 0; type < filterCount; ++type) {
            QByteArray candidate = filterRow(type, row, above, stride, raster.bytesPerPixel());
            if (best.isNull() || filterCost(candidate) < filterCost(best)) {
                best = candidate;
                bestType = type;
            }
        }
        out.append(char(bestType));
        out.append(best);
    }
    return out;
}

QByteArray encodePng(const PngRaster& raster)
{
    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    QByteArray header;
    appendBigEndian(header, quint32(raster.width));
    appendBigEndian(header, quint32(raster.height));
    header.append(char(raster.depth));
    header.append(char(raster.colour));
    header.append(3, '\0'); // deflate, adaptive filtering, no interlace
    appendChunk(png, "IHDR", header);
    // qCompress prefixes the zlib stream with its own 4-byte length.
    appendChunk(png, "IDAT", qCompress(filteredScanlines(raster), 9).mid(4));
    appendChunk(png, "IEND", QByteArray());
    return png;
}

// A grid of one byte per pixel, row-major; what a byte means depends on use.
struct Grid
{
    int width = 0;
    int height = 0;
    std::vector<quint8> cells;

    Grid(int w, int h, quint8 fill = 0) : width(w), height(h), cells(size_t(w) * h, fill) {}
    quint8& at(int x, int y) { return cells[size_t(y) * width + x]; }
    quint8 at(int x, int y) const { return cells[size_t(y) * width + x]; }
};

// Grid values 0 and 1 become grey values 0 and 1 of a 1-bit picture.
PngRaster oneBitRaster(const Grid& grey)
{
    PngRaster raster{grey.width, grey.height, PngColour::Grey, 1, {}};
    const int stride = raster.stride();
    raster.rows = QByteArray(stride * grey.height, '\0');
    for (int y = 0; y < grey.height; ++y) {
        for (int x = 0; x < grey.width; ++x) {
            if (grey.at(x, y))
                raster.rows[y * stride + x / 8] |= char(0x80 >> (x % 8));
        }
    }
    return raster;
}

PngRaster greyAlphaRaster(const Grid& grey, const Grid& alpha)
{
    PngRaster raster{grey.width, grey.height, PngColour::GreyAlpha, 8, {}};
    raster.rows.reserve(grey.width * grey.height * 2);
    for (int y = 0; y < grey.height; ++y) {
        for (int x = 0; x < grey.width; ++x) {
            raster.rows.append(char(grey.at(x, y)));
            raster.rows.append(char(alpha.at(x, y)));
        }
    }
    return raster;
}

[[maybe_unused]] PngRaster imageRaster(const QImage& image, PngColour colour)
{
    const bool alpha = colour == PngColour::Rgba;
    const QImage bytes =
        image.convertToFormat(alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
    PngRaster raster{image.width(), image.height(), colour, 8, {}};
    const int stride = raster.stride();
    for (int y = 0; y < bytes.height(); ++y)
        raster.rows.append(reinterpret_cast<const char*>(bytes.constScanLine(y)), stride);
    return raster;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "zarn_artgen: cannot write %s\n", qPrintable(path));
        return false;
    }
    return true;
}

// A small deterministic generator, so "random" detail is the same every run.
class Dice
{
public:
    explicit Dice(quint32 seed) : state(seed) {}
    quint32 next()
    {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
    int below(int n) { return int(next() % quint32(n)); }
    double unit() { return (next() & 0xFFFFFF) / double(0x1000000); }

private:
    quint32 state;
};

// -------------------------------------------------------- mushroom silhouette
//
// The silhouette is described row by row in unit coordinates (0 to 1 across
// the picture), so the 512 and 128 pixel versions are samplings of one shape
// and every row is a single run by construction. A pixel is black when its
// centre lies within the row's span.

struct Span
{
    double left;
    double right;
};

constexpr double capBottom = 72.0 / 128.0;     // the cap takes the upper 56 %
constexpr double capCentre = 61.5 / 128.0;     // the dome's crown sits a little left
constexpr double capFullAt = 0.48;             // where the dome stops widening
constexpr double capMaxHalf = 0.53;            // beyond the edges: the rim is clipped
constexpr double capTopRowHalf = 10.5 / 128.0; // row 0 at 128 px: columns 51 to 71

double capRise(double y)
{
    const double s = std::min(y / capFullAt, 1.0);
    return 1.0 - std::pow(1.0 - s, 2.6);
}

// The crown's half width is chosen so that the 128 pixel version's top row
// (centre at y = 0.5 / 128) is exactly 21 pixels wide; other code relies on it.
double capHalfWidth(double y)
{
    static const double crownHalf = [] {
        const double q = capRise(0.5 / 128.0);
        return (capTopRowHalf - capMaxHalf * q) / (1.0 - q);
    }();
    return crownHalf + (capMaxHalf - crownHalf) * capRise(y);
}

// The stem: about 40 % wide, leaning slightly left as it descends into a
// bulbous, rounded foot.
Span stemSpan(double y)
{
    const double t = (y - capBottom) / (1.0 - capBottom);
    const double centre = 0.5 - 0.03 * t * t;
    const double bulge = 0.07 * std::exp(-std::pow((t - 0.8) / 0.13, 2.0));
    double half = 0.19 + 0.02 * t + bulge;
    if (t > 0.8)
        half *= std::sqrt(1.0 - 0.6 * std::pow((t - 0.8) / 0.2, 2.0));
    return {centre - half, centre + half};
}

Span mushroomSpan(double y)
{
    if (y < capBottom) {
        const double half = capHalfWidth(y);
        return {capCentre - half, capCentre + half};
    }
    return stemSpan(y);
}

// 1 = inside the mushroom.
Grid silhouette(int size)
{
    Grid inside(size, size);
    for (int y = 0; y < size; ++y) {
        const Span span = mushroomSpan((y + 0.5) / size);
        for (int x = 0; x < size; ++x) {
            const double u = (x + 0.5) / size;
            inside.at(x, y) = span.left <= u && u <= span.right;
        }
    }
    return inside;
}

// Black (0) mushroom on white (1).
Grid silhouetteBitmap(int size)
{
    Grid grey = silhouette(size);
    for (quint8& cell : grey.cells)
        cell = cell ? 0 : 1;
    return grey;
}

// --------------------------------------------------------------- worm pattern

Grid wormPattern()
{
    static const char* const rows[8] = {"WWWBBBBW", "WWBBBBWW", "WBBBBWWW", "BBBBWWWW",
                                        "BBBWWWWB", "BBWWWWBB", "BWWWWBBB", "WWWWBBBB"};
    Grid grey(8, 8);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x)
            grey.at(x, y) = rows[y][x] == 'W';
    }
    return grey;
}

// ------------------------------------------------------------------ height map
//
// bump5: the silhouette as a relief, dark inside and light outside, with a
// soft ramp across the outline. Distances wrap around the edges because the
// map is tiled.

constexpr int bumpSize = 64;
constexpr int bumpDetail = 8; // outline sampled at 8 x 8 points per map pixel

struct Point
{
    double x;
    double y;
};

std::vector<Point> outlinePoints(const Grid& fine)
{
    std::vector<Point> points;
    const int n = fine.width;
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            if (!fine.at(x, y))
                continue;
            const bool edge = !fine.at((x + 1) % n, y) || !fine.at((x + n - 1) % n, y) ||
                              !fine.at(x, (y + 1) % n) || !fine.at(x, (y + n - 1) % n);
            if (edge)
                points.push_back({x + 0.5, y + 0.5});
        }
    }
    return points;
}

double wrappedDistance(Point a, Point b, double period)
{
    double dx = std::fabs(a.x - b.x);
    double dy = std::fabs(a.y - b.y);
    dx = std::min(dx, period - dx);
    dy = std::min(dy, period - dy);
    return std::sqrt(dx * dx + dy * dy);
}

// Signed distance to the outline in map pixels, negative inside.
double outlineDistance(Point p, bool inside, const std::vector<Point>& outline)
{
    const double period = bumpSize * bumpDetail;
    double nearest = period;
    for (const Point& q : outline)
        nearest = std::min(nearest, wrappedDistance(p, q, period));
    const double d = nearest / bumpDetail;
    return inside ? -d : d;
}

quint8 bumpGrey(double distance, Dice& dice)
{
    constexpr double rampHalfWidth = 4.0;
    const double t = std::clamp((distance + rampHalfWidth) / (2 * rampHalfWidth), 0.0, 1.0);
    const double smooth = t * t * (3.0 - 2.0 * t);
    // Plateaus: 0..2 inside, 104..107 outside, with a little grain.
    const double inner = dice.below(3);
    const double outer = 104 + dice.below(4);
    return quint8(std::lround(inner + (outer - inner) * smooth));
}

void writeBump(const QString& dir, bool& ok)
{
    const Grid coarse = silhouette(bumpSize);
    const std::vector<Point> outline = outlinePoints(silhouette(bumpSize * bumpDetail));
    Dice dice(0x5EED0005u);
    Grid grey(bumpSize, bumpSize);
    Grid alpha(bumpSize, bumpSize, 255);
    for (int y = 0; y < bumpSize; ++y) {
        for (int x = 0; x < bumpSize; ++x) {
            const Point centre{(x + 0.5) * bumpDetail, (y + 0.5) * bumpDetail};
            grey.at(x, y) = bumpGrey(outlineDistance(centre, coarse.at(x, y), outline), dice);
        }
    }
    // A few slightly translucent pixels, spread over the map.
    for (int i = 0; i < 24; ++i)
        alpha.at(dice.below(bumpSize), dice.below(bumpSize)) = quint8(247 + i % 8);
    ok &= writeFile(dir + "/bump5.png", encodePng(greyAlphaRaster(grey, alpha)));
}

} // namespace

int main(int argc, char** argv)
{
    const QString dir =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(ZARN_SOURCE_DIR "/data");
    bool ok = true;
    ok &= writeFile(dir + "/worm_8.png", encodePng(oneBitRaster(wormPattern())));
    ok &= writeFile(dir + "/zarn_bitmap.png", encodePng(oneBitRaster(silhouetteBitmap(512))));
    ok &= writeFile(dir + "/zarn_bitmap_small.png", encodePng(oneBitRaster(silhouetteBitmap(128))));
    writeBump(dir, ok);
    return ok ? 0 : 1;
}
