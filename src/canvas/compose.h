// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>

// Writes into target what drawing source at (0, 0) over picture gives (the
// painter's default source-over), inside the set bits of selected (a 1-bit
// LSB-first image) or everywhere when selected is null; outside the
// selection target gets picture's pixels. target has picture's size and
// format and is unshared; it may be picture or source itself. Works in bands
// of a few rows, so it needs no second full-size picture; false, with
// nothing written, when even a band does not fit in memory.
bool compose_over(const QImage& picture, const QImage& source, const QImage& selected,
                  QImage& target);
