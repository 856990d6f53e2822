// SPDX-License-Identifier: MIT
#include "canvas/preparedcopy.h"

#include <algorithm>
#include <cstring>

#include "canvas/picturememory.h"

void PreparedCopy::adopt(QImage candidate, const QImage& like)
{
    release();
    buffer = std::move(candidate);
    if (!buffer.isDetached() || !fits(like))
        release();
}

void PreparedCopy::release()
{
    buffer = QImage();
    rowsDone = 0;
}

bool PreparedCopy::fits(const QImage& picture) const
{
    return !buffer.isNull() && buffer.size() == picture.size() &&
           buffer.format() == picture.format() && buffer.bytesPerLine() == picture.bytesPerLine();
}

bool PreparedCopy::holdsCopyOf(const QImage& picture) const
{
    return fits(picture) && sourceKey == picture.cacheKey() && rowsDone == picture.height();
}

bool PreparedCopy::advance(const QImage& picture, int rows)
{
    if (!fits(picture))
        return false;
    if (sourceKey != picture.cacheKey()) {
        sourceKey = picture.cacheKey();
        rowsDone = 0;
    }
    const int count = std::min(rows, picture.height() - rowsDone);
    const qsizetype stride = picture.bytesPerLine();
    std::memcpy(buffer.bits() + rowsDone * stride, picture.constBits() + rowsDone * stride,
                size_t(count * stride));
    rowsDone += count;
    return rowsDone == picture.height();
}

QImage PreparedCopy::take(const QImage& picture)
{
    if (!fits(picture))
        return QImage();
    advance(picture, picture.height());
    QImage copy = takeBuffer();
    copy_metadata(picture, copy);
    return copy;
}

QImage PreparedCopy::takeBuffer()
{
    QImage taken = std::move(buffer);
    release();
    return taken;
}
