// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>

// A buffer that becomes a copy of a picture a few rows at a time, while the
// program is idle, so that a later snapshot finds the copy already made. It
// tells a finished copy from a stale one by the picture's cache key, which
// every write access changes.
class PreparedCopy
{
public:
    // Keeps buffer when it is unshared and can hold a copy of like.
    void adopt(QImage buffer, const QImage& like);
    void release();
    bool fits(const QImage& picture) const;
    bool holdsCopyOf(const QImage& picture) const;
    // Copies the next rows of picture, starting over when it was written
    // since; true once the whole copy is made.
    bool advance(const QImage& picture, int rows);
    // The finished copy of picture, metadata included, made now as far as it
    // is not yet; null without a fitting buffer. The buffer goes with it.
    QImage take(const QImage& picture);
    // The buffer, whatever it holds.
    QImage takeBuffer();

private:
    QImage buffer;
    qint64 sourceKey = 0;
    int rowsDone = 0;
};
