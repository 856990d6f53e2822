// SPDX-License-Identifier: MIT
#pragma once

#include <QBitmap>
#include <QImage>

// The 8-connected inner boundary of the set area of bitmap: set pixels that
// touch a clear one in any of the eight directions or lie on the border.
// Returns a null bitmap when there is no such pixel or bitmap is null.
QBitmap find_edges(const QBitmap& bitmap);

// The same for a 1-bit image (Mono or MonoLSB) in which a bit of value 1 is a
// set pixel, whatever its colour table says. The canvas builds its displayed
// mask this way and so avoids a round trip through a bitmap.
QBitmap find_edges_in_bits(const QImage& bits);
