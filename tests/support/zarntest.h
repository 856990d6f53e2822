// SPDX-License-Identifier: MIT
// What the test programs share: pictures made to order, the one driver of
// modal dialogs, and a main window with a document to drive tools through.
#pragma once

#include <QtTest>
#include <QtWidgets>

#include "app/colorwidget.h"
#include "app/imagefile.h"
#include "app/mainwindow.h"
#include "app/sliderdialog.h"
#include "app/splash.h"
#include "canvas/canvas.h"
#include "canvas/edgedetect.h"
#include "filters/bumpfilter.h"
#include "filters/invertfilter.h"
#include "filters/zarnelatefilter.h"
#include "filters/zarnifyfilter.h"
#include "filters/zarnonimatefilter.h"
#include "tools/brushtool.h"
#include "tools/magicwandtool.h"
#include "tools/texttool.h"

inline QImage filled(int width, int height, QRgb pixel)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(pixel);
    return image;
}

// Opaque, and pixel (x, y) names its own position in red and green.
inline QImage positions(int width, int height)
{
    QImage image = filled(width, height, 0);
    for (int i = 0; i < width * height; ++i)
        image.setPixel(i % width, i / width, qRgb(i % width, i / width, 7));
    return image;
}

// Hands the next modal widget to handle once it is up: start it right before
// the call that blocks. It re-arms through the event loop; 0 attempts look once.
inline void whenModal(std::function<void(QWidget*)> handle, int attempts = 200)
{
    QTimer::singleShot(0, [handle, attempts]() {
        if (QWidget* w = QApplication::activeModalWidget())
            handle(w);
        else if (attempts > 0)
            whenModal(handle, attempts - 1);
    });
}

// Types path into the next file dialog and accepts it, saying yes to an
// overwrite question; a null path cancels. Returns the dialog's caption.
inline std::shared_ptr<QString> answerFileDialog(const QString& path)
{
    auto caption = std::make_shared<QString>();
    whenModal([path, caption](QWidget* w) {
        *caption = w->windowTitle();
        if (auto* dialog = qobject_cast<QFileDialog*>(w); dialog && !path.isNull()) {
            whenModal([](QWidget* box) {
                if (auto* question = qobject_cast<QMessageBox*>(box)) // or "file not found"
                    question->button(QMessageBox::Yes) ? question->button(QMessageBox::Yes)->click()
                                                       : void(question->close());
            });
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            static_cast<QDialog*>(dialog)->accept(); // QFileDialog hides its own
        }
        if (w->isVisible()) // a path the dialog only navigated to
            w->close();
    });
    return caption;
}

// Accepts the next slider dialog with value, or cancels it without one.
// Returns what it offered: "title initial minimum..maximum".
inline std::shared_ptr<QString> answerSlider(std::optional<int> value, int attempts = 200)
{
    auto seen = std::make_shared<QString>();
    whenModal(
        [seen, value](QWidget* w) {
            if (auto* dialog = qobject_cast<SliderDialog*>(w)) {
                QSlider* slider = dialog->valueSlider();
                *seen = QString::asprintf("%s %d %d..%d", qPrintable(w->windowTitle()),
                                          slider->value(), slider->minimum(), slider->maximum());
                slider->setValue(value.value_or(slider->value()));
                value ? dialog->accept() : dialog->reject();
            }
        },
        attempts);
    return seen;
}

// An active main window with the picture, if any, and the tool picked. Gestures
// take image points and go straight to the canvas (offscreen misplaces cursors).
struct Harness
{
    explicit Harness(const QImage& picture = {}, const QString& label = QString())
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        window.resize(900, 700);
        window.show();
        window.activateWindow();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window never became active");
        if (!picture.isNull()) {
            window.setCanvas(canvas = new Canvas(picture));
            canvas->resetView();
            pick(label);
        }
    }
    // Triggers the action of the menus or the tool bar with that text.
    void trigger(const QString& label)
    {
        for (QAction* action : window.findChildren<QAction*>())
            if (action->text() == label && !label.isEmpty())
                return action->trigger();
    }
    void pick(const QString& label)
    {
        trigger(label);
        tool = window.registeredTool(label);
    }
    void mouse(QEvent::Type type, int x, int y, Qt::MouseButton b, Qt::KeyboardModifiers mods = {})
    {
        held.setFlag(b, type == QEvent::MouseButtonPress); // a move's NoButton keeps them
        const QPointF at = canvas->imageToWidget(x, y);
        QMouseEvent event(type, at, canvas->mapToGlobal(at), b, held, mods);
        QApplication::sendEvent(canvas, &event);
    }
    void press(int x, int y, Qt::KeyboardModifiers mods = {}, Qt::MouseButton b = Qt::LeftButton)
    {
        mouse(QEvent::MouseButtonPress, x, y, b, mods);
    }
    void move(int x, int y) { mouse(QEvent::MouseMove, x, y, Qt::NoButton); }
    void release(int x, int y, Qt::MouseButton b = Qt::LeftButton)
    {
        mouse(QEvent::MouseButtonRelease, x, y, b);
    }
    // Pressed at the first point, moved through the rest, released at the last.
    void drag(const QList<QPoint>& path, Qt::KeyboardModifiers mods = {})
    {
        press(path.first().x(), path.first().y(), mods);
        for (const QPoint& p : path.mid(1))
            move(p.x(), p.y());
        release(path.last().x(), path.last().y());
    }
    void type(const QString& text, int times = 1)
    {
        QTest::keyClicks(canvas, text.repeated(times));
    }
    void select(const QRegion& region)
    {
        canvas->mask().fill(Qt::color0);
        for (const QRect& rect : region)
            QPainter(&canvas->mask()).fillRect(rect, Qt::color1);
        canvas->updateMaskStuff();
    }
    QRegion selection() const { return QRegion(std::as_const(*canvas).mask()); }
    bool selects(const QRegion& region) const { return (selection() ^ region).isEmpty(); }

    MainWindow window;
    Canvas* canvas = nullptr;
    Tool* tool = nullptr;
    Qt::MouseButtons held;
};
