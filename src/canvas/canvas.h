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

#include "tools/scrolltool.h"

class QPainter;
class QTimer;
class Tool;

// The document (picture, selection mask, undo history) and its view in one
// widget. Mouse and key input go to the tool on top of its tool stack.
class Canvas : public QWidget
{
    Q_OBJECT

public:
    explicit Canvas(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    explicit Canvas(const QImage& image, QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~Canvas() override;

    bool init();

    // Document
    QImage& image();
    QBitmap& mask();
    // For reading only: unlike mask(), keeps the caches derived from it.
    const QBitmap& mask() const { return selectionMask; }
    bool isMaskEmpty() const;
    void clearMask();
    void invertMask();
    void updateMaskStuff();
    bool isChanged() const;
    void setChanged(bool value);
    void undoSnapshot();
    void undo();
    void redo();
    void applyImageWithMask(const QImage& image);

    // The clip region of the selection's set pixels, cached until the mask
    // is next handed out for writing or changed by the canvas itself.
    const QRegion& maskRegion() const;

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
    void blendInsideMask(const QImage& source);
    QRect roundedView() const;
    void drawShownMask(QPainter& painter, const QRect& window);
    void paintOutline(QPainter& painter);
    void showMousePosTo(Tool* target);

    // Caches derived from selectionMask; see maskChanged().
    mutable int maskEmptyState = -1; // -1 unknown, 0 no, 1 yes
    mutable QRegion cachedMaskRegion;
    mutable bool maskRegionValid = false;
    // The expanded mask that scaled drawing reads; see drawShownMask().
    QImage colorizedMaskCache;

    // The outline's set pixels as clip regions a few rows high, made with it.
    std::vector<QRegion> outlineBands;

    int emptyCursorPops = 0;
};
