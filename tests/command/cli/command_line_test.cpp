// SPDX-License-Identifier: MIT
// Arguments of the command line and the options that they set.
#include "cli/CommandLine.h"
#include "cli/commands/ConvertCommand.h"
#include "cli/commands/VerifyCommand.h"
#include "command/support/Command.h"

namespace hueweave::tool {
namespace {

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
    EXPECT_EQ(memory("33554432"), 33554432U);
    EXPECT_EQ(memory("32768K"), 33554432U);
    EXPECT_EQ(memory("32M"), 33554432U);
    EXPECT_EQ(memory("064M"), 67108864U);
    EXPECT_EQ(memory("1G"), 1073741824U);
    for (const char* size : {"64m", "64MiB", "64mib", "65536k", "65536KiB"}) EXPECT_EQ(memory(size), 67108864U) << size;
    EXPECT_EQ(memory("2g"), memory("2GiB"));
    EXPECT_EQ(memory("8589934592G"), 9223372036854775808U);
}

TEST(CommandLineTest, ChoicesBecomeValues) {
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
}

TEST(CommandLineTest, RangesHoldTheirEnds) {
    EXPECT_EQ(ConvertWith("--lightness=-100").rendering.lightness, -100);
    EXPECT_EQ(ConvertWith("--chroma=100").rendering.chroma, 100);
    EXPECT_EQ(ConvertWith("--hue=-360").rendering.hue, -360);
    EXPECT_EQ(ConvertWith("--hue=360").rendering.hue, 360);
}

TEST(CommandLineTest, HelpAndVersion) {
    const test::Outcome help = test::Hueweave({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, testing::HasSubstr("Examples:"));
    EXPECT_THAT(help.out, testing::HasSubstr("Exit status: 0 all done"));
    for (const char* command : {"convert", "inspect", "bake", "verify", "check", "spaces"}) {
        EXPECT_THAT(help.out, testing::HasSubstr(command));
        EXPECT_EQ(test::Hueweave({command, "--help"}).status, 0);
    }
    const test::Outcome version = test::Hueweave({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(test::Hueweave({"-V"}).out, version.out);
    EXPECT_THAT(version.out, testing::MatchesRegex("hueweave [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(CommandLineTest, EachCommandHasExamplesOfItsOwn) {
    for (const std::string command : {"convert", "watch", "inspect", "bake", "verify", "check", "spaces"}) {
        const std::string help = test::Hueweave({command, "--help"}).out;
        const std::string examples = help.substr(std::min(help.size(), help.find("Examples:\n")));
        for (const std::string other : {"convert", "watch", "inspect", "bake", "verify", "check", "spaces"}) {
            EXPECT_EQ(examples.find("hueweave " + other) != std::string::npos, other == command);
        }
        EXPECT_EQ(test::Hueweave({"help", command}).out, help);
    }
}

TEST(CommandLineTest, TheUsageIsAnErrorUnlessAskedFor) {
    const std::string help = test::Hueweave({"--help"}).out;
    for (const test::Words& words : {test::Words{"help"}, {"help", "help"}, {"-h"}}) {
        EXPECT_EQ(test::Hueweave(words).out, help);
    }
    const test::Outcome alone = test::Hueweave({});
    EXPECT_EQ(alone.status, 2);
    EXPECT_EQ(alone.err, help);
    EXPECT_EQ(alone.out, "");
}

}  // namespace
}  // namespace hueweave::tool
