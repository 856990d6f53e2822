// SPDX-License-Identifier: MIT
#pragma once

// Debug trace, printf-style. Deliberately prints nothing in this build.
void log(const char* format, ...);
