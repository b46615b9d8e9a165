// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include "iccfile/IccTypes.h"

namespace ICC40::ICCFILE {

/// One tag of a profile: its name, and an unchanged copy of its block, which is what is saved. Derived classes decode
/// what the system needs and never write back.
///
/// A tag owns its arrays, is initialised once by `Initial` and does not change afterwards. No operation reports an
/// error.
class iccTagBase : public ICC4_HEADER::icTagBase {
public:
    iccTagBase() = default;
    iccTagBase(const iccTagBase&) = delete;
    iccTagBase& operator=(const iccTagBase&) = delete;
    virtual ~iccTagBase() = default;

    /// Copies the block of `size` bytes at `data`. Returns `size`. The type is the first word of the block; if the
    /// block is too short, missing bytes are 0.
    virtual unsigned Initial(icTagSignature tagName, unsigned char* data, int size);
    /// Initialises an empty tag: sets name, type and a `tagSize` of 0, but not `reserved` and `tagData`. Returns 0.
    virtual unsigned Initial(icTagSignature tagName, icTagTypeSignature type);
    /// Kept: does nothing and returns 0; tags are read and saved by the container.
    virtual int Read(std::FILE* stream);
    virtual int Save(std::FILE* stream);

    icTagSignature tagSig{};                   ///< name in the tag table
    std::uint32_t tagSize = 0;                 ///< bytes in `tagData`; from a file, rounded up to a multiple of 4
    std::unique_ptr<unsigned char[]> tagData;  ///< the block as in the file
};

}  // namespace ICC40::ICCFILE
