// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "iccfile/SimpleTags.h"
#include "iccfile/iccTagBase.h"

namespace ICC40::ICCFILE {

class CLut;

/// The table of an "mft2" tag, and the form in which the units use every device-to-PCS table: 16-bit values 0 to 65535
/// as in the file, in host byte order.
class CLut16Type : public iccTagBase {
public:
    CLut16Type() = default;
    /// Converts an "mAB " or "mBA " tag: A and B curves become input and output curves (B and A if the tag is not an
    /// A2B tag), grid values do not change; the matrix and the M curve are ignored. Shares nothing with `source`, which
    /// is borrowed. Has no `tagData`, a `tagSize` of 0 and a zero `matrix`. If the tag cannot be converted (null; no
    /// grid; a `precision` other than 2; a curve that is missing, is shorter than the first of its side, or is beyond
    /// the number that the source can store; a grid with too few entries), the three tables are null. Grid entries
    /// between clutPoints to the power of `inputChan` and clutPoints cubed are 0.
    explicit CLut16Type(const CLut* source);

    using iccTagBase::Initial;
    /// Decodes a block of the layout below. If the tables extend beyond the block, all three are null and the counts
    /// are as read.
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    /// Whether the units support this table: all three tables exist, at most 3 input and 7 output channels, 2 to 33
    /// grid points, at most 4096 entries per curve.
    bool Usable() const;

    std::uint8_t inputChan = 0;
    std::uint8_t outputChan = 0;
    std::uint8_t clutPoints = 0;  ///< grid points per axis
    std::uint8_t pad = 0;
    std::array<std::uint32_t, 9> matrix{};         ///< fixed-point values in row order; never applied
    std::uint16_t inputEnt = 0;                    ///< entries of each input curve
    std::uint16_t outputEnt = 0;                   ///< entries of each output curve
    std::unique_ptr<std::uint16_t[]> inputTable;   ///< `inputChan` curves, concatenated
    std::unique_ptr<std::uint16_t[]> clutTable;    ///< `clutPoints` cubed nodes of `outputChan`, last axis fastest
    std::unique_ptr<std::uint16_t[]> outputTable;  ///< `outputChan` curves, concatenated
};

/// Any other type in a LUT tag. Kept: the layout is that of `CLut16Type` with one-byte entries, including the 16-bit
/// counts at 48 and 50, and not the standard 8-bit layout. No engine can use it.
class CLut8Type : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::uint8_t inputChan = 0;
    std::uint8_t outputChan = 0;
    std::uint8_t clutPoints = 0;
    std::uint8_t pad = 0;
    std::array<std::uint32_t, 9> matrix{};
    std::uint16_t inputEnt = 0;
    std::uint16_t outputEnt = 0;
    std::unique_ptr<std::uint8_t[]> inputTable;
    std::unique_ptr<std::uint8_t[]> clutTable;
    std::unique_ptr<std::uint8_t[]> outputTable;
};

/// The grid of a `CLut`.
struct CLutGrid {
    std::array<std::uint8_t, 16> gridPoints{};  ///< per axis
    std::uint8_t precision = 0;                 ///< bytes per value: 1 or 2 in a valid file
    std::array<std::uint8_t, 3> padding{};
    std::unique_ptr<std::uint8_t[]> gridData;  ///< `precision` 2: 16-bit values in host byte order; null if too short
    std::uint64_t gridBytes = 0;               ///< bytes in `gridData`
};

/// The table of an "mAB " or "mBA " tag. The matrix and M curves are not used; only one M curve is read.
class CLut : public iccTagBase {
public:
    using iccTagBase::Initial;
    /// Decodes the block. Kept: a curve takes 2 x entries + 14 bytes, which matches the alignment of the format only
    /// for odd numbers of entries. Curves beyond the three and seven that can be stored are not read, and nothing is
    /// read beyond the block.
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::uint8_t inputChan = 0;
    std::uint8_t outputChan = 0;
    std::array<std::uint8_t, 2> lutPad{};
    std::uint32_t bCurveOffset = 0;  ///< offsets from the start of the block, 0 if absent
    std::uint32_t matrixOffset = 0;
    std::uint32_t mCurveOffset = 0;
    std::uint32_t clutOffset = 0;
    std::uint32_t aCurveOffset = 0;
    std::array<std::unique_ptr<CCurveType>, 3> bCurves;
    std::unique_ptr<CCurveType> mCurve;
    std::unique_ptr<CLutGrid> clut;
    std::array<std::unique_ptr<CCurveType>, 7> aCurves;
};

/// Whether a tag name is an A2B name: its low byte is ignored.
constexpr bool IsA2B(icTagSignature tagName) {
    return (static_cast<std::uint32_t>(tagName) & 0xffffff00U) == (ICC4_HEADER::Signature("A2B0") & 0xffffff00U);
}

}  // namespace ICC40::ICCFILE
