// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <span>

#include "iccfile/LutTags.h"
#include "iccfile/TagReader.h"

namespace ICC40::ICCFILE {
namespace {

constexpr std::uint64_t kGridPrecision = 16;
constexpr std::uint64_t kGridData = 20;

constexpr std::uint64_t kCurveHead = 12;

/// Reads consecutive curves from `at` on, as many as `curves` holds. Parts of the block can be shared; `left` is the
/// number of bytes that may still be decoded in total.
void ReadCurves(const TagReader& block, std::uint64_t at, icTagSignature tagName,
                std::span<std::unique_ptr<CCurveType>> curves, std::uint64_t& left) {
    for (std::unique_ptr<CCurveType>& curve : curves) {
        curve = std::make_unique<CCurveType>();
        const std::span<const unsigned char> rest = block.From(at);
        const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(rest.size(), kCurveHead + left));
        at += curve->InitialWithin(tagName, TagReader(rest.first(bytes)));
        left -= 2 * std::uint64_t{curve->curveCount};
    }
}

/// The curves for the channels, at most all of them.
std::span<std::unique_ptr<CCurveType>> First(unsigned channels, std::span<std::unique_ptr<CCurveType>> curves) {
    return curves.first(std::min<std::size_t>(channels, curves.size()));
}

std::unique_ptr<CLutGrid> ReadGrid(const TagReader& block, std::uint64_t at, unsigned inputChan, unsigned outputChan,
                                   std::uint64_t left) {
    auto grid = std::make_unique<CLutGrid>();
    for (std::size_t i = 0; i < grid->gridPoints.size(); ++i) grid->gridPoints[i] = block.U8(at + i);
    grid->precision = block.U8(at + kGridPrecision);
    for (std::size_t i = 0; i < grid->padding.size(); ++i) grid->padding[i] = block.U8(at + kGridPrecision + 1 + i);

    std::uint64_t bytes = std::uint64_t{grid->precision} * outputChan;
    // Stops when no block can hold the data, so that the product does not wrap around.
    for (std::size_t axis = 0; axis < std::min<std::size_t>(inputChan, 16) && bytes <= block.Size(); ++axis) {
        bytes *= grid->gridPoints[axis];
    }
    if (bytes > left || !block.Holds(at + kGridData, bytes)) return grid;
    grid->gridData = std::make_unique<std::uint8_t[]>(bytes);
    grid->gridBytes = bytes;
    std::copy_n(block.From(at + kGridData).begin(), bytes, grid->gridData.get());
    if (grid->precision != 2) return grid;
    for (std::uint64_t i = 0; i + 1 < bytes; i += 2) {
        const std::uint16_t value = block.U16(at + kGridData + i);
        std::memcpy(&grid->gridData[i], &value, sizeof value);
    }
    return grid;
}

}  // namespace

unsigned CLut::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const unsigned taken = iccTagBase::Initial(tagName, data, size);
    const TagReader block(data, size);
    inputChan = block.U8(8);
    outputChan = block.U8(9);
    lutPad = {block.U8(10), block.U8(11)};
    bCurveOffset = block.U32(12);
    matrixOffset = block.U32(16);
    mCurveOffset = block.U32(20);
    clutOffset = block.U32(24);
    aCurveOffset = block.U32(28);

    const bool a2b = IsA2B(tagName);
    std::uint64_t left = 3 * std::uint64_t{block.Size()};  // a valid file may share bytes among three sets of curves
    if (bCurveOffset != 0) ReadCurves(block, bCurveOffset, tagName, First(a2b ? outputChan : inputChan, bCurves), left);
    if (mCurveOffset != 0) ReadCurves(block, mCurveOffset, tagName, std::span(&mCurve, 1), left);
    if (clutOffset != 0) clut = ReadGrid(block, clutOffset, inputChan, outputChan, left);
    if (clut != nullptr) left -= clut->gridBytes;
    if (aCurveOffset != 0) ReadCurves(block, aCurveOffset, tagName, First(a2b ? inputChan : outputChan, aCurves), left);
    return taken;
}

}  // namespace ICC40::ICCFILE
