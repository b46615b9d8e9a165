// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "system/Sha256.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace hueweave::tool {
namespace {

using State = std::array<std::uint32_t, 8>;

/// The first 32 bits of the fractions of the cube roots of the first 64 primes.
alignas(16) constexpr std::uint32_t kRound[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

void PlainBlocks(State& state, const unsigned char* data, std::size_t blocks) {
    for (; blocks > 0; --blocks, data += 64) {
        std::uint32_t w[64];
        for (int i = 0; i < 16; ++i) {
            const unsigned char* b = data + 4 * i;
            w[i] = std::uint32_t{b[0]} << 24 | std::uint32_t{b[1]} << 16 | std::uint32_t{b[2]} << 8 | b[3];
        }
        for (int i = 16; i < 64; ++i) {
            const std::uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ w[i - 15] >> 3;
            const std::uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ w[i - 2] >> 10;
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        auto [a, b, c, d, e, f, g, h] = state;
        for (int i = 0; i < 64; ++i) {
            const std::uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
            const std::uint32_t t1 = h + s1 + ((e & f) ^ (~e & g)) + kRound[i] + w[i];
            const std::uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
            const std::uint32_t t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
            h = g, g = f, f = e, e = d + t1, d = c, c = b, b = a, a = t1 + t2;
        }
        const State sum{a, b, c, d, e, f, g, h};
        for (std::size_t i = 0; i < 8; ++i) state[i] += sum[i];
    }
}

#if defined(__x86_64__)
/// The same with the processor's own rounds: some six times as fast.
__attribute__((target("sha,sse4.1"))) void ShaBlocks(State& state, const unsigned char* data, std::size_t blocks) {
    const __m128i swap = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
    const auto load = [](const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); };
    const __m128i cdab = _mm_shuffle_epi32(load(&state[0]), 0xb1);
    const __m128i efgh = _mm_shuffle_epi32(load(&state[4]), 0x1b);
    __m128i abef = _mm_alignr_epi8(cdab, efgh, 8);
    __m128i cdgh = _mm_blend_epi16(efgh, cdab, 0xf0);
    for (; blocks > 0; --blocks, data += 64) {
        const __m128i abef0 = abef, cdgh0 = cdgh;
        __m128i w[4];
        for (int i = 0; i < 4; ++i) w[i] = _mm_shuffle_epi8(load(data + 16 * i), swap);
        for (int i = 0; i < 16; ++i) {
            __m128i& now = w[i & 3];
            const __m128i sum = _mm_add_epi32(now, load(kRound + 4 * i));
            cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
            abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0e));
            if (i < 12) {
                const __m128i next = w[(i + 1) & 3], last = w[(i + 3) & 3];
                const __m128i part =
                    _mm_add_epi32(_mm_sha256msg1_epu32(now, next), _mm_alignr_epi8(last, w[(i + 2) & 3], 4));
                now = _mm_sha256msg2_epu32(part, last);
            }
        }
        abef = _mm_add_epi32(abef, abef0);
        cdgh = _mm_add_epi32(cdgh, cdgh0);
    }
    const __m128i feba = _mm_shuffle_epi32(abef, 0x1b), dchg = _mm_shuffle_epi32(cdgh, 0xb1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&state[0]), _mm_blend_epi16(feba, dchg, 0xf0));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&state[4]), _mm_alignr_epi8(dchg, feba, 8));
}
#endif

void AddBlocks(State& state, const unsigned char* data, std::size_t blocks) {
#if defined(__x86_64__)
    static const bool fast = [] {
        unsigned leaf = 0;
        __asm__("cpuid" : "=b"(leaf) : "a"(7), "c"(0) : "edx");
        return (leaf >> 29 & 1U) != 0 && __builtin_cpu_supports("sse4.1") != 0;
    }();
    if (fast) return ShaBlocks(state, data, blocks);
#endif
    PlainBlocks(state, data, blocks);
}

}  // namespace

void Sha256::Add(const void* data, std::size_t size) {
    const auto* from = static_cast<const unsigned char*>(data);
    length_ += size;
    if (filled_ > 0) {
        const std::size_t part = std::min(size, block_.size() - filled_);
        std::memcpy(block_.data() + filled_, from, part);
        filled_ += part, from += part, size -= part;
        if (filled_ < block_.size()) return;
        AddBlocks(state_, block_.data(), 1);
        filled_ = 0;
    }
    AddBlocks(state_, from, size / 64);
    filled_ = size % 64;
    if (filled_ > 0) std::memcpy(block_.data(), from + (size - filled_), filled_);
}

std::string Sha256::Hex() {
    const std::uint64_t bits = length_ * 8;
    unsigned char tail[128] = {0x80};
    const std::size_t pad = (filled_ < 56 ? 56 : 120) - filled_;
    for (std::size_t i = 0; i < 8; ++i) tail[pad + i] = static_cast<unsigned char>(bits >> (56 - 8 * i));
    Add(tail, pad + 8);
    std::string hex;
    for (const std::uint32_t word : state_) {
        for (int shift = 28; shift >= 0; shift -= 4) hex += "0123456789abcdef"[word >> shift & 0xfU];
    }
    return hex;
}

}  // namespace hueweave::tool
