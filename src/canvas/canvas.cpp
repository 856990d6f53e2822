// SPDX-License-Identifier: MIT
#include "canvas/canvas.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QTimer>

#include "canvas/compose.h"
#include "tools/tool.h"

namespace {

constexpr int kWormIntervalMs = 125;
constexpr double kZoomInFactor = 1.5;
constexpr double kZoomOutFactor = 2.0 / 3.0;
constexpr double kArrowStepPixels = 16.0;
constexpr QRgb kOpaqueWhite = 0xFFFFFFFF;

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

} // namespace

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
// Painting

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
