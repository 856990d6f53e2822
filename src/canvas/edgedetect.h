// SPDX-License-Identifier: MIT
#pragma once

#include <QBitmap>

// The 8-connected inner boundary of the set area of bitmap: set pixels that
// touch a clear one in any of the eight directions or lie on the border.
// Returns a null bitmap when there is no such pixel or bitmap is null.
QBitmap find_edges(const QBitmap& bitmap);
