// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "cli/VerifyCommand.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "batch/session/ProfileFile.h"
#include "cli/ImageColours.h"
#include "cli/Values.h"
#include "colour/library/Compare.h"
#include "colour/library/EngineProfile.h"
#include "system/Json.h"
#include "system/JsonNames.h"
#include "system/Sandbox.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {
namespace {

void PrintText(const VerifyOptions& options, const DeviceProfile& profile, const colour::EngineProfile& engine,
               const colour::Comparison& c) {
    fmt::print("{}: to {}, {}, {} bits, {} colours of {}\n", OneLine(profile.name), options.rendering.space->name,
               colour::IntentName(options.rendering.intent), options.bits, c.colours,
               options.image ? OneLine(*options.image) : "a grid");
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

void PrintJson(const VerifyOptions& options, const DeviceProfile& profile, const colour::EngineProfile& engine,
               const colour::Comparison& c) {
    nlohmann::ordered_json json{{"profile", profile.name},
                                {"space", options.rendering.space->name},
                                {"intent", colour::IntentName(options.rendering.intent)},
                                {"bits", options.bits},
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

CLI::App* VerifyCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("verify", "Compare the engine with Little CMS in floating point");
    c->add_option("PROFILE", options_.profile, "Any RGB device profile")->required();
    c->add_option("--image", options_.image, "Compare the colours of a TIFF file, not a grid");
    AddChoice(*c, "--to", options_.rendering.space, SpaceChoices(), "Colour space of the output");
    AddChoice(*c, "--intent", options_.rendering.intent, IntentChoices(), "Rendering intent");
    // Strings, because CLI11 accepts an empty argument as one of several numbers.
    c->add_option("--bits", options_.bits, "Bits a sample")->check(CLI::IsMember({"8", "16"}))->capture_default_str();
    c->add_option("--points", options_.points, "Points of the grid on each axis")
        ->check(CLI::Range(2, 65))
        ->capture_default_str();
    c->add_option("--limit", options_.limit,
                  "Fail (exit status 1) if more than 5 % of the colours differ by more than this CIEDE2000")
        ->check(Within(0, 100).description("FLOAT in [0 - 100]"));
    c->add_flag("--json", options_.json, "Write one line of JSON");
    AddSandbox(*c, options_.sandbox);
    return c;
}

Exit VerifyCommand::Run() {
    if (options_.sandbox) {
        AllowedPaths allowed{{options_.profile, Use::Read}};
        if (options_.image) {
            allowed.push_back({*options_.image, Use::Read});
            allowed.push_back({TemporaryFolder(), Use::Scratch});
        }
        EnterSandbox(allowed);
    }
    const DeviceProfile profile = LoadProfile(options_.profile);
    const colour::EngineProfile engine = Named(profile.name, [&] {
        return colour::PrepareProfile(profile.data, options_.rendering.intent, ThrowIfInterrupted);
    });
    const std::vector<colour::DeviceColour> colours =
        options_.image ? ImageColours(*options_.image) : colour::GridColours(options_.points);
    const colour::Comparison result = Named(profile.name, [&] {
        return colour::Compare(engine.data, profile.data, options_.rendering, options_.bits, colours,
                               ThrowIfInterrupted);
    });
    if (options_.json) {
        PrintJson(options_, profile, engine, result);
    } else {
        PrintText(options_, profile, engine, result);
    }
    return options_.limit && result.p95 > *options_.limit ? Exit::SomeFailed : Exit::Done;
}

}  // namespace hueweave::tool
