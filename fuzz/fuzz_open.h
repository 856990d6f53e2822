// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

// The Open path as one pure step, shared by the libFuzzer target and the
// plain replay driver: bytes -> file -> load_image_file -> Canvas -> init,
// one paint and one filter. Aborts on a broken invariant, so that both
// drivers report it as a crash.
void fuzz_open_setup();
void fuzz_open_one(const uint8_t* data, size_t size);
