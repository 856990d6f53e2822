// SPDX-License-Identifier: MIT
#include "tools/movetool.h"
