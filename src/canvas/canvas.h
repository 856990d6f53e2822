// SPDX-License-Identifier: MIT
#pragma once

#include <QBitmap>
#include <QCursor>
#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QRegion>
#include <QWidget>
#include <deque>
#include <list>
#include <stack>
#include <vector>

#include "canvas/picturememory.h"
#include "canvas/preparedcopy.h"
#include "tools/scrolltool.h"

class QPainter;
class QTimer;
class Tool;

// A bitmap as LSB-first bits, a bit of 1 being a set (Qt::color1) pixel.
QImage selected_bits(const QBitmap& mask);

// The document (picture, selection mask, undo history) and its view in one
// widget. Mouse and key input go to the tool on top of its tool stack.
//
// Memory: the document owns its pixels once undoSnapshot() has succeeded, so
// a writer never has to copy them (a copy that can fail half-way into the
// picture). The copy is made ahead, while the program is idle, into a spare
// buffer; when memory runs short the oldest snapshots go first, and an
// operation that still does not fit is refused and changes nothing.
class Canvas : public QWidget, private PictureReclaimer
{
    Q_OBJECT

public:
    explicit Canvas(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    explicit Canvas(const QImage& image, QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~Canvas() override;

    bool init();

    // Document
    // The non-const form is for writing: it gives the document its own
    // pixels first. Readers that may run right after a snapshot (filters)
    // use the const form.
    QImage& image();
    const QImage& image() const;
    QBitmap& mask();
    // For reading only: unlike mask(), keeps the caches derived from it.
    const QBitmap& mask() const { return selectionMask; }
    bool isMaskEmpty() const;
    void clearMask();
    void invertMask();
    void updateMaskStuff();
    bool isChanged() const;
    void setChanged(bool value);
    void selectAll();
    void undoSnapshot();
    // False after undoSnapshot() was refused for want of memory (even the
    // emptied history left no room for the copy it needs), until a snapshot
    // succeeds: whoever took it then leaves the picture alone.
    bool canDraw() const { return !snapshotRefused; }
    void undo();
    void redo();
    void applyImageWithMask(const QImage& image);
    // The same, taking over an unshared image as the new document instead
    // of copying it (filters hand over their results this way).
    void applyImageWithMask(QImage&& image);

    // The mask as LSB-first bits, a bit of 1 being a selected pixel, cached
    // until the mask is next handed out for writing or changed by the canvas
    // itself; null when the memory for it cannot be had.
    const QImage& selectionBits() const;

    // View
    QPointF widgetToImage(const QPoint& p) const;
    QPointF widgetToImage(int x, int y) const;
    QPointF imageToWidget(const QPoint& p) const;
    QPointF imageToWidget(int x, int y) const;
    QPointF center() const;
    void setCenter(const QPointF& c);
    void translate(double dx, double dy);
    void translate(const QPointF& d);
    void zoom(double factor);
    void resetView();
    double screenToImage(double d);
    QRect inverseView() const;

    // Painting
    void updateAll();

    // Input routing
    void keyPressEvent(QKeyEvent* e) override;
    void keyReleaseEvent(QKeyEvent* e) override;
    void pushTool(Tool* tool);
    void popTool();
    bool hasTool() const;
    Tool* tool() const;
    void updateMousePos();
    void pushCursor(const QCursor& cursor);
    void popCursor();

    // Read access for tests and the benchmark.
    QRectF viewRect() const { return view; }
    int undoCount() const { return int(undoList.size()); }
    int redoCount() const { return int(redoList.size()); }
    int toolDepth() const { return int(toolStack.size()); }
    int cursorDepth() const { return int(cursorStack.size()); }
    // Pops that found the cursor stack empty: each is a tool's unpaired pop.
    int unpairedCursorPops() const { return emptyCursorPops; }
    int phase() const { return wormPhase; }
    const QBitmap& outlineBitmap() const { return outline; }
    ScrollTool* handTool() { return &scrollTool; }

public slots:
    void wormTimeout();

protected:
    void timerEvent(QTimerEvent* e) override;
    void paintEvent(QPaintEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;

protected:
    QImage documentImage;
    QBitmap selectionMask;
    QBitmap outline;
    QImage wormPattern;
    int wormPhase = 0;
    QTimer* wormTimer = nullptr;
    QRectF view;
    std::stack<Tool*, std::deque<Tool*>> toolStack;
    QPoint mousePos;
    ScrollTool scrollTool;
    std::stack<QCursor, std::deque<QCursor>> cursorStack;
    std::list<QImage> undoList;
    std::list<QImage> redoList;
    bool changed = false;
    bool outlineDirty = false;

private:
    void viewChanged();
    void rebuildOutline(const QRect& window);
    void maskChanged();
    bool releasePicture() override;
    void keepSnapshot(const QImage& picture);
    void stepHistory(std::list<QImage>& from, std::list<QImage>& to);
    bool reserveOwnCopy();
    QImage doomedPicture();
    void takeOwnCopy();
    QImage writableTarget(QImage& source);
    qint64 historyBytes(int extraPictures) const;
    void watchForIdle();
    void setIdleTimer(int intervalMs);
    void prepareSpareSlice();
    QRect roundedView() const;
    bool drawShownMask(QPainter& painter, const QRect& window);
    void paintOutline(QPainter& painter);
    void showMousePosTo(Tool* target);

    // Caches derived from selectionMask; see maskChanged().
    mutable int maskEmptyState = -1; // -1 unknown, 0 no, 1 yes
    mutable QImage cachedSelectionBits;
    // The expanded mask that scaled drawing reads; see drawShownMask().
    QImage colorizedMaskCache;

    // The outline's set pixels as clip regions a few rows high, made with it.
    std::vector<QRegion> outlineBands;

    int emptyCursorPops = 0;

    // The buffer for the document's next own copy; see undoSnapshot().
    PreparedCopy spare;
    // The document still shares its pixels with the newest snapshot; the
    // spare is reserved for its own copy.
    bool ownCopyPending = false;
    bool snapshotRefused = false;
    // Watches the document for a quiet moment, then fills the spare.
    int idleTimerId = 0;
    int idleTimerInterval = -1;
    qint64 watchedKey = 0;
};
