// SPDX-License-Identifier: MIT
#include "cli/commands/ReportCommand.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "batch/session/Target.h"
#include "cli/commands/InspectCommand.h"
#include "cli/options/AllowedPaths.h"
#include "cli/options/Values.h"
#include "report/Page.h"
#include "system/StandardStreams.h"
#include "system/files/OutputFile.h"
#include "system/files/TemporaryFiles.h"
#include "system/sandbox/Sandbox.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kPictureMemory = std::uint64_t{256} << 20;  ///< bytes; progressive JPEG and tiles need many

/// Refuses an output that is one of the inputs, even with --force.
void RefuseInputs(const std::vector<std::string>& inputs, const std::string& output) {
    const auto written = IdentityOf(output);
    for (const std::string& input : inputs) {
        if (written && written == IdentityOf(input)) {
            throw Refusal(Exit::Output, output, "is an input itself", "choose another name");
        }
    }
}

constexpr const char* kReportExamples = R"(Examples:
  hueweave report scanner.icc -o report.html
  hueweave report scanner.icc scan.tif photo.jpg --to adobe-rgb -o report.html
  hueweave report scanner.icc --chart chart.ti3 -o report.html)";

}  // namespace

CLI::App* ReportCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("report", "Write a page that shows what a profile does to colours and pictures");
    c->add_option("PROFILE", options_.convert.profile, "Any RGB device profile")->required();
    c->add_option("PICTURE", options_.files, "TIFF, PNG or JPEG files in the colours of the profile");
    c->add_option("-o,--output", options_.output, "Page to write")->required();
    AddTarget(*c, options_.convert.rendering.space, options_.convert.targetFile);
    AddChoice(*c, "--intent", options_.convert.rendering.intent, IntentChoices(), "Rendering intent");
    c->add_option("--chart", options_.chart, "A chart's device colours with their reference: a .ti3 file of scanin");
    options_.convert.maxMemory = kPictureMemory;
    c->add_option("--max-memory", options_.convert.maxMemory,
                  "Memory limit for the pixels of a picture, whatever its size: 32M or more")
        ->transform(Memory())
        ->type_name("TEXT")
        ->default_str("256M");
    c->add_flag("--force", options_.force, "Replace a file that exists already");
    c->add_flag("-q,--quiet", options_.quiet, "Print nothing");
    AddSandbox(*c, options_.sandbox);
    c->footer(kReportExamples);
    return c;
}

void ReportCommand::Settle() {
    if (options_.output == "-") RefuseUsage("report does not write to standard output", "name a file with -o");
    for (const std::string& file : options_.files) {
        if (file == "-") RefuseUsage("report does not read standard input", "name the picture");
    }
}

std::vector<std::string> ReportCommand::Words() const {
    std::vector<std::string> words{"hueweave", "report", *options_.convert.profile};
    words.insert(words.end(), options_.files.begin(), options_.files.end());
    const std::string target = TargetName(options_.convert);
    if (target != colour::Spaces()[0].name) words.insert(words.end(), {"--to", target});
    const auto intent = options_.convert.rendering.intent;
    if (intent != colour::Intents()[0].intent) {
        words.insert(words.end(), {"--intent", std::string(colour::IntentName(intent))});
    }
    if (options_.chart) words.insert(words.end(), {"--chart", *options_.chart});
    words.insert(words.end(), {"-o", options_.output});
    return words;
}

Exit ReportCommand::Run() {
    std::vector<std::string> inputs = options_.files;
    inputs.push_back(*options_.convert.profile);
    if (options_.chart) inputs.push_back(*options_.chart);
    if (!options_.convert.targetFile.empty()) inputs.push_back(options_.convert.targetFile);
    if (options_.sandbox) {
        AllowedPaths allowed{{PlaceOf(options_.output, options_.force), Use::Write}, {TemporaryFolder(), Use::Scratch}};
        for (const std::string& input : inputs) allowed.push_back({input, Use::Read});
        EnterSandbox(allowed);
    }
    const auto existing = options_.force ? OutputFile::Existing::Replace : OutputFile::Existing::Keep;
    RefuseInputs(inputs, options_.output);
    CheckTarget(options_.output, existing);
    const ReportData data = MeasureReport({options_.convert, options_.files, options_.chart, Words()}, DescribeFile);
    const std::string page = MakePage(data);
    OutputFile output(options_.output, existing);
    SweptFolders().Sweep(output.folder());
    output.file().Write(0, page.data(), page.size());
    output.Finish();
    // Created before the file gets its name, so that no file is published if memory runs out.
    const std::string line = fmt::format("{} -> {} ({:.1f} MB)", OneLine(*options_.convert.profile),
                                         OneLine(options_.output), static_cast<double>(page.size()) / 1e6);
    output.Commit();
    if (!options_.quiet) PrintError(line);
    return Exit::Done;
}

}  // namespace hueweave::tool
