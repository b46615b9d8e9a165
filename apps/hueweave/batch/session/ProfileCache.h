// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "batch/session/ProfileFile.h"
#include "colour/library/PixelConverter.h"

namespace hueweave::tool {

/// A converter with the data that it was made from.
struct ReadyConverter {
    std::string hash;  ///< of the profile
    unsigned bits = 0;
    std::string bakedBecause;
    colour::PixelConverter converter;
    Bytes outputProfile;  ///< empty if no profile describes the output
};

/// Converters of one rendering, by profile and bit depth. Threads share it; the most recent ones are kept.
class ProfileCache {
public:
    explicit ProfileCache(const colour::Rendering& rendering) : rendering_(rendering) {}
    std::shared_ptr<const ReadyConverter> Get(const DeviceProfile& profile, unsigned bits);

private:
    static constexpr std::size_t kMost = 4;  ///< each contains an engine of about 3 MB
    colour::Rendering rendering_;
    std::mutex mutex_;
    std::deque<std::shared_ptr<const ReadyConverter>> ready_;
};

}  // namespace hueweave::tool
