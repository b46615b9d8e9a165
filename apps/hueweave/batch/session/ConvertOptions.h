// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "colour/library/Rendering.h"

namespace hueweave::tool {

/// Which profile counts where one is given and the file embeds another.
enum class SourceRule { Given, Embedded, RequireMatch };

/// Which colours a conversion gives: those of the profiles, or the library's own pixels.
enum class Precision { Exact, Library };

/// One of several runs that share the files: the `part`-th of `parts`.
struct Shard {
    unsigned part = 1, parts = 1;
};

/// What a conversion of files is to do; as `hueweave convert` takes it.
struct ConvertOptions {
    std::vector<std::string> inputs;
    std::string output;
    std::optional<std::string> profile;
    colour::Rendering rendering;  ///< without a space where `targetFile` names a profile
    std::string targetFile;
    Precision precision = Precision::Exact;
    bool compensateBlack = false;
    int profileVersion = 4;             ///< of the ICC, for the profile of the output
    std::optional<double> acceptError;  ///< CIEDE2000 that 5 % of the library's colours may exceed
    SourceRule source = SourceRule::Given;
    std::optional<std::string> filesFrom;
    std::optional<Shard> shard;
    std::string curveFile;  ///< read into the rendering when the sandbox is closed
    unsigned jobs = 0;      ///< threads; 0 for one a processor
    std::uint64_t maxMemory = std::uint64_t{64} << 20;
    bool noTag = false, force = false, inPlace = false, nul = false, resume = false;
    bool follow = false;  ///< symbolic links in folders
    bool quiet = false, verbose = false, json = false, dryRun = false;
    bool sandbox = false;  ///< confine the whole process, for good
};

inline constexpr const char* kVersion = HUEWEAVE_VERSION;

}  // namespace hueweave::tool
