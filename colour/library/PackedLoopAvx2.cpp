// SPDX-License-Identifier: MIT
// Tetrahedral interpolation as in units/Tetrahedra.h, but as the weighted mean of four corners. The path from the first
// corner of a cell to the opposite one follows the axes in the order of decreasing fractions f1, f2 and f3, and its
// corners have the weights 4096 - f1, f1 - f2, f2 - f3 and f3. The order of equal fractions does not matter, because
// the corner between them has the weight 0.
#include <immintrin.h>

#include "colour/library/PackedTables.h"

namespace hueweave::colour {

void ConvertPackedAvx2(const PackedTables& tables, unsigned char* rgb, std::size_t pixels);

namespace {

constexpr int kBlock = 64, kLanes = 8;

/// The values passed from stage to stage for the pixels of a block, as in engine/kernels/BlockKernel.h.
struct Block {
    alignas(32) std::uint32_t in[3][kBlock];      ///< entries of the input tables
    alignas(32) std::uint32_t corner[3][kBlock];  ///< nodes at the first three corners of the path
    /// The weights / 64 and the rest of this division, a byte per corner: the first, third, second and opposite one.
    alignas(32) std::uint32_t high[kBlock], low[kBlock];
    alignas(32) std::uint32_t value[kBlock][4];  ///< interpolated red, green, blue
};

__m256i Read(const std::uint32_t* at) { return _mm256_load_si256(reinterpret_cast<const __m256i*>(at)); }
void Write(std::uint32_t* at, __m256i numbers) { _mm256_store_si256(reinterpret_cast<__m256i*>(at), numbers); }
void Write(std::uint32_t* at, __m128i numbers) { _mm_store_si128(reinterpret_cast<__m128i*>(at), numbers); }
__m128i Four(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return _mm_setr_epi32(static_cast<int>(a), static_cast<int>(b), static_cast<int>(c), static_cast<int>(d));
}

void LookUpInputs(const PackedTables& tables, const unsigned char* rgb, int pixels, Block& block) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const std::uint32_t* const in = tables.in[channel].data();
        const unsigned char* sample = rgb + channel;
        int i = 0;
        for (; i + 4 <= pixels; i += 4, sample += 12) {
            Write(&block.in[channel][i], Four(in[sample[0]], in[sample[3]], in[sample[6]], in[sample[9]]));
        }
        for (; i < pixels; ++i, sample += 3) block.in[channel][i] = in[*sample];
        for (; i % kLanes != 0; ++i) block.in[channel][i] = 0;  // the lanes without a pixel
    }
}

/// Sorts the fractions of each pixel, with the stride of its axis below each.
void FindCorners(int pixels, Block& block) {
    constexpr auto all = [](std::uint32_t number) { return _mm256_set1_epi32(static_cast<int>(number)); };
    const __m256i fractions = all(0x0fff0000), indices = all(0xffff), lowBits = all(0x003f003f);
    const __m256i highBits = all(0x007f007f), whole = all(4096);
    for (int i = 0; i < pixels; i += kLanes) {
        const __m256i red = Read(&block.in[0][i]), green = Read(&block.in[1][i]), blue = Read(&block.in[2][i]);
        const auto axis = [&](__m256i entry, std::uint32_t stride) {
            return _mm256_or_si256(_mm256_and_si256(entry, fractions), all(stride));
        };
        const __m256i r = axis(red, PackedTables::kStrides[0]), g = axis(green, PackedTables::kStrides[1]);
        const __m256i b = axis(blue, PackedTables::kStrides[2]);
        const __m256i more = _mm256_max_epi32(r, g), less = _mm256_min_epi32(r, g);
        const __m256i first = _mm256_max_epi32(more, b), rest = _mm256_min_epi32(more, b);
        const __m256i second = _mm256_max_epi32(less, rest), third = _mm256_min_epi32(less, rest);

        const auto stride = [&](__m256i sorted) { return _mm256_and_si256(sorted, indices); };
        const __m256i cell = _mm256_and_si256(_mm256_add_epi32(_mm256_add_epi32(red, green), blue), indices);
        const __m256i next = _mm256_add_epi32(cell, stride(first));
        Write(&block.corner[0][i], cell);
        Write(&block.corner[1][i], next);
        Write(&block.corner[2][i], _mm256_add_epi32(next, stride(second)));

        // Two weights of 13 bits in each lane.
        const __m256i f1 = _mm256_and_si256(first, fractions), f2 = _mm256_and_si256(second, fractions);
        const __m256i f3 = _mm256_and_si256(third, fractions);
        const __m256i firstTwo =
            _mm256_or_si256(_mm256_sub_epi32(whole, _mm256_srli_epi32(f1, 16)), _mm256_sub_epi32(f1, f2));
        const __m256i lastTwo = _mm256_or_si256(_mm256_srli_epi32(_mm256_sub_epi32(f2, f3), 16), f3);
        const auto bytes = [](__m256i even, __m256i odd) { return _mm256_or_si256(even, _mm256_slli_epi32(odd, 8)); };
        Write(&block.low[i], bytes(_mm256_and_si256(firstTwo, lowBits), _mm256_and_si256(lastTwo, lowBits)));
        Write(&block.high[i], bytes(_mm256_and_si256(_mm256_srli_epi32(firstTwo, 6), highBits),
                                    _mm256_and_si256(_mm256_srli_epi32(lastTwo, 6), highBits)));
    }
}

/// The nodes of a pixel: the first one, the opposite one, the third one and the second one.
__m128i Corners(const PackedTables& tables, const Block& block, int pixel) {
    const auto node = [&](int corner) { return &tables.nodes[block.corner[corner][pixel]]; };
    const auto low = [&](int corner) { return static_cast<int>(*node(corner)); };
    const __m128i ends = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(node(0)));
    return _mm_insert_epi32(_mm_insert_epi32(ends, low(2), 2), low(1), 3);
}

/// The means of the nodes for the pixels `kPixel` and `kPixel` + 4 from `i` on: sums of products of nodes and weights,
/// divided by 16. They fit into 16 bits for each part of the weights.
template <int kPixel>
void Interpolate(const PackedTables& tables, __m256i high, __m256i low, int i, Block& block) {
    const __m256i byChannel =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 8, 12, 4, 1, 9, 13, 5, 2, 10, 14, 6, 3, 11, 15, 7));
    const __m128i pixel = Corners(tables, block, i + kPixel), other = Corners(tables, block, i + kPixel + 4);
    const __m256i nodes =
        _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(pixel), other, 1), byChannel);
    const auto sums = [&](__m256i weights, short factor) {
        const __m256i pairs = _mm256_maddubs_epi16(nodes, _mm256_shuffle_epi32(weights, kPixel * 0x55));
        return _mm256_madd_epi16(pairs, _mm256_set1_epi16(factor));
    };
    const __m256i means = _mm256_add_epi32(sums(high, 64 / 16), _mm256_srli_epi32(sums(low, 1), 4));
    Write(block.value[i + kPixel], _mm256_castsi256_si128(means));
    Write(block.value[i + kPixel + 4], _mm256_extracti128_si256(means, 1));
}

void Interpolate(const PackedTables& tables, int pixels, Block& block) {
    for (int i = 0; i < pixels; i += kLanes) {
        const __m256i high = Read(&block.high[i]), low = Read(&block.low[i]);
        Interpolate<0>(tables, high, low, i, block);
        Interpolate<1>(tables, high, low, i, block);
        Interpolate<2>(tables, high, low, i, block);
        Interpolate<3>(tables, high, low, i, block);
    }
}

void LookUpOutputs(const PackedTables& tables, int pixels, const Block& block, unsigned char* rgb) {
    const std::uint8_t *const red = tables.out[0], *const green = tables.out[1], *const blue = tables.out[2];
    for (int i = 0; i < pixels; ++i, rgb += 3) {
        rgb[0] = red[block.value[i][0]];
        rgb[1] = green[block.value[i][1]];
        rgb[2] = blue[block.value[i][2]];
    }
}

}  // namespace

void ConvertPackedAvx2(const PackedTables& tables, unsigned char* rgb, std::size_t pixels) {
    Block block;
    for (std::size_t done = 0; done < pixels; done += kBlock, rgb += std::ptrdiff_t{3} * kBlock) {
        const int run = pixels - done < kBlock ? static_cast<int>(pixels - done) : kBlock;
        LookUpInputs(tables, rgb, run, block);
        FindCorners(run, block);
        Interpolate(tables, run, block);
        LookUpOutputs(tables, run, block, rgb);
    }
}

}  // namespace hueweave::colour
