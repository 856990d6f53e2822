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
#include <QPolygonF>
#include <QRadialGradient>
#include <QString>
#include <QStringList>
#include <QTransform>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace {

// ---------------------------------------------------------------- PNG files

enum class PngColour : quint8 { Grey = 0, Rgb = 2, GreyAlpha = 4, Rgba = 6 };

struct PngRaster
{
public:
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
public:
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

PngRaster imageRaster(const QImage& image, PngColour colour)
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

// ------------------------------------------------------------- vector artwork
//
// Pictures are built from layers: a path in a 24 x 24 design box, filled with
// a colour or a radial gradient and optionally outlined. The same layers are
// rasterised at every icon size and written out as SVG.

struct Fill
{
    QColor colour;
    bool radial = false;
    QPointF centre;
    double radius = 0;
    QColor outer;
};

struct Layer
{
    QPainterPath path;
    Fill fill;
    QColor pen = Qt::transparent;
    double penWidth = 0;
};

using Picture = std::vector<Layer>;

Fill solid(const QColor& colour)
{
    return {colour, false, {}, 0, {}};
}

Fill glow(const QColor& inner, QPointF centre, double radius, const QColor& outer)
{
    return {inner, true, centre, radius, outer};
}

QBrush brushOf(const Fill& fill)
{
    if (!fill.radial)
        return fill.colour;
    QRadialGradient gradient(fill.centre, fill.radius);
    gradient.setColorAt(0, fill.colour);
    gradient.setColorAt(1, fill.outer);
    return gradient;
}

void paintPicture(QPainter& painter, const Picture& picture)
{
    for (const Layer& layer : picture) {
        painter.setBrush(brushOf(layer.fill));
        if (layer.penWidth > 0)
            painter.setPen(
                QPen(layer.pen, layer.penWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        else
            painter.setPen(Qt::NoPen);
        painter.drawPath(layer.path);
    }
}

QImage transparentImage(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

// Draws a picture designed on a 24 x 24 box at size x size pixels.
QImage renderPicture(const Picture& picture, int size)
{
    QImage image = transparentImage(size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 24.0, size / 24.0);
    paintPicture(painter, picture);
    return image;
}

Picture transformed(const Picture& picture, const QTransform& transform)
{
    Picture out = picture;
    const double scale = std::sqrt(std::fabs(transform.determinant()));
    for (Layer& layer : out) {
        layer.path = transform.map(layer.path);
        layer.fill.centre = transform.map(layer.fill.centre);
        layer.fill.radius *= scale;
        layer.penWidth *= scale;
    }
    return out;
}

void append(Picture& picture, const Picture& more)
{
    picture.insert(picture.end(), more.begin(), more.end());
}

// ------------------------------------------------------------------ mushrooms
//
// An upright mushroom centred on the origin: cap from y = -9 to 2, stem below.

QPainterPath capPath()
{
    QPainterPath cap;
    cap.moveTo(-10, 2);
    cap.cubicTo(-10.5, -5, -5.5, -9, 0, -9);
    cap.cubicTo(5.5, -9, 10.5, -5, 10, 2);
    cap.quadTo(0, -0.5, -10, 2);
    return cap;
}

QPainterPath stemPath(double length)
{
    QPainterPath stem;
    stem.moveTo(-3, 0);
    stem.cubicTo(-3.2, length * 0.5, -4, length - 1.5, -3.6, length);
    stem.quadTo(0, length + 1.4, 3.6, length);
    stem.cubicTo(4, length - 1.5, 3.2, length * 0.5, 3, 0);
    stem.closeSubpath();
    return stem;
}

QPainterPath ellipse(double cx, double cy, double rx, double ry)
{
    QPainterPath path;
    path.addEllipse(QPointF(cx, cy), rx, ry);
    return path;
}

const QColor stemWhite(250, 247, 238);

Picture brownMushroom()
{
    const QColor outline(60, 36, 18);
    Picture picture{
        {stemPath(6.5), solid(stemWhite), outline, 0.8},
        {capPath(), glow(QColor(184, 124, 62), {-3.5, -5.5}, 12, QColor(96, 56, 24)), outline, 0.8},
    };
    // Golden highlights along the crown.
    QPainterPath arc;
    arc.moveTo(-7.2, -2.5);
    arc.quadTo(-5.8, -6.6, -1.5, -7.4);
    QPainterPathStroker stroker;
    stroker.setWidth(1.4);
    stroker.setCapStyle(Qt::RoundCap);
    picture.push_back({stroker.createStroke(arc), solid(QColor(240, 196, 64)), {}, 0});
    picture.push_back({ellipse(1.8, -7.3, 0.9, 0.7), solid(QColor(250, 214, 90)), {}, 0});
    picture.push_back({ellipse(-8.2, 0.2, 0.7, 0.7), solid(QColor(232, 184, 56)), {}, 0});
    return picture;
}

// The tool bar's brush and the program icon: tilted, stem at the lower left.
Picture tiltedBrownMushroom()
{
    QTransform tilt;
    tilt.translate(12.6, 12.4);
    tilt.rotate(30);
    tilt.scale(1.04, 1.04);
    return transformed(brownMushroom(), tilt);
}

Picture redMushroom()
{
    const QColor outline(70, 16, 16);
    Picture picture{
        {stemPath(7), solid(stemWhite), outline, 0.8},
        {capPath(), glow(QColor(240, 70, 52), {-3, -5.5}, 12, QColor(168, 20, 20)), outline, 0.8},
    };
    const QColor spot(255, 255, 255);
    for (const QPointF& centre : {QPointF(-5.5, -3.5), QPointF(0.5, -6.3), QPointF(5.5, -3),
                                  QPointF(-1, -1.6), QPointF(7.8, 0)})
        picture.push_back({ellipse(centre.x(), centre.y(), 1.3, 1.05), solid(spot), {}, 0});
    return picture;
}

// ---------------------------------------------------------------- tool icons

QPainterPath fourHeadedArrow(QPointF centre, double reach)
{
    const double shaft = 0.6;
    const double head = 1.9;
    const double neck = reach - 2.2;
    QPainterPath arm;
    arm.moveTo(-shaft, 0);
    arm.lineTo(-shaft, -neck);
    arm.lineTo(-head, -neck);
    arm.lineTo(0, -reach);
    arm.lineTo(head, -neck);
    arm.lineTo(shaft, -neck);
    arm.lineTo(shaft, 0);
    arm.closeSubpath();
    QPainterPath arrow;
    for (int quarter = 0; quarter < 4; ++quarter) {
        QTransform turn;
        turn.translate(centre.x(), centre.y());
        turn.rotate(90 * quarter);
        arrow = arrow.united(turn.map(arm));
    }
    return arrow;
}

QImage moveIcon()
{
    QTransform place;
    place.translate(10.5, 10);
    place.scale(0.85, 0.85);
    Picture picture = transformed(redMushroom(), place);
    // A white rim under the arrow lifts it off the mushroom.
    const QPainterPath arrow = fourHeadedArrow({18.5, 18.5}, 5.2);
    picture.push_back({arrow, solid(Qt::white), QColor(255, 255, 255, 230), 1.6});
    picture.push_back({arrow, solid(Qt::black), {}, 0});
    return renderPicture(picture, 24);
}

QImage brushIcon(int size)
{
    return renderPicture(tiltedBrownMushroom(), size);
}

// Small serif letters, one character per row string; '#' is ink.
using Glyph = std::vector<const char*>;

const Glyph glyphZ{"#####", "#..#.", "...#.", "..#..", ".#...", ".#..#", "#####"};
const Glyph glyphA{".##.", "...#", ".###", "#..#", ".###"};
const Glyph glyphR{"#.##", "##..", "#...", "#...", "##.."};
const Glyph glyphN{"#.##.", "##..#", "#...#", "#...#", "#...#"};

int drawGlyph(QImage& image, const Glyph& glyph, int left, int baseline)
{
    const int top = baseline - int(glyph.size()) + 1;
    const int width = int(std::strlen(glyph.front()));
    for (int row = 0; row < int(glyph.size()); ++row) {
        for (int col = 0; col < width; ++col) {
            if (glyph[row][col] == '#')
                image.setPixel(left + col, top + row, qRgba(0, 0, 0, 255));
        }
    }
    return left + width + 1;
}

QImage textIcon()
{
    QImage image = transparentImage(24);
    int x = 2;
    for (const Glyph* glyph : {&glyphZ, &glyphA, &glyphR, &glyphN})
        x = drawGlyph(image, *glyph, x, 14);
    return image;
}

QImage eyedropperIcon()
{
    Picture picture{
        {ellipse(-9.3, 0, 4.6, 3.7), glow(QColor(90, 90, 90), {-10.5, -1.5}, 4.5, Qt::black),
         Qt::black, 0.5},
        {QPainterPath(), solid(QColor(70, 70, 70)), Qt::black, 0.5},
        {QPainterPath(), solid(QColor(214, 28, 28, 235)), QColor(110, 10, 10), 0.6},
        {QPainterPath(), solid(QColor(255, 170, 170)), {}, 0},
    };
    picture[1].path.addRect(QRectF(-5.2, -2.5, 2, 5));
    QPainterPath& tube = picture[2].path;
    tube.moveTo(-3.2, -1.6);
    tube.lineTo(9.5, -1.6);
    tube.lineTo(13.8, -0.45);
    tube.lineTo(13.8, 0.45);
    tube.lineTo(9.5, 1.6);
    tube.lineTo(-3.2, 1.6);
    tube.closeSubpath();
    picture[3].path.addRect(QRectF(-2.6, -0.95, 11, 0.55));
    QTransform diagonal;
    diagonal.translate(11.6, 11.6);
    diagonal.rotate(45);
    return renderPicture(transformed(picture, diagonal), 24);
}

QImage marqueeIcon()
{
    QImage image = transparentImage(24);
    constexpr int first = 2;
    constexpr int last = 21;
    // Walk the square's border once, 3 pixels on and 2 off.
    std::vector<QPoint> border;
    for (int x = first; x < last; ++x)
        border.push_back({x, first});
    for (int y = first; y < last; ++y)
        border.push_back({last, y});
    for (int x = last; x > first; --x)
        border.push_back({x, last});
    for (int y = last; y > first; --y)
        border.push_back({first, y});
    for (size_t i = 0; i < border.size(); ++i) {
        if (i % 5 < 3)
            image.setPixel(border[i], qRgba(0, 0, 0, 255));
    }
    return image;
}

QPainterPath starPath(QPointF centre, double radius)
{
    QPainterPath star;
    const double waist = radius * 0.28;
    star.moveTo(centre.x(), centre.y() - radius);
    star.lineTo(centre.x() + waist, centre.y() - waist);
    star.lineTo(centre.x() + radius, centre.y());
    star.lineTo(centre.x() + waist, centre.y() + waist);
    star.lineTo(centre.x(), centre.y() + radius);
    star.lineTo(centre.x() - waist, centre.y() + waist);
    star.lineTo(centre.x() - radius, centre.y());
    star.lineTo(centre.x() - waist, centre.y() - waist);
    star.closeSubpath();
    return star;
}

QImage wandIcon()
{
    const QColor red(214, 30, 30);
    Picture wand{
        {QPainterPath(), solid(Qt::black), Qt::black, 0.4},
        {QPainterPath(), solid(red), QColor(120, 10, 10), 0.4},
        {QPainterPath(), solid(red), QColor(120, 10, 10), 0.4},
        {QPainterPath(), solid(QColor(255, 255, 255, 150)), {}, 0},
    };
    wand[0].path.addRoundedRect(QRectF(-11, -1.5, 18, 3), 1, 1);
    wand[1].path.addRoundedRect(QRectF(3.5, -1.5, 3.8, 3), 1, 1);
    wand[2].path.addRect(QRectF(-8.5, -1.5, 1.4, 3));
    wand[3].path.addRect(QRectF(-10, -0.9, 16, 0.5));
    QTransform rising;
    rising.translate(11.2, 12.8);
    rising.rotate(-45);
    Picture picture = transformed(wand, rising);
    const QColor ink[] = {red, Qt::black};
    const struct
    {
        QPointF centre;
        double radius;
        int colour;
    } sparkles[] = {{{20.2, 3.6}, 3.3, 0}, {{13.6, 2.6}, 1.9, 1}, {{21.4, 10.6}, 2.1, 1},
                    {{17.4, 7.8}, 1.3, 0}, {{11.3, 6.6}, 1.1, 0}, {{16.6, 12.6}, 1.2, 0}};
    for (const auto& sparkle : sparkles)
        picture.push_back(
            {starPath(sparkle.centre, sparkle.radius), solid(ink[sparkle.colour]), {}, 0});
    return renderPicture(picture, 24);
}

QImage lassoIcon()
{
    const QColor rope(0, 0, 0);
    QTransform place;
    place.translate(13.5, 9.5);
    place.scale(0.72, 0.72);
    const Picture mushroom = transformed(redMushroom(), place);
    const QRectF loop(8.6, 12.1, 9.8, 3.4);
    QPainterPath back; // the half of the loop behind the stem
    back.arcMoveTo(loop, 0);
    back.arcTo(loop, 0, 180);
    QPainterPath front;
    front.arcMoveTo(loop, 180);
    front.arcTo(loop, 180, 180);
    front.moveTo(loop.left(), loop.center().y());
    front.cubicTo(5.8, 16.5, 8.5, 19, 5, 20.2);
    front.cubicTo(3, 20.9, 2.5, 21.6, 1.8, 22.6);
    QPainterPathStroker stroker;
    stroker.setWidth(1.15);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    Picture picture{{stroker.createStroke(back), solid(rope), {}, 0}};
    append(picture, mushroom);
    picture.push_back({stroker.createStroke(front), solid(rope), {}, 0});
    return renderPicture(picture, 24);
}

// ------------------------------------------------------------------ SVG icon

QString svgNumber(double value)
{
    QString text = QString::number(value, 'f', 3);
    while (text.endsWith('0'))
        text.chop(1);
    if (text.endsWith('.'))
        text.chop(1);
    return text == "-0" ? QStringLiteral("0") : text;
}

QString svgPoint(QPointF p)
{
    return svgNumber(p.x()) + ' ' + svgNumber(p.y());
}

QString svgPathData(const QPainterPath& path)
{
    QStringList parts;
    QPointF start;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element e = path.elementAt(i);
        if (e.isMoveTo()) {
            start = e;
            parts << 'M' + svgPoint(e);
            continue;
        }
        if (e.isLineTo()) {
            parts << 'L' + svgPoint(e);
        } else {
            parts << 'C' + svgPoint(e) + ' ' + svgPoint(path.elementAt(i + 1)) + ' ' +
                         svgPoint(path.elementAt(i + 2));
            i += 2;
        }
        // Closed outlines get a proper join where they meet their start.
        if (QPointF(path.elementAt(i)) == start)
            parts << QStringLiteral("Z");
    }
    return parts.join(' ');
}

QString svgColour(const QColor& colour)
{
    return colour.name(QColor::HexRgb);
}

QString svgOpacity(const char* attribute, const QColor& colour)
{
    if (colour.alpha() == 255)
        return {};
    return QStringLiteral(" %1=\"%2\"").arg(attribute, svgNumber(colour.alphaF()));
}

QString fillAttributes(const Fill& fill, int index, QStringList& gradients)
{
    if (!fill.radial)
        return QStringLiteral("fill=\"%1\"").arg(svgColour(fill.colour)) +
               svgOpacity("fill-opacity", fill.colour);
    const QString id = QStringLiteral("glow%1").arg(index);
    gradients << QStringLiteral("    <radialGradient id=\"%1\" gradientUnits=\"userSpaceOnUse\" "
                                "cx=\"%2\" cy=\"%3\" r=\"%4\">\n"
                                "      <stop offset=\"0\" stop-color=\"%5\"/>\n"
                                "      <stop offset=\"1\" stop-color=\"%6\"/>\n"
                                "    </radialGradient>\n")
                     .arg(id, svgNumber(fill.centre.x()), svgNumber(fill.centre.y()),
                          svgNumber(fill.radius), svgColour(fill.colour), svgColour(fill.outer));
    return QStringLiteral("fill=\"url(#%1)\"").arg(id);
}

QString svgLayer(const Layer& layer, int index, QStringList& gradients)
{
    QString element = "  <path " + fillAttributes(layer.fill, index, gradients);
    if (layer.penWidth > 0)
        element += QStringLiteral(" stroke=\"%1\" stroke-width=\"%2\" stroke-linejoin=\"round\" "
                                  "stroke-linecap=\"round\"")
                       .arg(svgColour(layer.pen), svgNumber(layer.penWidth)) +
                   svgOpacity("stroke-opacity", layer.pen);
    return element + QStringLiteral(" d=\"%1\"/>\n").arg(svgPathData(layer.path));
}

QByteArray svgDocument(const Picture& picture)
{
    QStringList gradients;
    QString body;
    for (size_t i = 0; i < picture.size(); ++i)
        body += svgLayer(picture[i], int(i), gradients);
    const QString head =
        QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"256\" height=\"256\" "
                       "viewBox=\"0 0 24 24\">\n"
                       "  <title>Zarn</title>\n"
                       "  <defs>\n");
    return (head + gradients.join(QString()) + "  </defs>\n" + body + "</svg>\n").toUtf8();
}

// --------------------------------------------------------------------- splash

constexpr int splashWidth = 650;
constexpr int splashHeight = 300;

// The silhouette's outline as a path in unit coordinates.
QPainterPath mushroomOutline()
{
    constexpr int steps = 160;
    QPolygonF left;
    QPolygonF right;
    for (int i = 0; i <= steps; ++i) {
        const double y = double(i) / steps;
        const Span span = mushroomSpan(std::min(y, 1.0 - 1e-9));
        left << QPointF(std::max(span.left, 0.0), y);
        right.prepend(QPointF(std::min(span.right, 1.0), y));
    }
    QPainterPath path;
    path.addPolygon(left + right);
    path.closeSubpath();
    return path;
}

// Title letters as pen strokes on a box one unit high (baseline at 1,
// x-height at 0.38); each returns its advance.
double strokeLetter(QPainterPath& skeleton, char letter, double x)
{
    switch (letter) {
    case 'Z':
        skeleton.moveTo(x, 0);
        skeleton.lineTo(x + 0.62, 0);
        skeleton.lineTo(x, 1);
        skeleton.lineTo(x + 0.66, 1);
        return 0.86;
    case 'a':
        skeleton.moveTo(x + 0.04, 0.5);
        skeleton.quadTo(x + 0.28, 0.28, x + 0.52, 0.46);
        skeleton.lineTo(x + 0.54, 1);
        skeleton.addEllipse(QPointF(x + 0.3, 0.8), 0.24, 0.19);
        return 0.78;
    case 'r':
        skeleton.moveTo(x, 0.38);
        skeleton.lineTo(x, 1);
        skeleton.moveTo(x, 0.62);
        skeleton.quadTo(x + 0.1, 0.36, x + 0.42, 0.42);
        return 0.58;
    case 'n':
        skeleton.moveTo(x, 0.38);
        skeleton.lineTo(x, 1);
        skeleton.moveTo(x, 0.64);
        skeleton.cubicTo(x + 0.06, 0.3, x + 0.52, 0.3, x + 0.52, 0.62);
        skeleton.lineTo(x + 0.52, 1);
        return 0.6;
    default:
        return 0;
    }
}

QPainterPath titlePath(const char* word, const QRectF& box)
{
    QPainterPath skeleton;
    double x = 0;
    for (const char* c = word; *c; ++c)
        x += strokeLetter(skeleton, *c, x);
    QPainterPathStroker stroker;
    stroker.setWidth(0.17);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    const QPainterPath letters = stroker.createStroke(skeleton).simplified();
    const QRectF bounds = letters.boundingRect();
    QTransform fit;
    fit.translate(box.left(), box.top());
    fit.scale(box.width() / bounds.width(), box.height() / bounds.height());
    fit.translate(-bounds.left(), -bounds.top());
    return fit.map(letters);
}

void paintSky(QPainter& painter)
{
    QLinearGradient sky(0, 0, 0, splashHeight);
    sky.setColorAt(0, QColor(14, 110, 116));
    sky.setColorAt(0.42, QColor(38, 150, 118));
    sky.setColorAt(0.72, QColor(124, 190, 70));
    sky.setColorAt(1, QColor(226, 214, 74));
    painter.fillRect(0, 0, splashWidth, splashHeight, sky);
    QRadialGradient sun(QPointF(548, 64), 170);
    sun.setColorAt(0, QColor(255, 238, 120, 200));
    sun.setColorAt(0.25, QColor(250, 228, 96, 110));
    sun.setColorAt(1, QColor(250, 228, 96, 0));
    painter.fillRect(0, 0, splashWidth, splashHeight, sun);
}

void paintBubbles(QPainter& painter, Dice& dice)
{
    const QColor tints[] = {QColor(255, 240, 130), QColor(190, 240, 150), QColor(140, 230, 214)};
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 46; ++i) {
        QColor tint = tints[dice.below(3)];
        tint.setAlpha(30 + dice.below(60));
        painter.setBrush(tint);
        const QPointF centre(dice.unit() * splashWidth, 20 + dice.unit() * 200);
        const double radius = 3 + dice.unit() * 18;
        painter.drawEllipse(centre, radius, radius);
    }
}

QPainterPath hill(double base, double swell, double phase, double wavelength)
{
    QPainterPath path;
    path.moveTo(0, splashHeight);
    for (int x = 0; x <= splashWidth; x += 5)
        path.lineTo(x, base - swell * std::sin(phase + x / wavelength));
    path.lineTo(splashWidth, splashHeight);
    path.closeSubpath();
    return path;
}

void paintMushroom(QPainter& painter, QPointF foot, double height, const QColor& colour)
{
    static const QPainterPath outline = mushroomOutline();
    QTransform place;
    place.translate(foot.x() - height / 2, foot.y() - height);
    place.scale(height, height);
    painter.setPen(QPen(colour.darker(170), 1.5));
    painter.setBrush(colour);
    painter.drawPath(place.map(outline));
}

void paintMeadow(QPainter& painter, Dice& dice)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(30, 112, 84));
    painter.drawPath(hill(214, 16, 0.7, 70));
    const struct
    {
        double x, ground, height;
        QColor colour;
    } crowd[] = {{70, 214, 64, QColor(246, 216, 70)},  {150, 220, 38, QColor(40, 170, 160)},
                 {470, 212, 52, QColor(196, 226, 74)}, {590, 224, 80, QColor(252, 232, 100)},
                 {530, 216, 34, QColor(36, 150, 150)}, {250, 226, 28, QColor(230, 200, 60)}};
    for (const auto& m : crowd)
        paintMushroom(painter, {m.x, m.ground + 6}, m.height, m.colour);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(78, 160, 58));
    painter.drawPath(hill(252, 10, 2.1, 55));
    for (int i = 0; i < 150; ++i) {
        const double x = dice.unit() * splashWidth;
        const double tall = 8 + dice.unit() * 22;
        QPainterPath blade;
        blade.moveTo(x, splashHeight);
        blade.quadTo(x + 2, splashHeight - tall * 0.6, x + (dice.unit() - 0.5) * 14,
                     splashHeight - tall - 30 * dice.unit());
        painter.setPen(QPen(QColor(40 + dice.below(60), 120 + dice.below(70), 40), 1.6));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(blade);
    }
}

void paintTitle(QPainter& painter)
{
    const QPainterPath title = titlePath("Zarn", QRectF(175, 12, 300, 84));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 40, 40, 110));
    painter.drawPath(title.translated(5, 5));
    QLinearGradient gold(0, 12, 0, 96);
    gold.setColorAt(0, QColor(255, 250, 200));
    gold.setColorAt(0.55, QColor(250, 224, 80));
    gold.setColorAt(1, QColor(226, 176, 30));
    painter.setPen(QPen(QColor(8, 70, 64), 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(gold);
    painter.drawPath(title);
}

QImage splashPicture()
{
    QImage image(splashWidth, splashHeight, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    Dice dice(0x5A4A0650u);
    paintSky(painter);
    paintBubbles(painter, dice);
    paintMeadow(painter, dice);
    paintTitle(painter);
    return image;
}

void writeDesktopIcons(const QString& dir, bool& ok)
{
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        const QString path =
            QStringLiteral("%1/icons/hicolor/%2x%2/apps/zarn.png").arg(dir).arg(size);
        ok &= writeFile(path, encodePng(imageRaster(brushIcon(size), PngColour::Rgba)));
    }
    ok &= writeFile(dir + "/icons/hicolor/scalable/apps/zarn.svg",
                    svgDocument(tiltedBrownMushroom()));
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
    ok &= writeFile(dir + "/splash.png", encodePng(imageRaster(splashPicture(), PngColour::Rgb)));
    const std::pair<const char*, QImage> icons[] = {
        {"icon_move.png", moveIcon()},       {"icon_brush.png", brushIcon(24)},
        {"icon_text.png", textIcon()},       {"icon_eye.png", eyedropperIcon()},
        {"icon_marquee.png", marqueeIcon()}, {"icon_lasso.png", lassoIcon()},
        {"icon_wand.png", wandIcon()},       {"icon.png", brushIcon(32)}};
    for (const auto& [name, image] : icons)
        ok &= writeFile(dir + '/' + name, encodePng(imageRaster(image, PngColour::Rgba)));
    writeDesktopIcons(dir, ok);
    return ok ? 0 : 1;
}
