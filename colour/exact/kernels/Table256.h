// SPDX-License-Identifier: MIT
// The values of 8-bit samples by AVX-512 and its byte permutations (VBMI): tables in registers, in place of a load for
// each sample.
#pragma once

#include <immintrin.h>

#include <array>

#include "colour/exact/kernels/Lanes.h"

namespace hueweave::colour {
// Local to each including file, see Lanes.h.
namespace {

/// 64 bytes, the index of each made from the place of the byte.
template <typename Make>
constexpr std::array<std::uint8_t, 64> BytesBy(const Make& make) {
    std::array<std::uint8_t, 64> bytes{};
    for (unsigned place = 0; place < 64; ++place) bytes[place] = static_cast<std::uint8_t>(make(place));
    return bytes;
}
/// Four vectors of bytes become four vectors of numbers group by group: byte 4k + m of group j belongs to number 4j + m
/// of vector k.
constexpr unsigned NumberAt(unsigned place) { return place % 16 / 4 * 16 + place / 16 * 4 + place % 4; }

/// A table of 256 numbers, as four tables of their bytes.
class Table256 {
public:
    static constexpr int kTogether = 64;  ///< numbers looked up at a time

    explicit Table256(const float* numbers) {
        // From the vectors for 32 numbers, every fourth byte, twice.
        static constexpr auto kFourth = BytesBy([](unsigned place) { return place % 32 * 4; });
        const auto fourth = Read<__m512i>(kFourth.data());
        for (int quarter = 0; quarter < 4; ++quarter) {
            const float* const at = numbers + 64 * quarter;
            const auto a = Read<__m512i>(at), b = Read<__m512i>(at + 16);
            const auto c = Read<__m512i>(at + 32), d = Read<__m512i>(at + 48);
            for (int byte = 0; byte < 4; ++byte) {
                const __m512i which = _mm512_add_epi8(fourth, _mm512_set1_epi8(static_cast<char>(byte)));
                const __m512i low = _mm512_permutex2var_epi8(a, which, b);
                const __m512i high = _mm512_permutex2var_epi8(c, which, d);
                bytes_[byte][quarter] = _mm512_mask_blend_epi32(0xff00, low, high);
            }
        }
    }

    /// The numbers for the samples that `Channel` gives.
    void LookUp(__m512i samples, float* to) const {
        const __mmask64 upper = _mm512_movepi8_mask(samples);
        __m512i found[4];
        for (int byte = 0; byte < 4; ++byte) {
            const __m512i(&quarters)[4] = bytes_[byte];
            found[byte] = _mm512_mask_mov_epi8(_mm512_permutex2var_epi8(quarters[0], samples, quarters[1]), upper,
                                               _mm512_permutex2var_epi8(quarters[2], samples, quarters[3]));
        }
        const __m512i low = _mm512_unpacklo_epi8(found[0], found[1]), low2 = _mm512_unpacklo_epi8(found[2], found[3]);
        const __m512i high = _mm512_unpackhi_epi8(found[0], found[1]), high2 = _mm512_unpackhi_epi8(found[2], found[3]);
        Write(to, _mm512_unpacklo_epi16(low, low2));
        Write(to + 16, _mm512_unpackhi_epi16(low, low2));
        Write(to + 32, _mm512_unpacklo_epi16(high, high2));
        Write(to + 48, _mm512_unpackhi_epi16(high, high2));
    }

    /// One channel of 64 RGB pixels, in the order of `NumberAt`.
    static __m512i Channel(const unsigned char* pixels, int channel) {
        static constexpr auto kRed = BytesBy([](unsigned place) { return 3 * NumberAt(place); });
        const __m512i from = _mm512_add_epi8(Read<__m512i>(kRed.data()), _mm512_set1_epi8(static_cast<char>(channel)));
        const auto a = Read<__m512i>(pixels), b = Read<__m512i>(pixels + 64), c = Read<__m512i>(pixels + 128);
        return _mm512_mask_permutexvar_epi8(_mm512_permutex2var_epi8(a, from, b), _mm512_movepi8_mask(from), from, c);
    }

private:
    __m512i bytes_[4][4];  ///< of 64 numbers each
};

}  // namespace
}  // namespace hueweave::colour
