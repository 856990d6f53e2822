// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>
#include <QDialog>
#include <QList>
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

// What the slider dialog offered before the test answered it.
struct SliderSeen
{
    bool shown = false;
    QString title;
    int initial = 0;
    int minimum = 0;
    int maximum = 0;
};

// Answers the next slider dialog: accepts it with value, or cancels it when
// value is empty. Any other modal dialog is rejected so the test cannot hang.
inline std::shared_ptr<SliderSeen> answerSlider(std::optional<int> value, int attempts = 200)
{
    auto seen = std::make_shared<SliderSeen>();
    whenModal(
        [seen, value](QWidget* w) {
            auto* dialog = dynamic_cast<SliderDialog*>(w);
            if (!dialog || !dialog->valueSlider()) {
                if (auto* other = qobject_cast<QDialog*>(w))
                    other->reject();
                return;
            }
            seen->shown = true;
            seen->title = dialog->windowTitle();
            seen->initial = dialog->value();
            seen->minimum = dialog->valueSlider()->minimum();
            seen->maximum = dialog->valueSlider()->maximum();
            if (value) {
                dialog->valueSlider()->setValue(*value);
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
// modality and every value set are recorded. With showAtOnce the dialog
// appears at its first step instead of after seconds, so that a test can
// cancel it from a timer.
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
        maximum = dialog->maximum();
        windowModal = dialog->windowModality() == Qt::WindowModal;
        values.clear();
        if (auto* bar = dialog->findChild<QProgressBar*>())
            QObject::connect(bar, &QProgressBar::valueChanged,
                             [this](int value) { values.append(value); });
        if (showAtOnce)
            dialog->setMinimumDuration(0);
        return dialog;
    }
};
