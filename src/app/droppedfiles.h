// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

class QDropEvent;
class QMimeData;

// Files handed over by the desktop: file managers and desktop entries pass
// plain paths or file:// URLs, drags carry URL lists.

// The local path a command-line argument names: a file:// URL is decoded,
// anything else is taken as a path.
QString local_path_of(const QString& argument);

// The dropped local files whose content the toolkit recognises as an image,
// in the order of the drop; empty for text, remote URLs or other files.
QStringList dropped_image_files(const QMimeData* data);

// Accepts the drag or drop as a copy when it offers image files: a move
// would let the source delete the user's file once it is opened.
bool accept_as_copy(QDropEvent* event, const QStringList& imageFiles);
