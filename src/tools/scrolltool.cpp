// SPDX-License-Identifier: MIT
#include "tools/scrolltool.h"

#include <QCursor>

#include "canvas/canvas.h"

void ScrollTool::mousePressEvent(const QPoint& widgetPos, const QPointF&, Qt::MouseButton button,
                                 Qt::MouseButtons, Qt::KeyboardModifiers)
{
    if (button != Qt::LeftButton)
        return;
    // A second left press before the release must not stack a second hand.
    if (!closedHandPushed) {
        canvas->pushCursor(QCursor(Qt::ClosedHandCursor));
        closedHandPushed = true;
    }
    anchor = widgetPos;
}

void ScrollTool::mouseReleaseEvent(const QPoint&, const QPointF&, Qt::MouseButton button,
                                   Qt::MouseButtons, Qt::KeyboardModifiers)
{
    // The button may have gone down under another tool, before Space was
    // pressed: then the closed hand is not ours to take away.
    if (button != Qt::LeftButton || !closedHandPushed)
        return;
    canvas->popCursor();
    closedHandPushed = false;
}

void ScrollTool::mouseMoveEvent(const QPoint& widgetPos, const QPointF&, Qt::MouseButtons buttons,
                                Qt::KeyboardModifiers)
{
    if (!buttons.testFlag(Qt::LeftButton))
        return;
    const QPointF from = canvas->widgetToImage(anchor);
    const QPointF to = canvas->widgetToImage(widgetPos);
    canvas->translate(from - to);
    canvas->update();
    anchor = widgetPos;
}

void ScrollTool::activeEvent(bool active)
{
    if (active) {
        closedHandPushed = false;
        canvas->pushCursor(QCursor(Qt::OpenHandCursor));
        return;
    }
    // Space released in the middle of a drag: the closed hand goes with the
    // open one, or it would outlive this activation on the cursor stack.
    if (closedHandPushed) {
        canvas->popCursor();
        closedHandPushed = false;
    }
    canvas->popCursor();
}
