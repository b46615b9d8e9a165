// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The subcommand "verify".
#include <fmt/format.h>

#include "cli/AllowedPaths.h"
#include "cli/Commands.h"
#include "cli/ImageColours.h"
#include "colour/Compare.h"
#include "colour/ProfileSource.h"
#include "system/Json.h"
#include "system/JsonNames.h"

namespace hueweave::tool {
namespace {

void PrintText(const VerifyArguments& arguments, const DeviceProfile& profile, const EngineProfile& engine,
               const Comparison& c) {
    fmt::print("{}: to {}, {}, {} bits, {} colours of {}\n", OneLine(profile.name), arguments.rendering.space->name,
               IntentName(arguments.rendering.intent), arguments.bits, c.colours,
               arguments.image ? OneLine(*arguments.image) : "a grid");
    if (!engine.bakedBecause.empty())
        fmt::print("The engine takes a profile baked from it: {}.\n", engine.bakedBecause);
    fmt::print("CIEDE2000 between the engine and Little CMS in floating point:\n");
    fmt::print("  mean {:.3f}  median {:.3f}  95 % {:.3f}  99 % {:.3f}  maximum {:.3f}\n", c.mean, c.median, c.p95,
               c.p99, c.maximum);
    fmt::print("The worst, of 255:\n");
    for (const auto& w : c.worst) {
        fmt::print("  RGB {:6.2f} {:6.2f} {:6.2f}  Lab {:6.2f} {:7.2f} {:7.2f}  {:.3f}\n", w.device[0] / 257.0,
                   w.device[1] / 257.0, w.device[2] / 257.0, w.lab[0], w.lab[1], w.lab[2], w.difference);
    }
    fmt::print("Outside the space and cut to it: {} of {} ({:.1f} %)\n", c.clipped, c.colours,
               100.0 * static_cast<double>(c.clipped) / static_cast<double>(c.colours));
}

void PrintJson(const VerifyArguments& arguments, const DeviceProfile& profile, const EngineProfile& engine,
               const Comparison& c) {
    nlohmann::ordered_json json{{"profile", profile.name},
                                {"space", arguments.rendering.space->name},
                                {"intent", IntentName(arguments.rendering.intent)},
                                {"bits", arguments.bits},
                                {"baked", !engine.bakedBecause.empty()},
                                {"colours", c.colours},
                                {"mean", c.mean},
                                {"median", c.median},
                                {"p95", c.p95},
                                {"p99", c.p99},
                                {"maximum", c.maximum},
                                {"clipped", c.clipped}};
    for (const auto& w : c.worst) {
        json["worst"].push_back({{"device", w.device}, {"lab", w.lab}, {"difference", w.difference}});
    }
    fmt::print("{}\n", JsonLine(json));
}

}  // namespace

Exit Verify(const VerifyArguments& arguments) {
    if (arguments.sandbox) EnterSandbox(PathsOf(arguments));
    const DeviceProfile profile = LoadProfile(arguments.profile);
    const EngineProfile engine = PrepareProfile(profile, arguments.rendering.intent);
    const std::vector<DeviceColour> colours =
        arguments.image ? ImageColours(*arguments.image) : GridColours(arguments.points);
    const Comparison result =
        Compare(engine.data, profile.data, profile.name, arguments.rendering, arguments.bits, colours);
    if (arguments.json) {
        PrintJson(arguments, profile, engine, result);
    } else {
        PrintText(arguments, profile, engine, result);
    }
    return arguments.limit && result.p95 > *arguments.limit ? Exit::SomeFailed : Exit::Done;
}

}  // namespace hueweave::tool
