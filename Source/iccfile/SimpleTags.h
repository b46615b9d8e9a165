// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "iccfile/TagReader.h"
#include "iccfile/iccTagBase.h"

namespace ICC40::ICCFILE {

/// The value of a fixed-point word. Kept: the word is read as unsigned, so -1.0 comes out as 65535.0.
constexpr double FromFixed(std::uint32_t word) { return word * 1.52587890625e-5; }  // exactly 1 / 65536

/// Text: everything behind the first eight bytes, no terminator added. Empty for a block shorter than that.
class CTextType : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::unique_ptr<unsigned char[]> text;  ///< `tagSize` - 8 bytes
};

/// A description, carried like a text: its inner counts and its Unicode part are not looked at.
class CTextDescriptionType : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::uint32_t textLength = 0;  ///< bytes in `text`
    std::unique_ptr<unsigned char[]> text;
};

/// One XYZ triple. Words that the block does not hold are 0.
class CXYZType : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::array<std::uint32_t, 3> rawXYZ{};  ///< the words as stored, in host order
    std::array<double, 3> XYZ{};            ///< the same by `FromFixed`
};

/// A tag of which nothing is decoded.
class CDataType : public iccTagBase {};

/// A list of 16-bit entries. What a count of 0 (identity) or 1 (a gamma) means is up to the user of the curve, and
/// the type word is not looked at. No more entries are taken than the block holds.
class CCurveType : public iccTagBase {
public:
    using iccTagBase::Initial;
    /// Kept: a size of 0 means that the size is not known. The caller guarantees then that all entries that the count
    /// at `data` announces can be read, or gives null; `tagData` has no bytes.
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;
    /// The same with a size of 0. Sets `tagSize` to 2 x `curveCount` + 14 and returns that.
    unsigned Initial(icTagSignature tagName, unsigned char* data);
    /// The same for a curve inside a larger block, read no further than the block goes.
    unsigned InitialWithin(icTagSignature tagName, const TagReader& curve);

    std::uint32_t curveCount = 0;            ///< entries in `curve`
    std::unique_ptr<std::uint16_t[]> curve;  ///< host order

private:
    void Decode(const TagReader& curve);
    unsigned SetStep();
};

/// The chromatic adaptation matrix, row by row, by `FromFixed`: negative entries come out large, see there.
class CChad : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::array<double, 9> chad{};
};

}  // namespace ICC40::ICCFILE
