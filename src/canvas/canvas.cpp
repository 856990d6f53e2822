// SPDX-License-Identifier: MIT
#include "canvas/canvas.h"

#include <QColor>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QTimer>
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "canvas/compose.h"
#include "canvas/edgedetect.h"
#include "tools/tool.h"

namespace {

constexpr int kHistoryLimit = 20;
constexpr int kWormIntervalMs = 125;
constexpr double kZoomInFactor = 1.5;
constexpr double kZoomOutFactor = 2.0 / 3.0;
constexpr double kArrowStepPixels = 16.0;
constexpr QRgb kOpaqueWhite = 0xFFFFFFFF;
// Far beyond any widget, yet safe to turn into an int, also as the sum of a
// position and a size (QRect adds them for its right and bottom edges).
constexpr double kCoordinateLimit = 1 << 29;

// Halves go up, toward positive infinity (qRound would take -0.5 to -1).
int round_half_up(double value)
{
    if (std::isnan(value))
        return 0;
    return int(std::floor(std::clamp(value, -kCoordinateLimit, kCoordinateLimit) + 0.5));
}

// A zero divisor (a widget or view without size) maps everything to the
// origin instead of producing infinities.
double ratio(double numerator, double denominator)
{
    return denominator == 0.0 ? 0.0 : numerator / denominator;
}

QImage blank_document()
{
    QImage image(800, 600, QImage::Format_ARGB32_Premultiplied);
    image.fill(kOpaqueWhite);
    return image;
}

// A null image (nothing decoded, or no pixels) becomes one transparent pixel
// rather than an empty document: every mapping divides by the image size and
// every tool indexes its pixels, so a real pixel keeps all of them defined.
QImage document_from(const QImage& image)
{
    if (image.isNull()) {
        QImage pixel(1, 1, QImage::Format_ARGB32_Premultiplied);
        pixel.fill(Qt::transparent);
        return pixel;
    }
    QImage document = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    // The default resolution does not depend on the size, so a one-pixel
    // image tells it without allocating a second picture.
    const QImage fresh(1, 1, QImage::Format_ARGB32_Premultiplied);
    document.setDotsPerMeterX(fresh.dotsPerMeterX());
    document.setDotsPerMeterY(fresh.dotsPerMeterY());
    return document;
}

// A region clip costs Qt spans for its height times its rectangle count (an
// int that a noisy outline can overflow), so the outline is clipped in bands
// of a few rows, each with only its own rectangles.
std::vector<QRegion> bands_of(const QRegion& region)
{
    constexpr int kBandRows = 16;
    std::vector<QRegion> bands;
    std::vector<QRect> rects;
    auto flush = [&]() {
        if (rects.empty())
            return;
        // The rectangles come from a region, already in its banded order.
        QRegion band;
        band.setRects(rects.data(), int(rects.size()));
        bands.push_back(band);
        rects.clear();
    };
    int bandEnd = INT_MIN;
    for (const QRect& r : region) {
        if (r.top() >= bandEnd) {
            flush();
            bandEnd = r.top() + kBandRows;
        }
        rects.push_back(r);
    }
    flush();
    return bands;
}

bool any_byte_set(const uchar* bytes, int count)
{
    int i = 0;
    for (; i + 8 <= count; i += 8) {
        quint64 word;
        std::memcpy(&word, bytes + i, sizeof word);
        if (word != 0)
            return true;
    }
    for (; i < count; ++i) {
        if (bytes[i] != 0)
            return true;
    }
    return false;
}

// Qt 6 leaves the row padding of 1-bit images uninitialised, so only the
// bytes and bits that hold pixels are looked at.
bool any_bit_set(const QImage& lsbBits)
{
    const int fullBytes = lsbBits.width() / 8;
    const int tailBits = lsbBits.width() % 8;
    const uchar tailMask = uchar((1u << tailBits) - 1);
    for (int y = 0; y < lsbBits.height(); ++y) {
        const uchar* line = lsbBits.constScanLine(y);
        if (any_byte_set(line, fullBytes))
            return true;
        if (tailBits != 0 && (line[fullBytes] & tailMask) != 0)
            return true;
    }
    return false;
}

// Writes the part area of the picture QPainter makes of a bitmap before it
// scales it: the pen colour (black) where a bit is set, transparent elsewhere.
void colorize_into(const QImage& lsbBits, const QRect& area, QImage& out)
{
    const QRgb ink = qPremultiply(QColor(Qt::black).rgba());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const uchar* source = lsbBits.constScanLine(y);
        auto* target = reinterpret_cast<QRgb*>(out.scanLine(y));
        int x = area.left();
        for (; x <= area.right() && (x & 7) != 0; ++x)
            target[x] = ((source[x >> 3] >> (x & 7)) & 1) ? ink : 0;
        for (; x + 8 <= area.right() + 1; x += 8) {
            const uchar byte = source[x >> 3];
            if (byte == 0 || byte == 0xFF) {
                std::fill_n(target + x, 8, byte == 0 ? QRgb(0) : ink);
                continue;
            }
            for (int bit = 0; bit < 8; ++bit)
                target[x + bit] = ((byte >> bit) & 1) ? ink : 0;
        }
        for (; x <= area.right(); ++x)
            target[x] = ((source[x >> 3] >> (x & 7)) & 1) ? ink : 0;
    }
}

// The 1-bit image of the dark pixels of a black-on-white picture: black
// becomes set, as a conversion to a bitmap would have it.
QImage dark_pixels(const QImage& picture)
{
    QImage bits(picture.size(), QImage::Format_MonoLSB);
    bits.setColor(0, QColor(Qt::color0).rgba());
    bits.setColor(1, QColor(Qt::color1).rgba());
    const int width = picture.width();
    for (int y = 0; y < picture.height(); ++y) {
        const auto* source = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        uchar* target = bits.scanLine(y);
        std::memset(target, 0, size_t(bits.bytesPerLine()));
        for (int x = 0; x < width; ++x) {
            if (qGray(source[x]) < 128)
                target[x >> 3] |= uchar(1u << (x & 7));
        }
    }
    return bits;
}

} // namespace

QImage selected_bits(const QBitmap& mask)
{
    QImage bits = mask.toImage().convertToFormat(QImage::Format_MonoLSB);
    const QRgb selected = QColor(Qt::color1).rgba();
    if (bits.color(1) != selected && bits.color(0) == selected)
        bits.invertPixels();
    return bits;
}

// ---------------------------------------------------------------------------
// Document

Canvas::Canvas(QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags)
{
    setAttribute(Qt::WA_MouseTracking);
    documentImage = blank_document();
    add_reclaimer(this);
}

Canvas::Canvas(const QImage& image, QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags)
{
    setAttribute(Qt::WA_MouseTracking);
    documentImage = document_from(image);
    add_reclaimer(this);
}

// The tools on the stack belong to the main window and are left as they are.
Canvas::~Canvas()
{
    remove_reclaimer(this);
}

bool Canvas::init()
{
    const QImage pattern(QStringLiteral(":/data/worm_8.png"));
    if (pattern.isNull())
        return false;
    wormPattern = pattern;
    // Without a mask there is no document to work on: the caller keeps
    // whatever it had.
    QBitmap mask(documentImage.size());
    while (mask.isNull() && release_picture_memory())
        mask = QBitmap(documentImage.size());
    if (mask.isNull())
        return false;
    wormPhase = 0;
    selectionMask = mask;
    selectionMask.fill(Qt::color0);
    maskChanged();
    outlineDirty = true;
    update();
    // The first entry shares the document's pixels: nothing is copied
    // before the first change, whose snapshot makes the document's own copy.
    keepSnapshot(documentImage);
    changed = false;
    // A second call must not start a second animation.
    if (!wormTimer) {
        wormTimer = new QTimer(this);
        connect(wormTimer, &QTimer::timeout, this, &Canvas::wormTimeout);
        wormTimer->setInterval(kWormIntervalMs);
        wormTimer->start();
    }
    return true;
}

QImage& Canvas::image()
{
    if (ownCopyPending)
        takeOwnCopy();
    return documentImage;
}

const QImage& Canvas::image() const
{
    return documentImage;
}

QBitmap& Canvas::mask()
{
    // The caller may write through the reference.
    maskChanged();
    return selectionMask;
}

bool Canvas::isMaskEmpty() const
{
    if (maskEmptyState >= 0)
        return maskEmptyState == 1;
    if (selectionMask.isNull())
        return true;
    const QImage& bits = selectionBits();
    // Bits that could not be read say nothing; "not empty" keeps every
    // writer inside a selection that may exist.
    if (bits.isNull())
        return false;
    maskEmptyState = any_bit_set(bits) ? 0 : 1;
    return maskEmptyState == 1;
}

const QRegion& Canvas::maskRegion() const
{
    if (!maskRegionValid) {
        cachedMaskRegion = selectionMask.isNull() ? QRegion() : QRegion(selectionMask);
        maskRegionValid = true;
    }
    return cachedMaskRegion;
}

const QImage& Canvas::selectionBits() const
{
    if (cachedSelectionBits.isNull() && !selectionMask.isNull())
        cachedSelectionBits = selected_bits(selectionMask);
    return cachedSelectionBits;
}

void Canvas::maskChanged()
{
    cachedSelectionBits = QImage();
    maskEmptyState = -1;
    maskRegionValid = false;
    cachedMaskRegion = QRegion();
}

void Canvas::clearMask()
{
    selectionMask.fill(Qt::color0);
    maskChanged();
    outlineDirty = true;
    update();
}

void Canvas::invertMask()
{
    if (!selectionMask.isNull()) {
        QImage bits = selectionBits();
        bits.invertPixels();
        const QBitmap inverted = QBitmap::fromImage(bits);
        // Out of memory the selection stays as it was.
        if (inverted.isNull() || inverted.size() != selectionMask.size())
            return;
        selectionMask = inverted;
    }
    maskChanged();
    outlineDirty = true;
    update();
}

void Canvas::selectAll()
{
    // A shared mask would be filled into a new allocation that may fail.
    if (!selectionMask.isDetached()) {
        const QBitmap own(selectionMask.size());
        if (own.isNull())
            return;
        selectionMask = own;
    }
    selectionMask.fill(Qt::color1);
    updateMaskStuff();
}

void Canvas::updateMaskStuff()
{
    maskChanged();
    outlineDirty = true;
    update();
}

bool Canvas::isChanged() const
{
    return changed;
}

void Canvas::setChanged(bool value)
{
    changed = value;
}

void Canvas::applyImageWithMask(const QImage& source)
{
    QImage shared = source; // shared, so never taken over
    applyImageWithMask(std::move(shared));
}

// Drawn "source over the picture, clipped to the selection" in bands (see
// compose_over), into the one buffer that needs no copy: the handed-over
// result itself, else the document when it owns its pixels, else the spare.
// Out of memory the picture stays as it was.
void Canvas::applyImageWithMask(QImage&& source)
{
    const QImage selected = isMaskEmpty() ? QImage() : selectionBits();
    if (!isMaskEmpty() && selected.isNull())
        return;
    const bool takeOver = source.isDetached() && source.size() == documentImage.size() &&
                          source.format() == documentImage.format();
    if (!takeOver && documentImage.isDetached() && !ownCopyPending) {
        compose_over(documentImage, source, selected, documentImage);
        update();
        return;
    }
    QImage target = takeOver ? std::move(source) : QImage();
    if (!takeOver && reserveOwnCopy())
        target = spare.takeBuffer();
    if (target.isNull() ||
        !compose_over(documentImage, takeOver ? target : source, selected, target))
        return;
    copy_metadata(documentImage, target);
    documentImage = std::move(target);
    ownCopyPending = false;
    watchForIdle();
    update();
}

// ---------------------------------------------------------------------------
// View

QPointF Canvas::widgetToImage(const QPoint& p) const
{
    return QPointF(view.x() + ratio(p.x(), width()) * view.width(),
                   view.y() + ratio(p.y(), height()) * view.height());
}

QPointF Canvas::widgetToImage(int x, int y) const
{
    return widgetToImage(QPoint(x, y));
}

QPointF Canvas::imageToWidget(const QPoint& p) const
{
    return QPointF(ratio(double(width()) * (p.x() - view.x()), view.width()),
                   ratio(double(height()) * (p.y() - view.y()), view.height()));
}

QPointF Canvas::imageToWidget(int x, int y) const
{
    return imageToWidget(QPoint(x, y));
}

QPointF Canvas::center() const
{
    return QPointF(view.x() + 0.5 * view.width(), view.y() + 0.5 * view.height());
}

void Canvas::setCenter(const QPointF& c)
{
    const QPointF current = center();
    view.moveTo(view.x() + c.x() - current.x(), view.y() + c.y() - current.y());
    viewChanged();
}

void Canvas::translate(double dx, double dy)
{
    view.moveTo(view.x() + std::trunc(dx), view.y() + std::trunc(dy));
    viewChanged();
}

void Canvas::translate(const QPointF& d)
{
    view.moveTo(view.x() + d.x(), view.y() + d.y());
    viewChanged();
}

void Canvas::zoom(double factor)
{
    const QPointF c = center();
    const double newWidth = ratio(view.width(), factor);
    // Without a widget size there is no aspect ratio to follow.
    const double newHeight =
        width() > 0 ? newWidth * height() / width() : ratio(view.height(), factor);
    const double left = c.x() - 0.5 * newWidth;
    const double top = c.y() - 0.5 * newHeight;
    view = QRectF(left, top, (c.x() + 0.5 * newWidth) - left, (c.y() + 0.5 * newHeight) - top);
    viewChanged();
}

void Canvas::resetView()
{
    view = QRectF(0, 0, width(), height());
    const QPointF middle = widgetToImage(QPoint(width() / 2, height() / 2));
    view.moveTo(view.x() + documentImage.width() / 2 - middle.x(),
                view.y() + documentImage.height() / 2 - middle.y());
    viewChanged();
}

void Canvas::resizeEvent(QResizeEvent* e)
{
    // A widget's first resize reports no previous size: there is no
    // magnification to keep yet.
    const QSize old = e->oldSize();
    if (old.width() > 0 && old.height() > 0) {
        view.setWidth(view.width() * e->size().width() / old.width());
        view.setHeight(view.height() * e->size().height() / old.height());
    }
    viewChanged();
}

double Canvas::screenToImage(double d)
{
    return ratio(d * view.width(), documentImage.width());
}

QRect Canvas::inverseView() const
{
    const QPointF topLeft = imageToWidget(QPoint(0, 0));
    const QPointF bottomRight =
        imageToWidget(QPoint(documentImage.width(), documentImage.height()));
    return QRect(QPoint(round_half_up(topLeft.x()), round_half_up(topLeft.y())),
                 QPoint(round_half_up(bottomRight.x()), round_half_up(bottomRight.y())));
}

void Canvas::viewChanged()
{
    updateMousePos();
    outlineDirty = true;
    update();
}

// ---------------------------------------------------------------------------
// Painting

QRect Canvas::roundedView() const
{
    return QRect(round_half_up(view.x()), round_half_up(view.y()), round_half_up(view.width()),
                 round_half_up(view.height()));
}

void Canvas::paintEvent(QPaintEvent*)
{
    // Before the first resetView(), or zoomed in beyond half a pixel per
    // widget, there is no window to map through: only the background shows.
    const QRect window = roundedView();
    const bool mappable = window.width() > 0 && window.height() > 0;
    if (outlineDirty && mappable)
        rebuildOutline(window);

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), Qt::gray);
    if (!mappable)
        return;
    painter.setWindow(window);
    painter.drawImage(0, 0, documentImage);
    if (!toolStack.empty()) {
        painter.save();
        toolStack.top()->paintEvent(&painter);
        painter.restore();
    }
    if (!isMaskEmpty())
        paintOutline(painter);
}

void Canvas::paintOutline(QPainter& painter)
{
    if (outlineBands.empty())
        return;
    painter.setViewTransformEnabled(false);
    QBrush stripes(wormPattern);
    stripes.setTransform(QTransform::fromTranslate(wormPhase & 7, 0));
    for (const QRegion& band : outlineBands) {
        painter.setClipRegion(band, Qt::ReplaceClip);
        painter.fillRect(band.boundingRect(), stripes);
    }
}

void Canvas::rebuildOutline(const QRect& window)
{
    outlineDirty = false;
    const QSize area = size();
    if (isMaskEmpty() || area.isEmpty()) {
        outline = QBitmap(area);
        outline.fill(Qt::color0);
        outlineBands.clear();
        return;
    }
    QImage shown(area, QImage::Format_ARGB32_Premultiplied);
    bool drawn = !shown.isNull();
    if (drawn) {
        shown.fill(kOpaqueWhite);
        QPainter painter(&shown);
        painter.setWindow(window);
        drawn = drawShownMask(painter, window);
    }
    if (!drawn) {
        // Out of memory: no outline this time, another try at the next paint.
        outline = QBitmap();
        outlineBands.clear();
        outlineDirty = true;
        return;
    }
    outline = find_edges_in_bits(dark_pixels(shown));
    outlineBands = outline.isNull() ? std::vector<QRegion>() : bands_of(QRegion(outline));
}

// QPainter draws a bitmap by itself only under a pure translation; under any
// other mapping it first expands the whole bitmap to a 32-bit picture and
// draws that, which for a large image costs far more than the drawing. The
// drawing only reads the part of the picture that lies under the window, so
// expanding that part (with a margin for rounding) into a buffer kept for
// the next time gives the same pixels for a fraction of the cost.
bool Canvas::drawShownMask(QPainter& painter, const QRect& window)
{
    if (painter.combinedTransform().type() <= QTransform::TxTranslate) {
        painter.drawPixmap(QPointF(0, 0), selectionMask);
        return true;
    }
    if (colorizedMaskCache.size() != selectionMask.size())
        colorizedMaskCache = QImage(selectionMask.size(), QImage::Format_ARGB32_Premultiplied);
    const QImage& bits = selectionBits();
    if (colorizedMaskCache.isNull() || bits.isNull())
        return false;
    const QRect read = window.adjusted(-2, -2, 2, 2) & selectionMask.rect();
    colorize_into(bits, read, colorizedMaskCache);
    painter.drawImage(QPointF(0, 0), colorizedMaskCache);
    return true;
}

void Canvas::wormTimeout()
{
    ++wormPhase;
    if (!selectionMask.isNull())
        update();
}

void Canvas::updateAll()
{
    maskChanged();
    updateMousePos();
    outlineDirty = true;
    update();
}

// ---------------------------------------------------------------------------
// Input routing

void Canvas::mousePressEvent(QMouseEvent* e)
{
    if (toolStack.empty())
        return;
    const QPoint pos = e->position().toPoint();
    toolStack.top()->mousePressEvent(pos, widgetToImage(pos), e->button(), e->buttons(),
                                     e->modifiers());
}

void Canvas::mouseReleaseEvent(QMouseEvent* e)
{
    if (toolStack.empty())
        return;
    const QPoint pos = e->position().toPoint();
    toolStack.top()->mouseReleaseEvent(pos, widgetToImage(pos), e->button(), e->buttons(),
                                       e->modifiers());
}

void Canvas::mouseMoveEvent(QMouseEvent* e)
{
    mousePos = e->position().toPoint();
    if (toolStack.empty())
        return;
    const QPointF imagePos = widgetToImage(mousePos);
    Tool* active = toolStack.top();
    active->setMousePos(mousePos, imagePos);
    active->mouseMoveEvent(mousePos, imagePos, e->buttons(), e->modifiers());
    update();
}

void Canvas::keyPressEvent(QKeyEvent* e)
{
    const double step = screenToImage(kArrowStepPixels);
    const bool control = e->modifiers().testFlag(Qt::ControlModifier);
    switch (e->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        if (control)
            zoom(kZoomInFactor);
        return;
    case Qt::Key_Minus:
        if (control)
            zoom(kZoomOutFactor);
        return;
    case Qt::Key_0:
        if (control)
            resetView();
        return;
    case Qt::Key_Space:
        if (!e->isAutoRepeat())
            pushTool(&scrollTool);
        return;
    case Qt::Key_Up:
        translate(0, -step);
        return;
    case Qt::Key_Down:
        translate(0, step);
        return;
    case Qt::Key_Left:
        translate(-step, 0);
        return;
    case Qt::Key_Right:
        translate(step, 0);
        return;
    default:
        if (!toolStack.empty())
            toolStack.top()->keyPressEvent(e->key(), e->text(), e->modifiers());
    }
}

void Canvas::keyReleaseEvent(QKeyEvent* e)
{
    if (e->key() == Qt::Key_Space) {
        if (!e->isAutoRepeat() && tool() == &scrollTool)
            popTool();
        return;
    }
    if (!toolStack.empty())
        toolStack.top()->keyReleaseEvent(e->key(), e->text(), e->modifiers());
}

void Canvas::pushTool(Tool* newTool)
{
    if (!newTool)
        return;
    if (!toolStack.empty())
        toolStack.top()->setInactive();
    toolStack.push(newTool);
    newTool->setActive(this);
    showMousePosTo(newTool);
}

void Canvas::popTool()
{
    if (toolStack.empty())
        return;
    toolStack.top()->setInactive();
    toolStack.pop();
    if (toolStack.empty())
        return;
    toolStack.top()->setActive(this);
    showMousePosTo(toolStack.top());
}

bool Canvas::hasTool() const
{
    return !toolStack.empty();
}

Tool* Canvas::tool() const
{
    return toolStack.empty() ? nullptr : toolStack.top();
}

void Canvas::showMousePosTo(Tool* target)
{
    target->setMousePos(mousePos, widgetToImage(mousePos));
}

void Canvas::updateMousePos()
{
    if (toolStack.empty())
        return;
    showMousePosTo(toolStack.top());
    update();
}

void Canvas::pushCursor(const QCursor& cursor)
{
    cursorStack.push(cursor);
    setCursor(cursor);
}

void Canvas::popCursor()
{
    // Every pop pairs with a push; an unpaired one is ignored rather than
    // allowed to take the arrow away.
    if (cursorStack.empty()) {
        ++emptyCursorPops;
        return;
    }
    cursorStack.pop();
    if (cursorStack.empty())
        setCursor(Qt::ArrowCursor);
    else
        setCursor(cursorStack.top());
}
