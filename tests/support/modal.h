// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>
#include <QTimer>
#include <QWidget>
#include <functional>

// Drives the next modal dialog: polls from the event loop until a modal
// widget is active, then hands it to handle (which accepts, fills in or
// rejects it). Start it right before the call that blocks on the dialog.
inline void whenModal(std::function<void(QWidget*)> handle, int attempts = 200)
{
    QTimer::singleShot(0, [handle, attempts]() {
        if (QWidget* w = QApplication::activeModalWidget()) {
            handle(w);
        } else if (attempts > 0) {
            // Re-arm through the event loop rather than sleeping.
            whenModal(handle, attempts - 1);
        }
    });
}
