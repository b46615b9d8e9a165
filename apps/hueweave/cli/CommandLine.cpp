// SPDX-License-Identifier: MIT
#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/UsageErrors.h"
#include "cli/commands/BakeCommand.h"
#include "cli/commands/CheckCommand.h"
#include "cli/commands/ConvertCommand.h"
#include "cli/commands/InspectCommand.h"
#include "cli/commands/ReportCommand.h"
#include "cli/commands/SpacesCommand.h"
#include "cli/commands/StatusCommand.h"
#include "cli/commands/VerifyCommand.h"
#include "cli/commands/WatchCommand.h"

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
  hueweave status converted/                            how far runs on several machines are
  hueweave inspect scan.tif scanner.icc
  hueweave verify scanner.icc --limit 2.0
  hueweave check --profile scanner.icc chart.ti3        how far a chart's colours are from their reference
  hueweave help convert                                 the options of a command, and more examples

Exit status: 0 all done, 1 some of several files failed or a limit was exceeded, 2 usage, 3 profile refused,
4 input refused, 5 output refused; by SIGINT or SIGTERM, that signal itself.)";

/// The parser with all commands.
struct Parser {
    Parser();
    CLI::App app{kAbout, "hueweave"};
    std::vector<std::pair<std::unique_ptr<Command>, CLI::App*>> commands;
};

Parser::Parser() {
    app.set_version_flag("-V,--version", std::string("hueweave ") + kVersion);
    app.require_subcommand(1);
    const auto declare = [&](std::unique_ptr<Command> command) {
        CLI::App* declared = command->Declare(app);
        commands.emplace_back(std::move(command), declared);
    };
    declare(std::make_unique<ConvertCommand>());
    declare(std::make_unique<WatchCommand>());
    declare(std::make_unique<StatusCommand>());
    declare(std::make_unique<InspectCommand>());
    declare(std::make_unique<BakeCommand>());
    declare(std::make_unique<VerifyCommand>());
    declare(std::make_unique<CheckCommand>());
#ifdef HUEWEAVE_HAS_REPORT
    declare(std::make_unique<ReportCommand>());
#endif
    declare(std::make_unique<SpacesCommand>());
    app.footer(kFooter);  // set last, because commands without a footer would inherit it
}

/// `help` and `help COMMAND` as `--help` and `COMMAND --help`.
std::vector<const char*> WithoutHelpCommand(int count, const char* const* words) {
    std::vector<const char*> all(words, words + count);
    const auto isHelp = [&](std::size_t at) { return at < all.size() && std::string_view(all[at]) == "help"; };
    if (!isHelp(1)) return all;
    if (count < 3 || isHelp(2)) return {all[0], "--help"};
    return {all[0], all[2], "--help"};
}

}  // namespace

std::string UsageText() { return Parser().app.help(); }

std::unique_ptr<Command> ParseCommandLine(int count, const char* const* words) {
    Parser parser;
    const std::vector<const char*> plain = WithoutHelpCommand(count, words);
    if (plain.size() > 1) RequireCommand(parser.app, plain[1]);
    RefuseValuesOfFlags(parser.app, plain);
    try {
        parser.app.parse(static_cast<int>(plain.size()), plain.data());
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) RefuseArguments(parser.app, error);
        parser.app.exit(error);
        return nullptr;
    }
    std::unique_ptr<Command> parsed;
    for (auto& [command, declared] : parser.commands) {
        if (declared->parsed()) parsed = std::move(command);
    }
    if (parsed) parsed->Settle();
    return parsed;
}

}  // namespace hueweave::tool
