// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include "iccfile/IccTypes.h"

namespace ICC40::ICCFILE {

/// One tag of a profile: its name, and a verbatim copy of its block, which is all that is ever saved. The classes
/// derived from it decode what the system needs and never write back.
///
/// A tag owns its arrays, is built once by `Initial` and not changed afterwards. No operation reports a failure.
class iccTagBase : public ICC4_HEADER::icTagBase {
public:
    iccTagBase() = default;
    iccTagBase(const iccTagBase&) = delete;
    iccTagBase& operator=(const iccTagBase&) = delete;
    virtual ~iccTagBase() = default;

    /// Takes the block of `size` bytes at `data` (borrowed, copied). Returns `size`.
    /// The type is the block's first word; of a block too short to have one it is what is there, and 0 for the rest.
    virtual unsigned Initial(icTagSignature tagName, unsigned char* data, int size);
    /// Makes an empty tag: sets name and type, `tagSize` 0, and leaves `reserved` and `tagData`. Returns 0.
    virtual unsigned Initial(icTagSignature tagName, icTagTypeSignature type);
    /// Kept: does nothing and returns 0; tags are read and saved by the container.
    virtual int Read(std::FILE* stream);
    virtual int Save(std::FILE* stream);

    icTagSignature tagSig{};                   ///< name in the tag table
    std::uint32_t tagSize = 0;                 ///< bytes in `tagData`; from a file, rounded up to a multiple of 4
    std::unique_ptr<unsigned char[]> tagData;  ///< the block as it stands in the file
};

}  // namespace ICC40::ICCFILE
