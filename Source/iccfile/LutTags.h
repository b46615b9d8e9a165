// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "iccfile/SimpleTags.h"
#include "iccfile/iccTagBase.h"

namespace ICC40::ICCFILE {

class CLut;

/// The table of an "mft2" tag, and the form in which the units take every device-to-PCS table: 16-bit values as
/// they stand in the file, 0 to 65535, in host order.
class CLut16Type : public iccTagBase {
public:
    CLut16Type() = default;
    /// The same table made from an "mAB " or "mBA " tag: A and B curves as input and output curves (B and A for a
    /// tag that is not an A2B one), grid values unchanged; matrix and M curve take no part. Shares nothing with
    /// `source`, which is borrowed. Has no `tagData`, a `tagSize` of 0 and a zero `matrix`.
    /// What cannot be converted (null; no grid; a `precision` other than 2; a curve that is missing, shorter than
    /// its side's first or one of more than the source has room for; a grid with too few entries) leaves the three
    /// tables null. Grid entries between clutPoints to the power of `inputChan` and clutPoints cubed are 0.
    explicit CLut16Type(const CLut* source);

    using iccTagBase::Initial;
    /// Decodes a block of the layout below. Tables that reach past the block leave all three null and the counts
    /// as they were read.
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    /// Whether the units can work with this table: all three tables are there, at most 3 input and 7 output
    /// channels, 2 to 33 grid points, at most 4096 entries a curve.
    bool Usable() const;

    std::uint8_t inputChan = 0;
    std::uint8_t outputChan = 0;
    std::uint8_t clutPoints = 0;  ///< grid points on each axis
    std::uint8_t pad = 0;
    std::array<std::uint32_t, 9> matrix{};         ///< fixed-point words, row by row; applied nowhere
    std::uint16_t inputEnt = 0;                    ///< entries of each input curve
    std::uint16_t outputEnt = 0;                   ///< entries of each output curve
    std::unique_ptr<std::uint16_t[]> inputTable;   ///< `inputChan` curves, one after the other
    std::unique_ptr<std::uint16_t[]> clutTable;    ///< `clutPoints` cubed nodes of `outputChan`, last axis fastest
    std::unique_ptr<std::uint16_t[]> outputTable;  ///< `outputChan` curves, one after the other
};

/// What any other type in a LUT tag is taken for. Kept: the layout is that of `CLut16Type` with entries of one
/// byte, 16-bit counts at 48 and 50 included, and not the published 8-bit layout. No engine can use it.
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
    std::uint8_t precision = 0;                 ///< bytes a value: 1 or 2 in a sound file
    std::array<std::uint8_t, 3> padding{};
    std::unique_ptr<std::uint8_t[]> gridData;  ///< with `precision` 2, 16-bit values in host order; null if too short
    std::uint64_t gridBytes = 0;               ///< bytes in `gridData`
};

/// The table of an "mAB " or "mBA " tag. Matrix and M curves are not used; of the M curves one is read.
class CLut : public iccTagBase {
public:
    using iccTagBase::Initial;
    /// Decodes the block. Kept: curves are stepped through by 2 x entries + 14 bytes, which agrees with the
    /// format's alignment for an odd number of entries only. Curves beyond the three and the seven that there is
    /// room for are not read, and nothing is read past the block.
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::uint8_t inputChan = 0;
    std::uint8_t outputChan = 0;
    std::array<std::uint8_t, 2> lutPad{};
    std::uint32_t bCurveOffset = 0;  ///< offsets from the block's start, 0 for absent
    std::uint32_t matrixOffset = 0;
    std::uint32_t mCurveOffset = 0;
    std::uint32_t clutOffset = 0;
    std::uint32_t aCurveOffset = 0;
    std::array<std::unique_ptr<CCurveType>, 3> bCurves;
    std::unique_ptr<CCurveType> mCurve;
    std::unique_ptr<CLutGrid> clut;
    std::array<std::unique_ptr<CCurveType>, 7> aCurves;
};

/// Whether a tag name is one of the A2B tables: its low byte does not count.
constexpr bool IsA2B(icTagSignature tagName) {
    return (static_cast<std::uint32_t>(tagName) & 0xffffff00U) == (ICC4_HEADER::Signature("A2B0") & 0xffffff00U);
}

}  // namespace ICC40::ICCFILE
