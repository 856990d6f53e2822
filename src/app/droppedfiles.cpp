// SPDX-License-Identifier: MIT
#include "app/droppedfiles.h"

#include <QDropEvent>
#include <QFileInfo>
#include <QImageReader>
#include <QMimeData>
#include <QUrl>

QString local_path_of(const QString& argument)
{
    const QUrl url(argument);
    return url.isLocalFile() ? url.toLocalFile() : argument;
}

QStringList dropped_image_files(const QMimeData* data)
{
    QStringList files;
    if (!data || !data->hasUrls())
        return files;
    for (const QUrl& url : data->urls()) {
        const QString path = url.toLocalFile();
        // Only regular files are probed: opening a FIFO would block.
        if (url.isLocalFile() && QFileInfo(path).isFile() && QImageReader(path).canRead())
            files << path;
    }
    return files;
}

bool accept_as_copy(QDropEvent* event, const QStringList& imageFiles)
{
    if (imageFiles.isEmpty() || !(event->possibleActions() & Qt::CopyAction))
        return false;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    return true;
}
