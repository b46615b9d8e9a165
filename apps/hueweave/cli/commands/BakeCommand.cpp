// SPDX-License-Identifier: MIT
#include "cli/commands/BakeCommand.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "batch/session/ProfileFile.h"
#include "cli/options/AllowedPaths.h"
#include "colour/library/Bake.h"
#include "system/Json.h"
#include "system/JsonNames.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "system/files/OutputFile.h"
#include "system/files/TemporaryFiles.h"

namespace hueweave::tool {
namespace {

std::string Describe(const BakeOptions& options, const colour::BakedProfile& baked) {
    nlohmann::ordered_json json;
    PutName(json, "profile", options.profile);
    PutName(json, "output", options.output);
    json["points"] = colour::kBakedPoints;
    json["spacing"] = baked.spacing;
    json["mean"] = baked.mean;
    json["p95"] = baked.p95;
    return JsonLine(json);
}

}  // namespace

CLI::App* BakeCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("bake", "Make a profile that the engine supports for every intent");
    c->add_option("PROFILE", options_.profile, "Any RGB device profile")->required();
    c->add_option("-o,--output", options_.output, "Profile to write")->required();
    c->add_flag("--force", options_.force, "Replace a file that exists already");
    c->add_flag("-q,--quiet", options_.quiet, "Print nothing");
    c->add_flag("--json", options_.json, "Write one line of JSON");
    AddSandbox(*c, options_.sandbox);
    c->footer("Examples:\n  hueweave bake scanner.icc -o scanner-baked.icc");
    return c;
}

void BakeCommand::Settle() {
    if (options_.output == "-") RefuseUsage("bake does not write to standard output", "name a file with -o");
}

Exit BakeCommand::Run() {
    if (options_.sandbox) {
        EnterSandbox({{options_.profile, Use::Read}, {PlaceOf(options_.output, options_.force), Use::Write}});
    }
    const auto existing = options_.force ? OutputFile::Existing::Replace : OutputFile::Existing::Keep;
    const DeviceProfile profile = LoadProfile(options_.profile);
    const auto from = IdentityOf(options_.profile);
    if (from && from == IdentityOf(options_.output)) {
        throw Refusal(Exit::Output, options_.output, "is the input itself", "choose another name");
    }
    CheckTarget(options_.output, existing);
    const colour::BakedProfile baked =
        Named(profile.name, [&] { return colour::BakeProfile(profile.data, ThrowIfInterrupted); });
    OutputFile output(options_.output, existing);
    SweptFolders().Sweep(output.folder());
    output.file().Write(0, baked.data);
    output.Finish();
    // Created before the file gets its name, so that no file is published if memory runs out.
    const std::string line =
        fmt::format("{} -> {} ({} points in steps of {}; CIEDE2000 {:.2f} on average, 95 % within {:.2f})",
                    OneLine(options_.profile), OneLine(options_.output), colour::kBakedPoints, baked.spacing,
                    baked.mean, baked.p95);
    const std::string json = options_.json ? Describe(options_, baked) + "\n" : "";
    output.Commit();
    if (!options_.quiet) PrintError(line);
    fmt::print("{}", json);
    return Exit::Done;
}

}  // namespace hueweave::tool
