// SPDX-License-Identifier: MIT
// Binding a profile by its path: when the file is read, what is refused, and the state after a call. A profile in
// memory is bound like a file of the same bytes: the same result, state, tags and tables.
#include <sys/inotify.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <tuple>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

/// Counts how often a file is opened.
class OpenCounter {
public:
    explicit OpenCounter(const std::string& path) : descriptor_(inotify_init1(IN_NONBLOCK)) {
        if (descriptor_ < 0 || inotify_add_watch(descriptor_, path.c_str(), IN_OPEN) < 0) {
            throw std::runtime_error("cannot watch " + path);
        }
    }
    OpenCounter(const OpenCounter&) = delete;
    OpenCounter& operator=(const OpenCounter&) = delete;
    ~OpenCounter() { close(descriptor_); }

    /// Opens since the last call. Equal events in succession are merged until they are fetched.
    int Take() {
        alignas(inotify_event) char buffer[4096];
        const ssize_t bytes = read(descriptor_, buffer, sizeof buffer);
        return bytes <= 0 ? 0 : static_cast<int>(bytes / static_cast<ssize_t>(sizeof(inotify_event)));
    }

private:
    int descriptor_;
};

class SetProfile : public EngineTest {
protected:
    const std::string smooth_ = pair_.Path("smooth.icc");
};

// Changes that cause the file to be read.

TEST_F(SetProfile, ReadsTheFileOnlyWhenAnArgumentChanges) {
    OpenCounter opens(smooth_);
    for (const auto& [intent, input, output] : {std::array{1, 0, 8}, {0, 1, 8}, {0, 0, 9}, {0, 0, 12}}) {
        SCOPED_TRACE(testing::Message() << intent << " " << input << " " << output);
        pair_.SetProfile("smooth.icc", 0, 0, 8);
        EXPECT_EQ(opens.Take(), 1);
        for (const int opened : {1, 0}) {
            pair_.SetProfile("smooth.icc", intent, input, output);
            EXPECT_EQ(opens.Take(), opened);
        }
    }
}

TEST_F(SetProfile, IgnoresAChangedOrRemovedFileUntilAnArgumentChanges) {
    const std::string path = Put("one.icc", Marked(0x1111));
    ASSERT_EQ(Bind(path.c_str(), 0, 0, 8), 0);
    Put("one.icc", Marked(0x3333));
    EXPECT_EQ(Bind(path.c_str(), 0, 0, 8), 0);
    EXPECT_TRUE(SeesMark(0x1111));
    EXPECT_EQ(Bind(path.c_str(), 0, 0, 20), 0);
    EXPECT_TRUE(SeesMark(0x3333));
    std::filesystem::remove(path);
    EXPECT_EQ(Bind(path.c_str(), 0, 0, 20), 0);
    EXPECT_EQ(Status(), "20/20");
    EXPECT_EQ(Bind(path.c_str(), 0, 0, 8), 65531);
    EXPECT_EQ(Status(), "65535/65535");
}

TEST_F(SetProfile, ReadsTheFileEachTimeForARefusedSpace) {
    OpenCounter opens(smooth_);
    for (const int space : {14, 14, 65535, 65535}) {
        EXPECT_EQ(pair_.SetProfile("smooth.icc", 0, 0, space), 0);
        EXPECT_EQ(opens.Take(), 1) << space;
    }
}

TEST_F(SetProfile, ComparesWithTheJobOfSetIntentAndChangesNothingForTheSame) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    OpenCounter opens(smooth_);
    for (const bool reset : {false, true}) {
        if (reset) pair_.Reset();  // the state of the profile is then unset, and stays so
        pair_.SetIntent(1, 1, 13);
        pair_.AdjustLch(4.0, 0.0, 0.0);
        pair_.SetProfile("smooth.icc", 1, 1, 13);
        EXPECT_EQ(opens.Take(), 0);
    }
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    EXPECT_EQ(opens.Take(), 1);
}

TEST_F(SetProfile, AcceptsAnUnchangedEncodingThatItWouldReject) {
    pair_.SetProfile("smooth.icc", 0, 0, 8);
    pair_.SetIntent(0, 5, 8);
    // The test for a change precedes the test of the encoding.
    EXPECT_EQ(pair_.SetProfile("smooth.icc", 0, 5, 8), 0);
    // With any difference the encoding is tested.
    EXPECT_EQ(pair_.SetProfile("smooth.icc", 1, 5, 8), 65530);
}

// Names.

TEST_F(SetProfile, DropsTheSecondName) {
    EXPECT_EQ(engine().SetProfile(smooth_.c_str(), "anything", IntentOf(0), Space(0), Space(8), 1.0, 2.0, 3.0), 0);
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    reference().SetProfile(smooth_, 0, 0, 8, 1.0, 2.0, 3.0);
    pair_.ExpectSame();
    OpenCounter opens(smooth_);
    for (const char* second : {static_cast<const char*>(nullptr), "other"}) {
        EXPECT_EQ(engine().SetProfile(smooth_.c_str(), second, IntentOf(0), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
        EXPECT_EQ(opens.Take(), 0) << "it counts for nothing in the test for a change";
    }
    // A stored second name is dropped, which is a change.
    ASSERT_EQ(engine().Unit.CheckCurrentProfile(smooth_.c_str(), "second"), 1);
    for (const int opened : {1, 0}) {
        EXPECT_EQ(Bind(smooth_.c_str(), 0, 0, 8), 0);
        EXPECT_EQ(engine().Unit.SecondName, nullptr);
        EXPECT_EQ(opens.Take(), opened);
    }
}

TEST_F(SetProfile, RemembersThePathEvenWhenTheRestFails) {
    // An absent file, and a refused encoding.
    for (const auto& [name, input, result] : {std::tuple{"absent.icc", 0, 65531}, {"smooth.icc", 2, 65530}}) {
        ASSERT_EQ(pair_.SetProfile(name, 1, input, 8), result);
        EXPECT_STREQ(engine().Unit.ProfileName.get(), pair_.Path(name).c_str());
        // Once another call has stored the output space, nothing differs, and the call that failed succeeds.
        pair_.SetIntent(1, input, 8);
        EXPECT_EQ(pair_.SetProfile(name, 1, input, 8), 0);
    }
}

TEST_F(SetProfile, TreatsANullPathAsAFileThatCannotBeOpened) {
    for (int call = 0; call < 2; ++call) EXPECT_EQ(Bind(nullptr, 0, 0, 8), 65531);
    ASSERT_EQ(Bind(smooth_.c_str(), 0, 0, 8), 0);
    EXPECT_EQ(Bind(nullptr, 0, 0, 8), 65531);
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(engine().Unit.ProfileName, nullptr);
    // Without a name, and with the job stored by another call, nothing differs, and no file is opened.
    ASSERT_EQ(engine().SetIntent(IntentOf(1), Space(0), Space(8), 0.0, 0.0, 0.0), 65535);
    EXPECT_EQ(Bind(nullptr, 1, 0, 8), 0);
    EXPECT_EQ(engine().SetProfile(nullptr, nullptr, IntentOf(1), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(Bind(nullptr, 1, 0, 10), 65531);
    EXPECT_EQ(Status(), "65535/65535");
}

// Calls that fail, and the binding afterwards.

TEST_F(SetProfile, RefusesAnInputEncodingWithoutOpeningTheFile) {
    OpenCounter opens(smooth_);
    for (const int input : {2, 3, 5, 8, 65535, -1, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(input);
        pair_.SetProfile("smooth.icc", 1, 0, 8);
        EXPECT_EQ(opens.Take(), 1);
        pair_.AdjustLch(5.0, 6.0, 7.0);
        EXPECT_EQ(pair_.SetProfile("smooth.icc", 2, input, 9), 65530);
        EXPECT_EQ(opens.Take(), 0);
        EXPECT_TRUE(engine().File.tagList.empty()) << "the profile before is gone";
    }
}

TEST_F(SetProfile, ClearsThePreviousStateIfTheFileCannotBeOpened) {
    for (const int input : {0, 1}) {
        pair_.SetProfile("smooth.icc", 1, input, 9);
        for (int call = 0; call < 2; ++call) {
            EXPECT_EQ(pair_.SetProfile("absent.icc", 3, 0, 20), 65531) << "tried again";
            EXPECT_TRUE(engine().File.tagList.empty());
        }
    }
}

TEST_F(SetProfile, BindsAProfileWithoutATable) {
    OpenCounter opens(pair_.Path("none.icc"));
    for (const int opened : {1, 0}) {
        EXPECT_EQ(pair_.SetProfile("none.icc", 0, 1, 9), 0);
        EXPECT_EQ(engine().Unit.BuildResult, 65535);
        EXPECT_EQ(opens.Take(), opened) << "the requested output space counts as bound";
        pair_.Convert();
    }
    EXPECT_EQ(pair_.SetProfile("empty.icc", 0, 0, 8), 0);
    EXPECT_TRUE(engine().File.tagList.empty()) << "the profile before is gone";
}

TEST_F(SetProfile, AppliesItsAdjustmentAndClearsTheStoredOne) {
    pair_.SetProfile("smooth.icc", 0, 0, 10, 6.5, -2.25, 14.0);
    // So an adjustment of 0 is no change, nor is another adjustment in the same call.
    pair_.AdjustLch(0.0, 0.0, 0.0);
    pair_.SetProfile("smooth.icc", 0, 0, 10, 30.0, 30.0, 30.0);
    pair_.AdjustLch(9.0, -8.0, 7.0);
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    pair_.SetProfile("smooth.icc", 1, 0, 10);
    EXPECT_EQ(engine().Unit.Lightness, 0);
}

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

class SetProfileFromMemory : public EngineTest {
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
        EXPECT_THAT(found.cells, EqualTo(expected.cells));
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_THAT(found.in[c], EqualTo(expected.in[c])) << "channel " << c;
            EXPECT_THAT(found.out[c], EqualTo(expected.out[c])) << "channel " << c;
        }
        return memory->Ready();
    }
    const Bytes smooth_ = MiniProfile(
        {{"A2B0", Mft2(SmoothLut(5))}, {"A2B1", MftAB(SmoothLut(9))}, {"A2B2", Mft1()}, {"wtpt", WhiteBlock()}});
};

TEST_F(SetProfileFromMemory, BuildsTheTablesOfTheFileForEveryJob) {
    for (const MemoryJob& job : {MemoryJob{0, 0, 8}, {1, 1, 9}, {3, 0, 20}, {3, 1, 39}, {0, 1, 13, 6.5, -2.25, 14.0}}) {
        EXPECT_TRUE(ExpectTheSame(smooth_, job)) << job.output;
    }
    for (const MemoryJob& job : {MemoryJob{2, 0, 8}, {0, 2, 8}, {0, -1, 9}, {0, 0, 14}, {1, 1, 65535}}) {
        EXPECT_FALSE(ExpectTheSame(smooth_, job)) << job.output;
    }
}

TEST_F(SetProfileFromMemory, LeavesTheStateOfTheFileForDamagedProfiles) {
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

TEST_F(SetProfileFromMemory, ReadsTheProfileOnEveryCallAndStoresNoPath) {
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
