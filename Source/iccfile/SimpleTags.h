// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "iccfile/TagReader.h"
#include "iccfile/iccTagBase.h"

namespace ICC40::ICCFILE {

/// The value of a fixed-point number. Kept: it is read as unsigned, so -1.0 becomes 65535.0.
constexpr double FromFixed(std::uint32_t word) { return word * 1.52587890625e-5; }  // exactly 1 / 65536

/// Text: everything after the first eight bytes, without an added terminator. Empty for a shorter block.
class CTextType : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::unique_ptr<unsigned char[]> text;  ///< `tagSize` - 8 bytes
};

/// A description, stored like a text: its inner counts and Unicode part are ignored.
class CTextDescriptionType : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::uint32_t textLength = 0;  ///< bytes in `text`
    std::unique_ptr<unsigned char[]> text;
};

/// One XYZ triple. Missing words are 0.
class CXYZType : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::array<std::uint32_t, 3> rawXYZ{};  ///< the words as stored, in host byte order
    std::array<double, 3> XYZ{};            ///< the same, converted by `FromFixed`
};

/// A tag whose contents are not decoded.
class CDataType : public iccTagBase {};

/// A list of 16-bit entries. The user of the curve interprets counts of 0 (identity) and 1 (gamma); the type word is
/// not checked. At most as many entries are read as the block holds.
class CCurveType : public iccTagBase {
public:
    using iccTagBase::Initial;
    /// Kept: a size of 0 means an unknown size. The caller then guarantees that all entries declared at `data` can be
    /// read, or passes null; `tagData` has no bytes.
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;
    /// The same with a size of 0. Sets `tagSize` to 2 x `curveCount` + 14 and returns it.
    unsigned Initial(icTagSignature tagName, unsigned char* data);
    /// The same for a curve inside a larger block; does not read beyond the block.
    unsigned InitialWithin(icTagSignature tagName, const TagReader& curve);

    std::uint32_t curveCount = 0;            ///< entries in `curve`
    std::unique_ptr<std::uint16_t[]> curve;  ///< host byte order

private:
    void Decode(const TagReader& curve);
    unsigned SetStep();
};

/// The chromatic adaptation matrix in row order, converted by `FromFixed`: negative entries become large numbers, see
/// there.
class CChad : public iccTagBase {
public:
    using iccTagBase::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override;

    std::array<double, 9> chad{};
};

}  // namespace ICC40::ICCFILE
