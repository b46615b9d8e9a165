// SPDX-License-Identifier: MIT
// Binding a profile by its path: when the file is read, what is refused, and the state after a call.
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

TEST_F(SetProfile, ReadsTheFileForEachChangeOfTheJobAlone) {
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

TEST_F(SetProfile, OverlooksAChangedOrVanishedFileUntilAnArgumentChanges) {
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

TEST_F(SetProfile, TakesAStoredEncodingThatItWouldRefuseAsUnchanged) {
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

TEST_F(SetProfile, TakesANullPathForAFileThatCannotBeOpened) {
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

TEST_F(SetProfile, DestroysWhatWasThereWhenTheFileCannotBeOpened) {
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

TEST_F(SetProfile, BuildsItsOwnAdjustmentButStoresNoneAndClearsTheStoredOne) {
    pair_.SetProfile("smooth.icc", 0, 0, 10, 6.5, -2.25, 14.0);
    // So an adjustment of 0 is no change, nor is another adjustment in the same call.
    pair_.AdjustLch(0.0, 0.0, 0.0);
    pair_.SetProfile("smooth.icc", 0, 0, 10, 30.0, 30.0, 30.0);
    pair_.AdjustLch(9.0, -8.0, 7.0);
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    pair_.SetProfile("smooth.icc", 1, 0, 10);
    EXPECT_EQ(engine().Unit.Lightness, 0);
}

}  // namespace
}  // namespace hueweave::test
