// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

// Recomputes the CRC of every complete PNG chunk, so that a mutated header
// or palette gets past the decoder's checksum test and reaches the code
// behind it. Data without the PNG signature is left alone.
void fix_png_crcs(uint8_t* data, size_t size);

// One deterministic mutation of seed (bit flips, boundary values, cuts,
// splices), PNG checksums repaired afterwards.
std::vector<uint8_t> mutate(const std::vector<uint8_t>& seed, std::mt19937& rng);
