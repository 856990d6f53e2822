// SPDX-License-Identifier: MIT
// The undo history of the canvas and the memory behind it.
#include <QTimerEvent>
#include <algorithm>
#include <utility>

#include "canvas/canvas.h"

namespace {

constexpr int kHistoryLimit = 20;
// A document written this recently is still being worked on.
constexpr int kQuietIntervalMs = 100;
// Bytes copied into the spare per turn of the event loop.
constexpr qsizetype kSliceBytes = 4 << 20;

} // namespace

// The snapshot keeps the document's pixels; the document changes to its own
// copy, taken from the spare, which is made ahead while the program is idle
// or else when the document is next handed out for writing. Memory for the
// copy is reserved here, so that it can be refused here: the buffer of a
// snapshot about to be dropped, else a new one, for which the oldest
// snapshots make room.
void Canvas::undoSnapshot()
{
    if (!reserveOwnCopy()) {
        snapshotRefused = true;
        return;
    }
    const QImage previous = documentImage;
    if (spare.holdsCopyOf(documentImage)) {
        documentImage = spare.take(documentImage);
        ownCopyPending = false;
    } else {
        ownCopyPending = true;
    }
    keepSnapshot(previous);
}

void Canvas::keepSnapshot(const QImage& picture)
{
    while (!undoList.empty() &&
           (int(undoList.size()) >= kHistoryLimit || historyBytes(1) > history_budget()))
        undoList.pop_front();
    redoList.clear();
    undoList.push_back(picture);
    changed = true;
    snapshotRefused = false;
    watchForIdle();
}

void Canvas::undo()
{
    stepHistory(undoList, redoList);
}

void Canvas::redo()
{
    stepHistory(redoList, undoList);
}

// The newest picture of from becomes the document; the document goes to to.
void Canvas::stepHistory(std::list<QImage>& from, std::list<QImage>& to)
{
    if (from.empty())
        return;
    to.push_back(std::exchange(documentImage, from.back()));
    from.pop_back();
    ownCopyPending = false;
    watchForIdle();
    update();
}

qint64 Canvas::historyBytes(int extraPictures) const
{
    const qint64 pictures = qint64(undoList.size() + redoList.size()) +
                            (spare.fits(documentImage) ? 1 : 0) + extraPictures;
    return pictures * documentImage.sizeInBytes();
}

bool Canvas::reserveOwnCopy()
{
    if (!spare.fits(documentImage))
        spare.adopt(doomedPicture(), documentImage);
    if (!spare.fits(documentImage))
        spare.adopt(allocate_picture(documentImage.size()), documentImage);
    return spare.fits(documentImage);
}

// A picture the coming snapshot drops anyway: a redo entry, or the oldest
// snapshot of a history that is full or would outgrow its budget with the
// reserved copy and the new entry.
QImage Canvas::doomedPicture()
{
    QImage doomed;
    if (!redoList.empty()) {
        doomed = std::move(redoList.front());
        redoList.pop_front();
    } else if (!undoList.empty() &&
               (int(undoList.size()) >= kHistoryLimit || historyBytes(2) > history_budget())) {
        doomed = std::move(undoList.front());
        undoList.pop_front();
    }
    return doomed;
}

void Canvas::takeOwnCopy()
{
    ownCopyPending = false;
    QImage own = spare.take(documentImage);
    if (own.isNull())
        own = copy_picture(documentImage);
    if (!own.isNull())
        documentImage = std::move(own);
}

// The spare first (it is made again when the program is idle), then what
// could be redone, then the oldest snapshots.
bool Canvas::releasePicture()
{
    if (spare.fits(documentImage)) {
        spare.release();
    } else if (!redoList.empty()) {
        redoList.pop_front();
    } else if (!undoList.empty()) {
        undoList.pop_front();
    } else {
        return false;
    }
    return true;
}

void Canvas::watchForIdle()
{
    watchedKey = documentImage.cacheKey();
    setIdleTimer(kQuietIntervalMs);
}

void Canvas::setIdleTimer(int intervalMs)
{
    if (intervalMs == idleTimerInterval)
        return;
    if (idleTimerId != 0)
        killTimer(idleTimerId);
    idleTimerId = intervalMs < 0 ? 0 : startTimer(intervalMs);
    idleTimerInterval = idleTimerId != 0 ? intervalMs : -1;
}

void Canvas::timerEvent(QTimerEvent* e)
{
    if (e->timerId() != idleTimerId) {
        QWidget::timerEvent(e);
        return;
    }
    const qint64 key = documentImage.cacheKey();
    if (key != watchedKey) {
        // Written since the last look: still being worked on.
        watchedKey = key;
        setIdleTimer(kQuietIntervalMs);
        return;
    }
    prepareSpareSlice();
}

// Within the budget a copy of the document is made, a slice per turn of the
// event loop; its buffer is never worth dropping a snapshot for.
void Canvas::prepareSpareSlice()
{
    if (spare.holdsCopyOf(documentImage) || documentImage.isNull()) {
        setIdleTimer(-1);
        return;
    }
    if (!spare.fits(documentImage)) {
        const int keptAfterNextSnapshot = std::min(int(undoList.size()), kHistoryLimit - 1);
        const qint64 needed = qint64(keptAfterNextSnapshot + 1) * documentImage.sizeInBytes();
        if (needed > history_budget()) {
            setIdleTimer(-1);
            return;
        }
        spare.adopt(try_allocate_picture(documentImage.size()), documentImage);
        if (!spare.fits(documentImage)) {
            setIdleTimer(-1);
            return;
        }
    }
    setIdleTimer(0);
    const int rows = int(std::max<qsizetype>(1, kSliceBytes / documentImage.bytesPerLine()));
    if (spare.advance(documentImage, rows))
        setIdleTimer(-1);
}
