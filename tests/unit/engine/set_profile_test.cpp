// SPDX-License-Identifier: MIT
// Binding a profile by its path: when the file is read, what is refused, and the state after a call.
#include <sys/inotify.h>
#include <unistd.h>

#include <climits>
#include <filesystem>

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

class SetProfile : public EngineTest {};

TEST_F(SetProfile, HoldsWhatItWasGiven) {
    const std::string path = PutSmooth();
    EXPECT_EQ(Bind(path, 2, 1, 23), 0);
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    EXPECT_EQ(engine().Unit.InputSpace, 1);
    EXPECT_EQ(engine().Unit.Intent, 2);
    EXPECT_STREQ(engine().Unit.ProfileName.get(), path.c_str());
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    EXPECT_EQ(engine().InEntries, 65536);
    EXPECT_EQ(engine().File.tagList.size(), 2U);
    engine().Reset();
    // The same path, but the output space is unset.
    EXPECT_EQ(Bind(path, 2, 1, 23), 0);
    EXPECT_EQ(Status(), "23/23");
    EXPECT_EQ(engine().InEntries, 65536);
}

TEST_F(SetProfile, NamesTheOutputSpaceAsTheResultAlsoForAliases) {
    for (const auto& [space, status] : {std::pair{23, "23/23"}, {12, "12/12"}, {13, "13/13"}}) {
        ASSERT_EQ(Bind(PutSmooth(), 0, space % 2, space), 0);
        EXPECT_EQ(Status(), status);
    }
}

// Changes that cause the file to be read.

TEST_F(SetProfile, ReadsTheFileForEachChangeOfTheJobAlone) {
    const std::string path = PutSmooth();
    OpenCounter opens(path);
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(opens.Take(), 1);
    for (const auto& [intent, input, output] : {std::array{1, 0, 8}, {0, 1, 8}, {0, 0, 9}, {0, 0, 12}}) {
        SCOPED_TRACE(testing::Message() << intent << " " << input << " " << output);
        ASSERT_EQ(Bind(path, intent, input, output), 0);
        EXPECT_EQ(opens.Take(), 1);
        ASSERT_EQ(Bind(path, intent, input, output), 0);
        EXPECT_EQ(opens.Take(), 0);
        ASSERT_EQ(Bind(path, 0, 0, 8), 0);
        EXPECT_EQ(opens.Take(), 1);
    }
}

TEST_F(SetProfile, OverlooksAChangedOrVanishedFileUntilAnArgumentChanges) {
    const std::string path = PutMarked("one.icc", 0x1111);
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    const Stages before = StagesOf(engine());
    PutMarked("one.icc", 0x3333);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    ExpectStages(StagesOf(engine()), before);
    EXPECT_EQ(Bind(path, 0, 0, 20), 0);
    EXPECT_TRUE(SeesMark(0x3333));
    std::filesystem::remove(path);
    EXPECT_EQ(Bind(path, 0, 0, 20), 0);
    EXPECT_EQ(Status(), "20/20");
    EXPECT_EQ(Bind(path, 0, 0, 8), 65531);
    EXPECT_EQ(Status(), "65535/65535");
}

TEST_F(SetProfile, ReadsTheFileEachTimeForARefusedSpace) {
    const std::string path = PutSmooth();
    OpenCounter opens(path);
    for (const int space : {14, 65535}) {
        for (int call = 0; call < 2; ++call) {
            ASSERT_EQ(Bind(path, 0, 0, space), 0);
            EXPECT_EQ(Status(), "65535/65535");
            EXPECT_EQ(opens.Take(), 1) << space;
        }
    }
}

TEST_F(SetProfile, ComparesWithTheJobOfSetIntentAndChangesNothingForTheSame) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 10), 0);
    ASSERT_EQ(Rebind(1, 1, 13), 13);
    ASSERT_EQ(engine().Adjust_Lch(4.0, 0.0, 0.0), 13);
    OpenCounter opens(path);
    engine().Unit.ProfileState = 4711;
    EXPECT_EQ(Bind(path, 1, 1, 13), 0);
    EXPECT_EQ(opens.Take(), 0);
    EXPECT_EQ(Lch()[0], 4);
    EXPECT_EQ(Status(), "13/9");
    EXPECT_EQ(engine().Unit.ProfileState, 4711) << "nothing is stored at all";
    EXPECT_EQ(Bind(path, 0, 0, 10), 0);
    EXPECT_EQ(opens.Take(), 1);
    EXPECT_EQ(Lch()[0], 0);
}

TEST_F(SetProfile, TakesAStoredEncodingThatItWouldRefuseAsUnchanged) {
    const std::string path = PutMarked("a.icc", 0x1111);
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    ASSERT_EQ(Rebind(0, 5, 8), 8);
    PutMarked("a.icc", 0x2222);
    // The test for a change precedes the test of the encoding.
    EXPECT_EQ(Bind(path, 0, 5, 8), 0);
    EXPECT_EQ(Status(), "8/8");
    EXPECT_TRUE(SeesMark(0x1111));
    // With any difference the encoding is tested.
    EXPECT_EQ(Bind(path, 1, 5, 8), 65530);
    EXPECT_EQ(Status(), "65535/65535");
}

// Names.

TEST_F(SetProfile, DropsTheSecondName) {
    const std::string path = PutSmooth();
    EXPECT_EQ(engine().SetProfile(path.c_str(), "anything", IntentOf(0), Space(0), Space(8), 1.0, 2.0, 3.0), 0);
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    ExpectGrid(ExpectedGrid(kA2B0, 8, {1.0, 2.0, 3.0}));
    OpenCounter opens(path);
    for (const char* second : {static_cast<const char*>(nullptr), "other"}) {
        EXPECT_EQ(engine().SetProfile(path.c_str(), second, IntentOf(0), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
        EXPECT_EQ(opens.Take(), 0) << "it counts for nothing in the test for a change";
    }
    // A stored second name is dropped, which is a change.
    ASSERT_EQ(engine().Unit.CheckCurrentProfile(path.c_str(), "second"), 1);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    EXPECT_EQ(opens.Take(), 1);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(opens.Take(), 0);
}

TEST_F(SetProfile, RemembersThePathEvenWhenTheRestFails) {
    // An absent file, and a refused encoding.
    const struct {
        std::string path;
        int input, result;
    } rows[] = {{dir_.File("absent.icc"), 0, 65531}, {PutSmooth(), 2, 65530}};
    for (const auto& row : rows) {
        ASSERT_EQ(Bind(row.path, 1, row.input, 8), row.result);
        EXPECT_STREQ(engine().Unit.ProfileName.get(), row.path.c_str());
        // Once another call has stored the output space, nothing differs, and the call that failed succeeds.
        EXPECT_EQ(Rebind(1, row.input, 8), 65535);
        EXPECT_EQ(Bind(row.path, 1, row.input, 8), 0);
        EXPECT_EQ(Status(), "8/65535");
        EXPECT_EQ(engine().Lut1DInR, nullptr);
    }
}

TEST_F(SetProfile, TakesANullPathForAFileThatCannotBeOpened) {
    for (int call = 0; call < 2; ++call) EXPECT_EQ(BindNull(0, 0, 8), 65531);
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    EXPECT_EQ(BindNull(0, 0, 8), 65531);
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(engine().Unit.ProfileName, nullptr);
    // Without a name, and with the job stored by another call, nothing differs, and no file is opened.
    ASSERT_EQ(Rebind(1, 0, 8), 65535);
    EXPECT_EQ(BindNull(1, 0, 8), 0);
    EXPECT_EQ(engine().SetProfile(nullptr, nullptr, IntentOf(1), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(BindNull(1, 0, 10), 65531);
    EXPECT_EQ(Status(), "65535/65535");
}

// Calls that fail, and the binding afterwards.

TEST_F(SetProfile, RefusesAnInputEncodingWithoutOpeningTheFile) {
    const std::string path = PutSmooth();
    OpenCounter opens(path);
    for (const int input : {2, 3, 5, 8, 65535, -1, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(input);
        ASSERT_EQ(Bind(path, 1, 0, 8), 0);
        EXPECT_EQ(opens.Take(), 1);
        engine().Adjust_Lch(5.0, 6.0, 7.0);
        Fill(8);

        EXPECT_EQ(Bind(path, 2, input, 9), 65530);

        EXPECT_EQ(opens.Take(), 0);
        EXPECT_EQ(Status(), "65535/65535");
        EXPECT_EQ(engine().Unit.InputSpace, input);
        EXPECT_EQ(engine().Unit.Intent, 2);
        EXPECT_EQ(engine().Unit.ProfileState, 0);
        EXPECT_EQ(Lch(), (std::array{0, 0, 0}));
        EXPECT_EQ(InputOf(engine()), Tables());
        ExpectFilled(8);
        EXPECT_TRUE(engine().File.tagList.empty()) << "the profile before is gone";
    }
}

TEST_F(SetProfile, DestroysWhatWasThereWhenTheFileCannotBeOpened) {
    const std::string late = dir_.File("late.icc");
    for (const int input : {0, 1}) {
        ASSERT_EQ(Bind(PutSmooth(), 1, input, 9), 0);
        Fill(9);
        for (int call = 0; call < 2; ++call) EXPECT_EQ(Bind(late, 3, 0, 20), 65531);
        EXPECT_EQ(Status(), "65535/65535");
        EXPECT_EQ(engine().Unit.InputSpace, 0);
        EXPECT_EQ(engine().Unit.Intent, 3);
        EXPECT_EQ(engine().Unit.ProfileState, 0);
        EXPECT_EQ(InputOf(engine()), Tables());
        ExpectFilled(9);
        EXPECT_TRUE(engine().File.tagList.empty());
    }
    PutSmooth("late.icc");
    EXPECT_EQ(Bind(late, 3, 0, 20), 0) << "tried again";
    EXPECT_EQ(Status(), "20/20");
}

TEST_F(SetProfile, BindsAProfileWithoutATable) {
    const std::string path = Put("other.icc", {{"wtpt", WhiteBlock()}, {"B2A0", kA2B0}});
    Fill(3);
    EXPECT_EQ(Bind(path, 0, 1, 9), 0);
    EXPECT_EQ(Status(), "9/65535");
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    EXPECT_EQ(engine().Lut1DInR, nullptr);
    ExpectFilled(3);
    OpenCounter opens(path);
    EXPECT_EQ(Bind(path, 0, 1, 9), 0);
    EXPECT_EQ(opens.Take(), 0) << "the requested output space counts as bound";

    WriteFile(dir_.File("empty.icc"), {});
    EXPECT_EQ(Bind(dir_.File("empty.icc"), 0, 0, 8), 0);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(engine().File.GetTag(TagName("wtpt")), nullptr) << "the profile before is gone";
}

TEST_F(SetProfile, ClearsTheStoredAdjustmentWhenItRebuilds) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 10), 0);
    ASSERT_EQ(engine().Adjust_Lch(9.0, -8.0, 7.0), 10);
    const Grid adjusted = GridOf(engine());
    EXPECT_EQ(Bind(path, 0, 0, 10), 0);
    ExpectGrid(adjusted);
    EXPECT_EQ(Lch(), (std::array{9, -8, 7}));
    EXPECT_EQ(Bind(path, 1, 0, 10), 0);
    EXPECT_EQ(Lch(), (std::array{0, 0, 0}));
    ExpectGrid(ExpectedGrid(kA2B1, 10));
}

TEST_F(SetProfile, BuildsItsOwnAdjustmentButStoresNone) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 10, 6.5, -2.25, 14.0), 0);
    const Grid adjusted = ExpectedGrid(kA2B0, 10, {6.5, -2.25, 14.0});
    ExpectGrid(adjusted);
    EXPECT_EQ(Lch(), (std::array{0, 0, 0}));
    // So an adjustment of 0 is no change, nor is another adjustment in the same call.
    EXPECT_EQ(engine().Adjust_Lch(0.0, 0.0, 0.0), 10);
    EXPECT_EQ(Bind(path, 0, 0, 10, 30.0, 30.0, 30.0), 0);
    ExpectGrid(adjusted);
}

}  // namespace
}  // namespace hueweave::test
