// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "colour/PixelConverter.h"

namespace hueweave::tool {

/// Which profile counts where one is given and the file embeds another.
enum class SourceRule { Given, Embedded, RequireMatch };

/// One of several runs that share the files: the `part`-th of `parts`.
struct Shard {
    unsigned part = 1, parts = 1;
};

struct ConvertArguments {
    std::vector<std::string> inputs;
    std::string output;
    std::optional<std::string> profile;
    Rendering rendering;
    SourceRule source = SourceRule::Given;
    std::optional<std::string> filesFrom;
    std::optional<Shard> shard;
    std::string curveFile;  ///< read into the rendering when the sandbox is closed
    unsigned jobs = 0;      ///< threads; 0 for one a processor
    std::uint64_t maxMemory = std::uint64_t{64} << 20;
    bool noTag = false, force = false, inPlace = false, nul = false, resume = false;
    bool quiet = false, json = false, dryRun = false;
    bool sandbox = false;
};

struct InspectArguments {
    std::vector<std::string> files;
    bool json = false, sandbox = false;
};

struct BakeArguments {
    std::string profile, output;
    bool force = false, quiet = false, sandbox = false;
};

struct VerifyArguments {
    std::string profile;
    std::optional<std::string> image;
    Rendering rendering;
    unsigned bits = 16, points = 33;
    std::optional<double> limit;
    bool json = false, sandbox = false;
};

struct SpacesArguments {
    bool json = false;
};

/// What the command line asks for. `ParseArguments` turns `sandbox` on, which confines the whole process for good.
struct Arguments {
    std::optional<ConvertArguments> convert;
    std::optional<InspectArguments> inspect;
    std::optional<BakeArguments> bake;
    std::optional<VerifyArguments> verify;
    std::optional<SpacesArguments> spaces;
    bool finished = false;  ///< help or version was printed
};

/// Refuses what makes no sense with `Exit::Usage`.
Arguments ParseArguments(int count, const char* const* words);

/// 256 rows of three values of 0 to 255, separated by commas, semicolons or blanks.
ToneCurves ReadCurves(const std::string& path);

inline constexpr const char* kVersion = HUEWEAVE_VERSION;

}  // namespace hueweave::tool
