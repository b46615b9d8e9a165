// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <string>

#include "batch/file/SourceFile.h"
#include "batch/session/Session.h"
#include "system/Sha256.h"

namespace hueweave::tool {

/// SHA-256 of all that an output depends on: the version, the options that change colours, the profile, and the bytes
/// of the source from the first to the last. Records of folders hold it, so its form stays.
///
/// The source need not be read for it alone: `Take` accepts what was read for another reason. Not for several threads.
class Fingerprint {
public:
    /// Borrows the source.
    Fingerprint(const Session& session, const SourceFile& source);
    /// Bytes of the source. They count where they follow on what is hashed already, behind a small gap at most, such as
    /// a directory between two images, which is read here. What comes out of order is read again by `Finish`.
    void Take(std::uint64_t offset, const Bytes& data);
    /// Reads what is missing and returns 64 hexadecimal digits. Called once, at the end.
    std::string Finish();

private:
    void ReadTo(std::uint64_t end);

    const FileAccess& file_;
    Sha256 hash_;
    std::uint64_t hashed_ = 0;  ///< bytes of the source, from its beginning
};

}  // namespace hueweave::tool
