// SPDX-License-Identifier: MIT
#pragma once

#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QSlider>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>

#include "app/sliderdialog.h"
#include "canvas/canvas.h"
#include "support/modal.h"

inline QImage filled(int width, int height, QRgb pixel)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(pixel);
    return image;
}

// Opaque, and pixel (x, y) names its own position in red and green.
inline QImage positions(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x, y, 7));
    return image;
}

// A main-window stand-in owning one initialised canvas with the picture.
struct FilterDocument
{
    QWidget window;
    Canvas* canvas;

    explicit FilterDocument(const QImage& picture) : canvas(new Canvas(picture, &window))
    {
        canvas->init();
    }
    QImage picture() const { return canvas->image(); }
};

// Accepts the next slider dialog with value, or cancels it when value is
// empty; with attempts 0 it looks only once, to prove that none comes up.
// The text tells what the dialog offered: "title initial minimum..maximum".
inline std::shared_ptr<QString> answerSlider(std::optional<int> value, int attempts = 200)
{
    auto seen = std::make_shared<QString>();
    whenModal(
        [seen, value](QWidget* w) {
            auto* dialog = dynamic_cast<SliderDialog*>(w);
            if (!dialog) {
                w->close();
                return;
            }
            QSlider* slider = dialog->valueSlider();
            *seen = QString::asprintf("%s %d %d..%d", qPrintable(dialog->windowTitle()),
                                      dialog->value(), slider->minimum(), slider->maximum());
            if (value)
                slider->setValue(*value);
            value ? dialog->accept() : dialog->reject();
        },
        attempts);
    return seen;
}

// Presses Cancel on the window's progress dialog once it is on screen: the
// timer only gets its turn when the dialog shows and processes events.
inline void cancelProgressWhenShown(QWidget* window, int attempts = 1000)
{
    QTimer::singleShot(0, window, [window, attempts]() {
        auto* dialog = window->findChild<QProgressDialog*>();
        if (dialog && dialog->isVisible())
            dialog->cancel();
        else if (attempts > 0)
            cancelProgressWhenShown(window, attempts - 1);
    });
}

// The filter with its progress dialog watched: "label button 0..maximum"
// plus " modal" when it is window-modal over the filter's parent, and every
// value set. With showAtOnce the dialog appears at the first step instead of
// after seconds, so that a timer can cancel it.
template <typename F> class WatchedFilter : public F
{
public:
    using F::F;

    bool showAtOnce = false;
    mutable QString progress;
    mutable QList<int> values;

protected:
    std::unique_ptr<QProgressDialog> createProgress(const QString& text, int max) const override
    {
        std::unique_ptr<QProgressDialog> dialog = F::createProgress(text, max);
        const bool modal =
            dialog->windowModality() == Qt::WindowModal && dialog->parentWidget() == F::parent();
        progress = QString::asprintf("%s %s %d..%d%s", qPrintable(dialog->labelText()),
                                     qPrintable(dialog->findChild<QPushButton*>()->text()),
                                     dialog->minimum(), dialog->maximum(), modal ? " modal" : "");
        values.clear();
        QObject::connect(dialog->template findChild<QProgressBar*>(), &QProgressBar::valueChanged,
                         [this](int value) { values.append(value); });
        if (showAtOnce)
            dialog->setMinimumDuration(0);
        return dialog;
    }
};
