// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "batch/session/ProfileFile.h"
#include "batch/session/Target.h"
#include "colour/PixelConverter.h"
#include "colour/Transform.h"
#include "colour/judge/Compare.h"

namespace hueweave::tool {

/// A converter with its profile, bit depth and measured error.
struct ReadyConverter {
    std::string hash;  ///< of the profile
    unsigned bits = 0;
    std::shared_ptr<const colour::Transform> transform;  ///< null with the library's precision, and for a device
    std::optional<colour::Way> exactWay;                 ///< nothing with the library's precision
    std::string bakedBecause;  ///< why the library uses a profile baked from this one; may be empty
    colour::TransformError error;
    colour::PixelConverter converter;
    Bytes outputProfile;  ///< empty if no profile describes the output

    /// Whether the source is in the output's colours already, so that no sample changes.
    bool IsCopy() const { return exactWay == colour::Way::Copy; }
    /// "direct", "copy" and so on, or "library".
    std::string way() const;
};

/// Converters of one run, by profile and bit depth. Shared by threads. Keeps the converters created last.
class ProfileCache {
public:
    /// Borrows both.
    ProfileCache(const ConvertOptions& options, const Target& target) : options_(options), target_(target) {}
    std::shared_ptr<const ReadyConverter> Get(const DeviceProfile& profile, unsigned bits);
    /// Whether a profile describes the output's colours. With the library's precision, always false.
    bool IsTarget(const DeviceProfile& profile) const;

private:
    static constexpr std::size_t kMost = 4;  ///< each contains tables of 1 to 3 MB
    ReadyConverter MakeExact(const DeviceProfile& profile, unsigned bits) const;
    /// For grey, CMYK and CIE Lab.
    ReadyConverter MakeDevice(const DeviceProfile& profile, unsigned bits) const;
    ReadyConverter MakeLibrary(const DeviceProfile& profile, unsigned bits) const;
    void RefuseWrongColours(const DeviceProfile& profile, const colour::Comparison& comparison) const;

    const ConvertOptions& options_;
    const Target& target_;
    std::mutex mutex_;
    std::deque<std::shared_ptr<const ReadyConverter>> ready_;
};

}  // namespace hueweave::tool
