// SPDX-License-Identifier: MIT
#include "mutate.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

const uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

const std::array<uint32_t, 256>& crc_table()
{
    static const std::array<uint32_t, 256> table = [] {
        std::array<uint32_t, 256> t{};
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xedb88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    return table;
}

uint32_t crc32(const uint8_t* data, size_t size)
{
    uint32_t c = 0xffffffffu;
    for (size_t i = 0; i < size; ++i)
        c = crc_table()[(c ^ data[i]) & 0xff] ^ (c >> 8);
    return c ^ 0xffffffffu;
}

uint32_t read_be32(const uint8_t* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

void write_be32(uint8_t* p, uint32_t v)
{
    p[0] = uint8_t(v >> 24);
    p[1] = uint8_t(v >> 16);
    p[2] = uint8_t(v >> 8);
    p[3] = uint8_t(v);
}

// Values that sit on the edges of widths, heights, lengths and counts.
const uint32_t kBoundary32[] = {
    0,       1,      2,          0x7f,       0x80,       0xff,       0x100, 0x7fff, 0x8000, 0xffff,
    0x10000, 100000, 0x7fffffff, 0x80000000, 0xffffffff, 0xfffffffe, 46341, 16385,  32768,  65536};
const uint8_t kBoundary8[] = {0, 1, 2, 0x7f, 0x80, 0xfe, 0xff, 0x40};

size_t pick(std::mt19937& rng, size_t n)
{
    return n ? std::uniform_int_distribution<size_t>(0, n - 1)(rng) : 0;
}

void flip_bits(std::vector<uint8_t>& d, std::mt19937& rng)
{
    const int flips = 1 + int(pick(rng, 8));
    for (int i = 0; i < flips && !d.empty(); ++i)
        d[pick(rng, d.size())] ^= uint8_t(1u << pick(rng, 8));
}

void set_byte(std::vector<uint8_t>& d, std::mt19937& rng)
{
    if (!d.empty())
        d[pick(rng, d.size())] = kBoundary8[pick(rng, std::size(kBoundary8))];
}

void set_word(std::vector<uint8_t>& d, std::mt19937& rng)
{
    if (d.size() < 4)
        return;
    const uint32_t v = kBoundary32[pick(rng, std::size(kBoundary32))];
    uint8_t* p = d.data() + pick(rng, d.size() - 3);
    if (pick(rng, 2))
        write_be32(p, v);
    else
        std::memcpy(p, &v, 4);
}

void truncate(std::vector<uint8_t>& d, std::mt19937& rng)
{
    d.resize(pick(rng, d.size() + 1));
}

void splice(std::vector<uint8_t>& d, std::mt19937& rng)
{
    if (d.empty())
        return;
    const size_t from = pick(rng, d.size());
    const size_t length = 1 + pick(rng, std::min<size_t>(d.size() - from, 4096));
    const std::vector<uint8_t> piece(d.begin() + long(from), d.begin() + long(from + length));
    const size_t to = pick(rng, d.size() + 1);
    d.insert(d.begin() + long(to), piece.begin(), piece.end());
}

void erase_range(std::vector<uint8_t>& d, std::mt19937& rng)
{
    if (d.empty())
        return;
    const size_t from = pick(rng, d.size());
    const size_t length = 1 + pick(rng, d.size() - from);
    d.erase(d.begin() + long(from), d.begin() + long(from + length));
}

} // namespace

void fix_png_crcs(uint8_t* data, size_t size)
{
    if (size < 8 || std::memcmp(data, kPngSignature, 8) != 0)
        return;
    size_t offset = 8;
    while (offset + 12 <= size) {
        const uint32_t length = read_be32(data + offset);
        if (length > size - offset - 12)
            return;
        write_be32(data + offset + 8 + length, crc32(data + offset + 4, length + 4));
        offset += 12 + length;
    }
}

std::vector<uint8_t> mutate(const std::vector<uint8_t>& seed, std::mt19937& rng)
{
    std::vector<uint8_t> d = seed;
    const int rounds = 1 + int(pick(rng, 3));
    for (int i = 0; i < rounds; ++i) {
        switch (pick(rng, 6)) {
        case 0:
            flip_bits(d, rng);
            break;
        case 1:
            set_byte(d, rng);
            break;
        case 2:
            set_word(d, rng);
            break;
        case 3:
            truncate(d, rng);
            break;
        case 4:
            splice(d, rng);
            break;
        default:
            erase_range(d, rng);
            break;
        }
    }
    fix_png_crcs(d.data(), d.size());
    return d;
}
