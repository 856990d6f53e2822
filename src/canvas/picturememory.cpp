// SPDX-License-Identifier: MIT
#include "canvas/picturememory.h"

#include <QColorSpace>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <unistd.h>
#include <vector>

namespace {

// What is left for everything else after a picture is allocated.
constexpr size_t kHeadroomBytes = 32 << 20;

std::vector<PictureReclaimer*>& reclaimers()
{
    static std::vector<PictureReclaimer*> list;
    return list;
}

qint64 half_of_physical_memory()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0)
        return std::numeric_limits<qint64>::max();
    return qint64(pages) * pageSize / 2;
}

qint64& budget()
{
    static qint64 bytes = half_of_physical_memory();
    return bytes;
}

} // namespace

void add_reclaimer(PictureReclaimer* reclaimer)
{
    reclaimers().push_back(reclaimer);
}

void remove_reclaimer(PictureReclaimer* reclaimer)
{
    auto& list = reclaimers();
    list.erase(std::remove(list.begin(), list.end(), reclaimer), list.end());
}

bool release_picture_memory()
{
    for (PictureReclaimer* reclaimer : reclaimers()) {
        if (reclaimer->releasePicture())
            return true;
    }
    return false;
}

QImage try_allocate_picture(const QSize& size)
{
    QImage picture(size, QImage::Format_ARGB32_Premultiplied);
    // Reserved address space only: the probe touches no page.
    void* headroom = picture.isNull() ? nullptr : std::malloc(kHeadroomBytes);
    if (!headroom)
        return QImage();
    std::free(headroom);
    return picture;
}

QImage allocate_picture(const QSize& size)
{
    for (;;) {
        QImage picture = try_allocate_picture(size);
        if (!picture.isNull() || size.isEmpty() || !release_picture_memory())
            return picture;
    }
}

QImage copy_picture(const QImage& picture)
{
    if (picture.format() != QImage::Format_ARGB32_Premultiplied)
        return picture.copy();
    QImage copy = allocate_picture(picture.size());
    if (copy.isNull())
        return copy;
    std::memcpy(copy.bits(), picture.constBits(), size_t(picture.sizeInBytes()));
    copy_metadata(picture, copy);
    return copy;
}

void copy_metadata(const QImage& from, QImage& to)
{
    to.setDotsPerMeterX(from.dotsPerMeterX());
    to.setDotsPerMeterY(from.dotsPerMeterY());
    to.setOffset(from.offset());
    to.setDevicePixelRatio(from.devicePixelRatio());
    if (to.colorSpace() != from.colorSpace())
        to.setColorSpace(from.colorSpace());
    for (const QString& key : from.textKeys())
        to.setText(key, from.text(key));
}

qint64 history_budget()
{
    return budget();
}

void set_history_budget(qint64 bytes)
{
    budget() = bytes;
}
