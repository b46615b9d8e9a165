// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What a conversion is known by in the record of a folder, and that the source is not read for it a second time.
#include <gmock/gmock.h>

#include "batch/file/Fingerprint.h"
#include "colour/profile/Spaces.h"
#include "command/support/Batch.h"
#include "system/Json.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using tool::Bytes;

/// By sha256sum, of what is written behind the options.
std::string SumOf(const std::string& options, const std::string& path) {
    return Shell("{ echo " + Quoted(options) + "; cat " + Quoted(path) + "; } | sha256sum").substr(0, 64);
}

class FingerprintTest : public testing::Test {
protected:
    FingerprintTest() {
        options_.rendering.space = colour::FindSpace("srgb");
        WriteBytes(path_, Text('f', kSize));
    }
    static std::string Text(char first, std::size_t size) {
        std::string text(size, first);
        for (std::size_t i = 0; i < size; i += 7) text[i] = static_cast<char>(i / 7);
        return text;
    }
    static Bytes BytesOf(const std::string& text) { return {text.begin(), text.end()}; }
    /// Takes ranges of the file, each with bytes of `taken`, which differ from those in the file.
    std::string After(const std::vector<tool::Extent>& ranges) {
        tool::Report report(true, false);
        tool::ProfileCache cache(options_.rendering);
        tool::MadeFolders folders(false);
        tool::SweptFolders swept;
        const tool::InputList list;
        const tool::Session session{options_, list, report, cache, folders, swept, nullptr, {}};
        const tool::SourceFile source = tool::OpenSource({path_, "", "", ""});
        tool::Fingerprint fingerprint(session, source);
        for (const tool::Extent& range : ranges) {
            fingerprint.Take(range.offset, BytesOf(taken_.substr(range.offset, range.size)));
        }
        return fingerprint.Finish();
    }
    /// The sum of the file with the given ranges in place of its own.
    std::string Wanted(const std::vector<tool::Extent>& ranges) {
        std::string bytes = Text('f', kSize);
        for (const tool::Extent& range : ranges) {
            bytes.replace(range.offset, range.size, taken_, range.offset, range.size);
        }
        WriteBytes(folder_ / "wanted", bytes);
        return SumOf(HUEWEAVE_VERSION " srgb perceptual 0 0 0 0 false embedded", folder_ / "wanted");
    }

    static constexpr std::size_t kMega = std::size_t{1} << 20, kSize = 3 * kMega + 5;
    Folder folder_;
    std::string path_ = folder_ / "source", taken_ = Text('t', kSize);
    tool::ConvertOptions options_;
};

TEST_F(FingerprintTest, IsTheSumOfTheOptionsAndTheSource) { EXPECT_EQ(After({}), Wanted({})); }

TEST_F(FingerprintTest, DoesNotReadAgainWhatItTookInOrder) {
    EXPECT_EQ(After({{0, kSize}}), Wanted({{0, kSize}}));
    EXPECT_EQ(After({{0, 10}, {10, 1}, {11, 500}}), Wanted({{0, 511}}));
    // Behind the header, a directory, and a gap of the largest size.
    const std::vector<tool::Extent> apart{{8, 100}, {200, 100}, {300 + kMega, 7}};
    EXPECT_EQ(After(apart), Wanted(apart));
}

TEST_F(FingerprintTest, ReadsWhatCameOutOfOrder) {
    EXPECT_EQ(After({{8, 100}, {109 + kMega, 7}, {108, 2}}), Wanted({{8, 102}}));
    // Ranges that lie over each other count once, with the bytes that came first.
    EXPECT_EQ(After({{50, 50}, {0, 60}, {40, 60}, {90, 20}}), Wanted({{50, 60}}));
}

class RecordedFingerprintTest : public BatchTest {
protected:
    /// By output.
    std::map<std::string, std::string> Recorded() const {
        std::map<std::string, std::string> all;
        for (const std::string& line : Lines(FileBytes(out_ + "/.hueweave.jsonl"))) {
            if (line.empty()) continue;
            const auto entry = nlohmann::json::parse(line);
            all[entry.at("output").get<std::string>()] = entry.at("fingerprint").get<std::string>();
        }
        return all;
    }
};

TEST_F(RecordedFingerprintTest, IsTheSameInWhateverOrderASourceIsRead) {
    const std::string photo = Quoted(Input("photo-8.tif"));
    Shell("tiffcp -c none -p separate " + photo + " " + Quoted(scans_ + "/planes.tif"));
    Shell("tiffcp -c none -t -w 64 -l 32 " + photo + " " + photo + " " + Quoted(scans_ + "/tiles.tif"));
    Shell("tiffcp -c none -B " + Quoted(Input("photo-16.tif")) + " " + Quoted(scans_ + "/big-endian.tif"));
    std::filesystem::copy_file(Input("large-16.tif"), scans_ + "/large.tif");
    // One file on four threads, then files side by side.
    ASSERT_EQ(Convert({scans_ + "/large.tif", "-o", out_ + "/", "-j", "4"}).status, 0);
    const Outcome run = Convert({scans_, "-o", out_, "-j", "4", "--resume"});
    EXPECT_THAT(run.err, HasSubstr("6 converted, 1 done already"));
    const std::string profile = Shell("sha256sum " + Quoted(Input("scanner.icc"))).substr(0, 64);
    const auto recorded = Recorded();
    EXPECT_EQ(recorded.size(), 7U);
    for (const auto& [name, fingerprint] : recorded) {
        const std::string options = HUEWEAVE_VERSION " srgb perceptual 0 0 0 0 false " + profile;
        EXPECT_EQ(fingerprint, SumOf(options, scans_ + "/" + name)) << name;
    }
    // With an earlier run to compare with, the source is hashed before it is converted.
    std::filesystem::remove(scans_ + "/large.tif");
    for (const std::string& name : Outputs()) std::filesystem::remove(out_ + "/" + name);
    ASSERT_EQ(Convert({scans_, "-o", out_, "--resume"}).status, 0);
    EXPECT_EQ(Recorded(), recorded);
}

TEST_F(RecordedFingerprintTest, APlainSourceIsReadOnce) {
    const std::string photo = Quoted(Input("photo-16.tif")), pages = folder_ / "pages.tif";
    Shell("tiffcp -c none " + photo + " " + photo + " " + photo + " " + photo + " " + Quoted(pages));
    const auto readBytes = [](const std::string& words) {
        // A shell that waited for a command has read what the command has read.
        const std::string all = Shell("sh -c " + Quoted(words + "; cat /proc/$$/io"));
        return std::stoull(all.substr(all.find("rchar: ") + 7));
    };
    const std::string convert = HUEWEAVE_COMMAND " convert -q --resume --profile " + Quoted(Input("scanner.icc")) + " ";
    const auto size = std::filesystem::file_size(pages);
    const auto small = readBytes(convert + Quoted(Input("photo-16.tif")) + " -o " + Quoted(out_ + "/small/"));
    const auto large = readBytes(convert + Quoted(pages) + " -o " + Quoted(out_ + "/large/"));
    EXPECT_EQ(NamesIn(out_ + "/large"), (std::vector<std::string>{".hueweave.jsonl", "pages.tif"}));
    // Four pages less one, and a little for their directories; then all four, beside what any process reads.
    EXPECT_LT(large - small, size * 8 / 10);
    EXPECT_LT(large - readBytes(HUEWEAVE_COMMAND " spaces"), size * 5 / 4);
}

}  // namespace
}  // namespace hueweave::test
