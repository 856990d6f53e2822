// SPDX-License-Identifier: MIT
#pragma once

#include <QProgressBar>
#include <QProgressDialog>
#include <QSlider>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>

#include "app/sliderdialog.h"
#include "canvas/canvas.h"
#include "support/modal.h"

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

// Title, initial value and range the slider dialog offered; empty title when
// no slider dialog came up.
struct SliderSeen
{
    QString title;
    int initial = 0, minimum = 0, maximum = 0;
};

// Accepts the next slider dialog with value, or cancels it when value is
// empty. With attempts 0 it only looks once, to prove no dialog comes up.
inline std::shared_ptr<SliderSeen> answerSlider(std::optional<int> value, int attempts = 200)
{
    auto seen = std::make_shared<SliderSeen>();
    whenModal(
        [seen, value](QWidget* w) {
            auto* dialog = dynamic_cast<SliderDialog*>(w);
            QSlider* slider = dialog ? dialog->valueSlider() : nullptr;
            if (!slider) {
                w->close();
                return;
            }
            *seen = {dialog->windowTitle(), dialog->value(), slider->minimum(), slider->maximum()};
            if (value) {
                slider->setValue(*value);
                dialog->accept();
            } else {
                dialog->reject();
            }
        },
        attempts);
    return seen;
}

// Presses Cancel on the window's progress dialog as soon as it is on screen.
// The timer only gets its turn once the dialog shows and processes events.
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

// The filter under test with its progress dialog watched: label, range,
// modality and every value set are recorded. With showAtOnce the dialog appears at its
// first step instead of after seconds, so that a timer can cancel it.
template <typename F> class WatchedFilter : public F
{
public:
    using F::F;

    bool showAtOnce = false;
    mutable QString label;
    mutable int maximum = -1;
    mutable bool windowModal = false;
    mutable QList<int> values;

protected:
    std::unique_ptr<QProgressDialog> createProgress(const QString& text, int max) const override
    {
        std::unique_ptr<QProgressDialog> dialog = F::createProgress(text, max);
        label = dialog->labelText();
        windowModal = dialog->windowModality() == Qt::WindowModal;
        maximum = dialog->maximum();
        values.clear();
        QObject::connect(dialog->template findChild<QProgressBar*>(), &QProgressBar::valueChanged,
                         [this](int value) { values.append(value); });
        if (showAtOnce)
            dialog->setMinimumDuration(0);
        return dialog;
    }
};
