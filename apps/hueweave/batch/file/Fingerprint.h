// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "batch/file/plan/SourceFile.h"
#include "batch/session/Session.h"
#include "system/Sha256.h"

namespace hueweave::tool {

/// SHA-256 of everything that an output depends on: the version, the options that affect colours, the profile, and all
/// bytes of the source in order. The records of folders contain it, so its definition must not change.
///
/// `Take` accepts data that were read for another purpose, so that the source is not read twice. For use by one thread
/// at a time.
class Fingerprint {
public:
    /// Borrows the source.
    Fingerprint(const Session& session, const SourceFile& source);
    /// Hashes bytes of the source that follow those already hashed. A small gap before them, such as a directory
    /// between two images, is read here. Bytes out of order are ignored; `Finish` reads them again.
    void Take(std::uint64_t offset, std::span<const unsigned char> data);
    /// Reads the missing bytes and returns 64 hexadecimal digits. Called once, at the end.
    std::string Finish();

private:
    void ReadTo(std::uint64_t end);

    const FileAccess& file_;
    Sha256 hash_;
    std::uint64_t hashed_ = 0;  ///< bytes of the source, from its beginning
};

/// 32 hexadecimal digits of SHA-256 of what all outputs of a run depend on: that of a fingerprint without the source.
std::string SettingsHash(const Session& session);

}  // namespace hueweave::tool
