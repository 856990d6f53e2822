// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QSize>
#include <QtGlobal>

// Whoever keeps pictures it can do without (an undo history) registers here
// and gives them up, one at a time, when a new picture does not fit.
class PictureReclaimer
{
public:
    virtual ~PictureReclaimer() = default;
    // Gives up one picture it can do without; false when none is left.
    virtual bool releasePicture() = 0;
};

void add_reclaimer(PictureReclaimer* reclaimer);
void remove_reclaimer(PictureReclaimer* reclaimer);

// Asks the reclaimers, in the order they registered, for one picture; false
// when none of them has one left.
bool release_picture_memory();

// A new picture in the document format with undefined pixels, or null when
// it does not fit with room to spare: the toolkit does not survive running
// out of memory in its small allocations (a clip, a glyph), so a picture
// that would leave too little for them counts as not fitting.
QImage try_allocate_picture(const QSize& size);

// The same; when the picture does not fit, pictures are reclaimed one at a
// time and it is tried again; null when nothing is left to reclaim.
QImage allocate_picture(const QSize& size);

// A copy of picture, pixels and metadata, allocated as above; null when it
// does not fit.
QImage copy_picture(const QImage& picture);

// What a file carried besides pixels: text keys, offset, resolution, device
// pixel ratio and colour space, copied onto a picture of the same pixels.
void copy_metadata(const QImage& from, QImage& to);

// The bytes the undo history may keep: half the machine's physical memory,
// read once. Tests may lower it.
qint64 history_budget();
void set_history_budget(qint64 bytes);
