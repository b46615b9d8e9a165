// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "colour/library/Rendering.h"
#include "picture/Format.h"

namespace hueweave::tool {

/// Which profile is used if one is given and the file embeds another.
enum class SourceRule { Given, Embedded, RequireMatch };

/// What happens to files that are not RGB.
enum class Others { Refuse, Copy, Skip };

/// How files that an earlier run has converted are recognised: not at all, by a hash of their contents, or by their
/// size and time.
enum class Resume { No, ByHash, Fast };

/// Which colours a conversion produces: those that the profiles describe, or the library's own pixels.
enum class Precision { Exact, Library };

/// The part of the files that this run converts: number `part`, from 1, of `parts`.
struct Shard {
    unsigned part = 1, parts = 1;
};

/// The options of `hueweave convert`.
struct ConvertOptions {
    std::vector<std::string> inputs;
    std::string output;
    std::optional<std::string> profile;
    colour::Rendering rendering;  ///< its space is null if `targetFile` names a profile
    std::string targetFile;
    Precision precision = Precision::Exact;
    bool compensateBlack = false;
    int profileVersion = 4;             ///< ICC version of the output profile
    std::optional<double> acceptError;  ///< CIEDE2000 that 5 % of the library's colours may exceed
    SourceRule source = SourceRule::RequireMatch;
    Others others = Others::Refuse;
    std::optional<std::string> filesFrom;
    std::string base;  ///< the folder whose subfolders are kept for names in the list; empty for none
    std::optional<Shard> shard;
    Resume resume = Resume::No;
    std::string curveFile;  ///< read into `rendering` inside the sandbox
    unsigned jobs = 0;      ///< threads; 0 for one per processor
    std::uint64_t maxMemory = std::uint64_t{64} << 20;
    std::optional<Format> format;     ///< of the outputs; nothing for that of each input
    std::optional<unsigned> quality;  ///< of JPEG files that are not JPEG yet
    bool greyToRgb = false;           ///< grey pages become RGB
    bool noTag = false, force = false, inPlace = false, nul = false;
    bool follow = false;  ///< symbolic links in folders
    bool quiet = false, verbose = false, json = false, dryRun = false;
    bool sandbox = false;  ///< confine the whole process, permanently
};

inline constexpr const char* kVersion = HUEWEAVE_VERSION;

}  // namespace hueweave::tool
