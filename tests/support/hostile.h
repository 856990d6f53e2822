// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>
#include <QByteArray>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QString>
#include <memory>

#include "support/modal.h"
#include "support/procmemory.h"

// Helpers shared by the reliability tests: memory peaks read from the kernel
// and a file dialog answered from a timer.

struct FileDialogAnswer
{
    bool seen = false;
    QString caption;
};

// Types path into the next file dialog and accepts it (confirming an
// overwrite question); a null path cancels. A path the dialog does not
// accept makes it cancel, so the caller never hangs.
inline std::shared_ptr<FileDialogAnswer> answerFileDialog(const QString& path)
{
    auto answer = std::make_shared<FileDialogAnswer>();
    whenModal([path, answer](QWidget* w) {
        auto* dialog = qobject_cast<QFileDialog*>(w);
        if (!dialog) {
            w->close();
            return;
        }
        answer->seen = true;
        answer->caption = dialog->windowTitle();
        if (path.isNull()) {
            dialog->reject();
            return;
        }
        // Saving over an existing file asks first, from inside accept().
        whenModal([](QWidget* box) {
            if (auto* question = qobject_cast<QMessageBox*>(box)) {
                if (QAbstractButton* yes = question->button(QMessageBox::Yes))
                    yes->click();
                else
                    question->accept();
            }
        });
        dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
        static_cast<QDialog*>(dialog)->accept(); // QFileDialog hides accept()
        if (dialog->isVisible())
            dialog->reject();
    });
    return answer;
}
