// SPDX-License-Identifier: MIT
#pragma once

#include "tools/tool.h"

// The tool that does nothing: with it active only the canvas's own keys act.
class MoveTool : public Tool
{
public:
    MoveTool() = default;
};
