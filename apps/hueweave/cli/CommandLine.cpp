// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "cli/BakeCommand.h"
#include "cli/CheckCommand.h"
#include "cli/ConvertCommand.h"
#include "cli/InspectCommand.h"
#include "cli/SpacesCommand.h"
#include "cli/VerifyCommand.h"
#include "cli/WatchCommand.h"

namespace hueweave::tool {

namespace {

constexpr const char* kAbout =
    R"(Converts RGB images through ICC profiles. Keeps everything else in a file, or refuses it with a reason.)";

constexpr const char* kFooter = R"(Examples:
  hueweave convert --profile scanner.icc scan.tif -o scan-srgb.tif
  hueweave convert scans/ -o converted/                 a folder, with the embedded profiles
  hueweave convert --profile scanner.icc --to adobe-rgb --intent relative *.tif -o converted/
  hueweave convert scans/ -o converted/ --resume        continue an interrupted run
  find scans -name '*.tif' -print0 | hueweave convert --files-from - -0 -o converted/
                                                        a list; no subfolders are made
  hueweave watch scans/ -o converted/                   the same for files that are still to come
  hueweave inspect scan.tif scanner.icc
  hueweave verify scanner.icc --limit 2.0
  hueweave check --profile scanner.icc chart.ti3        how far a chart's colours are from their reference

Exit status: 0 all done, 1 some of several files failed or a limit was exceeded, 2 usage, 3 profile refused,
4 input refused, 5 output refused; by SIGINT or SIGTERM, that signal itself.)";

/// Names a mistyped command; CLI11 would only report that one is missing.
void RequireCommand(const CLI::App& app, const std::string& word) {
    if (word.starts_with('-')) return;
    for (const CLI::App* command : app.get_subcommands({})) {
        if (command->get_name() == word) return;
    }
    RefuseUsage("'" + word + "' is no command");
}

}  // namespace

std::unique_ptr<Command> ParseCommandLine(int count, const char* const* words) {
    CLI::App app(kAbout, "hueweave");
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("hueweave ") + kVersion);
    app.require_subcommand(1);
    std::vector<std::pair<std::unique_ptr<Command>, CLI::App*>> commands;
    const auto declare = [&](std::unique_ptr<Command> command) {
        CLI::App* declared = command->Declare(app);
        commands.emplace_back(std::move(command), declared);
    };
    declare(std::make_unique<ConvertCommand>());
    declare(std::make_unique<WatchCommand>());
    declare(std::make_unique<InspectCommand>());
    declare(std::make_unique<BakeCommand>());
    declare(std::make_unique<VerifyCommand>());
    declare(std::make_unique<CheckCommand>());
    declare(std::make_unique<SpacesCommand>());

    if (count > 1) RequireCommand(app, words[1]);
    try {
        app.parse(count, words);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) RefuseUsage(error.what());
        app.exit(error);
        return nullptr;
    }
    std::unique_ptr<Command> parsed;
    for (auto& [command, declared] : commands) {
        if (declared->parsed()) parsed = std::move(command);
    }
    if (parsed) parsed->Settle();
    return parsed;
}

}  // namespace hueweave::tool
