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

// Helpers shared by the reliability tests: memory peaks read from the kernel
// and a file dialog answered from a timer.

// A field of /proc/self/status in KiB, or -1 when the system has none.
inline long procStatusKiB(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray prefix = QByteArray(field) + ':';
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).trimmed().split(' ').first().toLong();
    }
    return -1;
}

// Lowers the kernel's peak-RSS mark (VmHWM) to the current RSS, so that the
// next reading of VmHWM is the peak of what runs in between.
inline bool resetPeakRss()
{
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    return refs.open(QIODevice::WriteOnly) && refs.write("5") == 1;
}

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
