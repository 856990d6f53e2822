// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QString>

// Reading and writing of document files, hardened against hostile input.

// Largest decoded image we accept, in MiB; files whose header claims more are
// refused before any pixel memory is allocated.
constexpr int kImageAllocationLimitMiB = 1024;

// Loads any image the toolkit reads (format from the content), turned upright
// as its orientation tag says, as a plain document picture (device pixel
// ratio 1). Returns a null image for anything unreadable, oversized or not a
// regular readable file.
QImage load_image_file(const QString& path);

// Saves in the format of the name's suffix through a temporary file, so a
// failed save leaves an existing file untouched. In a folder that refuses new
// files, an existing writable file is overwritten in place instead.
bool save_image_file(const QImage& image, const QString& path);
