// SPDX-License-Identifier: MIT
#include "cli/commands/WatchCommand.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <filesystem>

#include "batch/session/CurveFile.h"
#include "batch/watch/Watch.h"
#include "cli/options/AllowedPaths.h"
#include "cli/options/ConversionOptions.h"
#include "cli/options/Values.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {

namespace fs = std::filesystem;

CLI::App* WatchCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("watch", "Convert the pictures that arrive in a folder");
    c->add_option("FOLDER", folder_, "Folder to watch, with its subfolders");
    c->add_option("-o,--output", options_.output, "Folder to write; it may be inside the other one");
    c->add_option("--settle", settle_,
                  "Seconds for which a file must stay the same before it is converted (default: 2)")
        ->check(Within(0.1, 3600).description("FLOAT in [0.1 - 3600]"));
    AddConversionOptions(*c, options_);
    c->footer(
        "Examples:\n  hueweave watch scans/ -o converted/\n  hueweave watch --profile scanner.icc scans/ -o "
        "converted/");
    return c;
}

void WatchCommand::Settle() {
    CheckConversionOptions(options_);
    if (folder_.empty()) RefuseUsage("no folder was given", "name the folder to watch");
    if (options_.output.empty() || options_.output == "-") {
        RefuseUsage("no output folder was given", "name a folder with -o");
    }
    options_.inputs = {folder_};
    options_.resume = Resume::ByHash;  // what an earlier run has converted is left out
}

void WatchCommand::Confine(const Inbox& inbox) const {
    if (!options_.sandbox) return;
    InputList list;
    list.folder = options_.output;
    AllowedPaths allowed = PathsOf(options_, list);
    allowed.push_back({folder_, Use::Watch});
    for (const std::string& path : inbox.linked()) allowed.push_back({path, Use::Read});
    EnterSandbox(allowed);
}

void WatchCommand::RunIn(Report& report) {
    const std::string& output = options_.output;
    std::error_code ignored;
    if (fs::exists(output, ignored) && !fs::is_directory(output, ignored)) {
        throw Refusal(Exit::Usage, output, "is not a folder", "name a folder for the outputs");
    }
    MadeFolders folders(true);
    folders.Make(output);
    const std::chrono::duration<double> settle(settle_);
    Inbox inbox(options_, std::chrono::duration_cast<WaitingFiles::Clock::duration>(settle), report);
    InputList list;
    list.folder = output;
    list.options = FilesOfOptions(options_);
    Confine(inbox);
    if (!options_.curveFile.empty()) options_.rendering.curves = ReadCurves(options_.curveFile);
    std::optional<DeviceProfile> profile;
    if (options_.profile) profile = LoadGivenProfile(*options_.profile, options_.precision == Precision::Exact);
    const Target target = MakeTarget(options_);
    ProfileCache cache(options_, target);
    SweptFolders swept;
    ResumeRecord record(output, true);
    record.Load(
        [&](const std::string& relative) { return IdentityOf((fs::path(folder_) / relative).string()).has_value(); });
    Session session{options_, list, report, target, cache, folders, swept, &record, std::move(profile)};
    report.Line("watching " + folder_);
    RunWatch(session, inbox, ThreadsOf(options_));
}

Exit WatchCommand::Run() {
    Report report(options_.quiet, options_.json);
    try {
        RunIn(report);
    } catch (const Interrupted&) {
        if (NotedSignal() != SIGTERM) throw;  // SIGTERM is how a service is ended
    }
    if (const int error = report.Close()) RefuseStandardOutput(error);
    return Exit::Done;
}

}  // namespace hueweave::tool
