// SPDX-License-Identifier: MIT
// Arguments of the command line and the options that they set.
#include "cli/CommandLine.h"
#include "cli/commands/ConvertCommand.h"
#include "cli/commands/VerifyCommand.h"
#include "command/support/Command.h"

namespace hueweave::tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;

std::unique_ptr<Command> ParseWords(std::vector<const char*> words) {
    words.insert(words.begin(), "hueweave");
    return ParseCommandLine(static_cast<int>(words.size()), words.data());
}

/// The options of a conversion with one more argument.
ConvertOptions ConvertWith(const std::string& word) {
    const auto command = ParseWords({"convert", "x", "-o", "y", word.c_str()});
    return dynamic_cast<const ConvertCommand&>(*command).options();
}

TEST(CommandLineTest, SizesAreDecimalBytesOrPowersOf1024) {
    const auto memory = [](const std::string& size) { return ConvertWith("--max-memory=" + size).maxMemory; };
    EXPECT_EQ(ConvertWith("-q").maxMemory, 67108864U);
    for (const char* size : {"33554432", "32768K", "32M"}) EXPECT_EQ(memory(size), 33554432U) << size;
    for (const char* size : {"064M", "64m", "64MiB", "64mib", "65536k", "65536KiB"}) {
        EXPECT_EQ(memory(size), 67108864U) << size;
    }
    EXPECT_EQ(memory("1G"), 1073741824U);
    EXPECT_EQ(memory("2g"), memory("2GiB"));
    EXPECT_EQ(memory("8589934592G"), 9223372036854775808U);
}

TEST(CommandLineTest, ChoicesAndNumbersBecomeValues) {
    using namespace ICC40::ICCFILE;
    EXPECT_EQ(ConvertWith("-q").rendering.space->name, "srgb");
    EXPECT_EQ(ConvertWith("-q").rendering.intent, IntentPerceptual);
    EXPECT_EQ(ConvertWith("-q").source, SourceRule::RequireMatch);
    EXPECT_EQ(ConvertWith("--to=kodak-text").rendering.space->code8, CsKodakText_8);
    EXPECT_EQ(ConvertWith("--intent=perceptual").rendering.intent, IntentPerceptual);
    EXPECT_EQ(ConvertWith("--intent=relative").rendering.intent, IntentRelativeColorimetric);
    EXPECT_EQ(ConvertWith("--intent=saturation").rendering.intent, IntentSaturation);
    EXPECT_EQ(ConvertWith("--intent=absolute").rendering.intent, IntentAbsoluteColorimetric);
    EXPECT_EQ(ConvertWith("--source=given").source, SourceRule::Given);
    EXPECT_EQ(ConvertWith("--source=embedded").source, SourceRule::Embedded);
    EXPECT_EQ(ConvertWith("--source=require-match").source, SourceRule::RequireMatch);
    const auto verify = ParseWords({"verify", "x"});
    const colour::Rendering& rendering = dynamic_cast<const VerifyCommand&>(*verify).options().rendering;
    EXPECT_EQ(rendering.space->name, "srgb");
    EXPECT_EQ(rendering.intent, IntentPerceptual);
    // The ends of ranges are in them.
    EXPECT_EQ(ConvertWith("--lightness=-100").rendering.lightness, -100);
    EXPECT_EQ(ConvertWith("--chroma=100").rendering.chroma, 100);
    EXPECT_EQ(ConvertWith("--hue=-360").rendering.hue, -360);
    EXPECT_EQ(ConvertWith("--hue=360").rendering.hue, 360);
}

TEST(CommandLineTest, HelpAndVersion) {
    const std::string help = test::Hueweave({"--help"}).out;
    EXPECT_THAT(help, AllOf(HasSubstr("Examples:"), HasSubstr("Exit status: 0 all done")));
    for (const test::Words& words : {test::Words{"--help"}, {"help"}, {"help", "help"}, {"-h"}}) {
        const test::Outcome run = test::Hueweave(words);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, help);
    }
    // Without a command, it is an error.
    const test::Outcome alone = test::Hueweave({});
    EXPECT_EQ(alone.status, 2);
    EXPECT_EQ(alone.err, help);
    EXPECT_EQ(alone.out, "");
    const test::Outcome version = test::Hueweave({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(test::Hueweave({"-V"}).out, version.out);
    EXPECT_THAT(version.out, testing::MatchesRegex("hueweave [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(CommandLineTest, EachCommandHasExamplesOfItsOwn) {
    const char* const commands[] = {"convert", "watch", "inspect", "bake", "verify", "check", "spaces"};
    for (const std::string command : commands) {
        const test::Outcome run = test::Hueweave({command, "--help"});
        EXPECT_EQ(run.status, 0);
        const std::string examples = run.out.substr(std::min(run.out.size(), run.out.find("Examples:\n")));
        for (const std::string other : commands) {
            EXPECT_EQ(examples.find("hueweave " + other) != std::string::npos, other == command);
        }
        EXPECT_EQ(test::Hueweave({"help", command}).out, run.out);
        EXPECT_THAT(test::Hueweave({"--help"}).out, HasSubstr(command));
    }
}

}  // namespace
}  // namespace hueweave::tool
