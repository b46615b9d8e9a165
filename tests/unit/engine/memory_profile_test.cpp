// SPDX-License-Identifier: MIT
// A profile in memory is bound like a file of the same bytes: the same result, state, tags and tables.
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

struct MemoryJob {
    int intent, input, output;
    double lightness = 0, chroma = 0, hue = 0;
};

template <typename Profile>
int BindTo(CIccEngineS& engine, const Profile& profile, const MemoryJob& job) {
    return engine.SetProfile(profile, IntentOf(job.intent), Space(job.input), Space(job.output), job.lightness,
                             job.chroma, job.hue);
}

/// All numbers of a job.
std::array<int, 12> NumbersOf(const ICC40::ICC_UNIT::Info& unit) {
    return {unit.ProfileState, unit.Spare,     unit.InputSpace, unit.OutputSpace, unit.BuildResult, unit.Intent,
            unit.PixelCount,   unit.WorkCount, unit.Lightness,  unit.Chroma,      unit.Hue,         unit.FormatCode};
}

std::vector<std::pair<std::uint32_t, Bytes>> TagsOf(const CIccEngineS& engine) {
    std::vector<std::pair<std::uint32_t, Bytes>> tags;
    for (const auto& tag : engine.File.tagList) {
        tags.emplace_back(tag->tagSig, Bytes(tag->tagData.get(), tag->tagData.get() + tag->tagSize));
    }
    return tags;
}

class MemoryProfile : public EngineTest {
protected:
    /// Binds both forms of a profile, whose results must not differ except in the names, and returns whether they are
    /// ready.
    bool ExpectTheSame(const Bytes& profile, const MemoryJob& job) {
        const std::string path = Put("same.icc", profile);
        const auto file = std::make_unique<CIccEngineS>(), memory = std::make_unique<CIccEngineS>();
        for (CIccEngineS* engine : {file.get(), memory.get()}) FillTables(*engine, 7);
        EXPECT_EQ(BindTo(*memory, profile, job), BindTo(*file, path.c_str(), job));
        EXPECT_EQ(memory->Ready(), file->Ready());
        EXPECT_EQ(NumbersOf(memory->Unit), NumbersOf(file->Unit));
        EXPECT_EQ(std::memcmp(&memory->File.header, &file->File.header, sizeof file->File.header), 0);
        EXPECT_EQ(TagsOf(*memory), TagsOf(*file));
        const ReferenceEngine found = ReferenceOf(*memory), expected = ReferenceOf(*file);
        EXPECT_TRUE(found.in == expected.in && found.cells == expected.cells && found.out == expected.out);
        return memory->Ready();
    }
    const Bytes smooth_ = MiniProfile(
        {{"A2B0", Mft2(SmoothLut(5))}, {"A2B1", MftAB(SmoothLut(9))}, {"A2B2", Mft1()}, {"wtpt", WhiteBlock()}});
};

TEST_F(MemoryProfile, GivesTheTablesOfTheFileForEveryJob) {
    for (const MemoryJob& job : {MemoryJob{0, 0, 8}, {1, 1, 9}, {3, 0, 20}, {3, 1, 39}, {0, 1, 13, 6.5, -2.25, 14.0}}) {
        EXPECT_TRUE(ExpectTheSame(smooth_, job)) << job.output;
    }
    for (const MemoryJob& job : {MemoryJob{2, 0, 8}, {0, 2, 8}, {0, -1, 9}, {0, 0, 14}, {1, 1, 65535}}) {
        EXPECT_FALSE(ExpectTheSame(smooth_, job)) << job.output;
    }
}

TEST_F(MemoryProfile, GivesTheStateOfTheFileForBrokenProfiles) {
    Bytes flipped = smooth_;
    for (std::size_t at = 128; at < 132 + 4 * 12; at += 3) {
        flipped[at] = static_cast<unsigned char>(~flipped[at]);
        ExpectTheSame(flipped, {0, 0, 8});
        flipped[at] = smooth_[at];
    }
    int whole = 0;
    for (std::size_t size = 0; size <= smooth_.size(); size += size < 150 ? 37 : 997) {
        whole += ExpectTheSame(Bytes(smooth_.begin(), smooth_.begin() + static_cast<std::ptrdiff_t>(size)), {0, 1, 9});
    }
    EXPECT_GT(whole, 0);
    EXPECT_FALSE(ExpectTheSame(MiniProfile({{"B2A0", Mft2(SmoothLut())}}), {0, 1, 9})) << "no table";
    ExpectTheSame(Bytes(5 << 20, 'A'), {0, 1, 9});
    // More entries, all of one block, than the budget of a file of that size allows.
    ByteWriter many;
    many.Fill(128).Big32(2000);
    for (int i = 0; i < 2000; ++i) many.Text("abcd").Big32(0).Big32(24000);
    ExpectTheSame(many.Done(), {0, 0, 8});
}

TEST_F(MemoryProfile, IsReadByEveryCallHasNoNameAndIsNeverTakenForTheProfileOfAPath) {
    const std::string path = Put("file.icc", Marked(0x1111));
    const Bytes other = Marked(0x3333);
    ASSERT_EQ(Bind(path.c_str(), 0, 1, 8), 0);
    for (const unsigned mark : {0x2222U, 0x3333U}) {
        ASSERT_EQ(BindTo(engine(), Marked(mark), {0, 1, 8}), 0);
        EXPECT_TRUE(SeesMark(mark));
        EXPECT_EQ(engine().Unit.ProfileName, nullptr);
        EXPECT_EQ(engine().Unit.SecondName, nullptr);
    }
    ASSERT_EQ(Bind(path.c_str(), 0, 1, 8), 0);
    EXPECT_TRUE(SeesMark(0x1111));
    ASSERT_EQ(BindTo(engine(), other, {0, 1, 8}), 0);
    EXPECT_TRUE(SeesMark(0x3333));
    // Bound again, the path is unchanged, and its file is not read.
    ASSERT_EQ(Bind(path.c_str(), 0, 1, 8), 0);
    WriteFile(path, other);
    ASSERT_EQ(Bind(path.c_str(), 0, 1, 8), 0);
    EXPECT_TRUE(SeesMark(0x1111));
    // A null path still means no profile.
    ASSERT_EQ(BindTo(engine(), other, {0, 1, 8}), 0);
    EXPECT_EQ(Bind(nullptr, 0, 1, 8), 65531);
    EXPECT_EQ(Status(), "65535/65535");
}

}  // namespace
}  // namespace hueweave::test
