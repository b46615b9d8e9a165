// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Broken profiles, each with what the engine makes of it.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <functional>

#include "hostile/Hostile.h"
#include "iccfile/IccFile4.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

struct BadProfile {
    const char* name;
    Bytes bytes;
    std::int32_t space;  ///< what SetProfile for sRGB answers
    Effect effect;
};
void PrintTo(const BadProfile& bad, std::ostream* out) { *out << bad.name; }

Bytes Changed(Bytes bytes, const std::function<void(Bytes&)>& change) {
    change(bytes);
    return bytes;
}

void Big32At(Bytes& bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) bytes.at(at + i) = static_cast<unsigned char>(value >> (24 - 8 * i));
}

/// A sound profile of one table (entry at 132, block at 144) with one word changed.
Bytes WithWord(std::size_t at, std::uint32_t value) {
    return Changed(MiniProfile({{"A2B0", Mft2(ShortLut())}}), [&](Bytes& b) { Big32At(b, at, value); });
}
Bytes WithByte(std::size_t at, unsigned value) {
    return Changed(MiniProfile({{"A2B0", Mft2(ShortLut())}}),
                   [&](Bytes& b) { b.at(at) = static_cast<unsigned char>(value); });
}
std::uint32_t BlockSize() { return static_cast<std::uint32_t>(Mft2(ShortLut()).size()); }

Bytes Cut(Bytes bytes, std::size_t less) {
    bytes.resize(bytes.size() - less);
    return bytes;
}

std::vector<BadProfile> Containers() {
    const Bytes sound = MiniProfile({{"A2B0", Mft2(ShortLut())}});
    constexpr Effect untouched = Effect::Untouched, changed = Effect::Changed;
    return {
        {"Sound", sound, 8, changed},
        {"NoBytes", {}, 8, untouched},
        {"OneByte", Bytes(1, 0), 8, untouched},
        {"HalfAHeader", Bytes(64, 0xff), 8, untouched},
        {"HeaderOnly", Bytes(128, 0xff), 8, untouched},
        {"ThreeBytesOfACount", Bytes(131, 0xff), 8, untouched},
        {"GreatestCountAndNoEntry", Bytes(132, 0xff), 8, untouched},
        {"GreatestCountAndElevenBytes", Bytes(143, 0xff), 8, untouched},
        {"GreatestCountAndOneEntry", Bytes(144, 0xff), 8, untouched},
        {"CountWrapsIn32Bits", WithWord(128, 0x15555556), 8, changed},
        {"GreatestCountWithOneSoundEntry", WithWord(128, 0xffffffff), 8, changed},
        {"CountOfZero", WithWord(128, 0), 8, untouched},
        {"OtherName", WithWord(132, 0x41324221), 8, untouched},
        {"OffsetBehindTheFile", WithWord(136, 0x7fffffff), 8, untouched},
        {"OffsetIsNegative", WithWord(136, 0x80000000), 8, untouched},
        {"GreatestOffset", WithWord(136, 0xffffffff), 8, untouched},
        {"OffsetPlusSizeWraps", WithWord(136, 0xffffffff - BlockSize() + 1), 8, untouched},
        {"OffsetOneTooFar", WithWord(136, 145), 8, untouched},
        {"SizeRoundsToZero", WithWord(140, 0xfffffffd), 8, untouched},
        {"SizeIsNegative", WithWord(140, 0x80000000), 8, untouched},
        {"GreatestSize", WithWord(140, 0xffffffff), 8, untouched},
        {"SizeOneTooLarge", WithWord(140, BlockSize() + 1), 8, untouched},
        {"SizeOfNothing", WithWord(140, 0), kNone, Effect::Refused},
        {"SizeOfAWord", WithWord(140, 4), kNone, Effect::Refused},
        {"BlockIsTheHeader", WithWord(136, 0), kNone, Effect::Refused},
        {"LastByteMissing", Cut(sound, 1), 8, untouched},
        {"TrailingRubbish", Changed(sound, [](Bytes& b) { b.insert(b.end(), 999, 0xee); }), 8, changed},
    };
}

/// Bounds of the fields of a table are told by the suite ShapeTest.
std::vector<BadProfile> Tables() {
    constexpr Effect refused = Effect::Refused, changed = Effect::Changed;
    constexpr std::size_t block = 144;
    return {
        {"TypeOfBytes", WithWord(block, 0x6d667431), kNone, refused},
        {"TypeOfNothing", WithWord(block, 0), kNone, refused},
        {"TypeOfCurvedTableOnAPlainOne", WithWord(block, 0x6d414220), kNone, refused},
        {"TypeOfReverseTable", WithWord(block, 0x6d424120), kNone, refused},
        {"ThreePointsInTheRoomOfTwo", WithByte(block + 10, 3), kNone, refused},
        {"GreatestPoints", WithByte(block + 10, 255), kNone, refused},
        {"OneInputEntryMore", WithByte(block + 49, 4), kNone, refused},
        {"OneOutputEntryMore", WithByte(block + 51, 6), kNone, refused},
        {"AnyPadding", WithByte(block + 11, 255), 8, changed},
        {"AnyReservedWord", WithWord(block + 4, 0xffffffff), 8, changed},
    };
}

class BadProfileTest : public HostileTest, public testing::WithParamInterface<BadProfile> {};

TEST_P(BadProfileTest, LeavesTheEngineInADefinedState) {
    const BadProfile& bad = GetParam();
    const std::string path = Put("bad.icc", bad.bytes);
    EXPECT_EQ(Bind(path), bad.space);
    EXPECT_EQ(EffectOfConversion(), bad.effect);
    // A sound one afterwards works as on a fresh engine.
    EXPECT_EQ(Bind(Good()), 8);
    EXPECT_EQ(EffectOfConversion(), Effect::Changed);
}

std::string NameOfProfile(const testing::TestParamInfo<BadProfile>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Containers, BadProfileTest, testing::ValuesIn(Containers()), NameOfProfile);
INSTANTIATE_TEST_SUITE_P(Tables, BadProfileTest, testing::ValuesIn(Tables()), NameOfProfile);

/// A curved table whose parts are all sound, 3 to 3 channels.
CurvedLutSpec SoundCurved() {
    LutShape shape;
    shape.points = 3;
    shape.inputEntries = 5;
    shape.outputEntries = 5;
    return Curved(MakeLut(shape, 3), CurveLayout::Stepped);
}

struct BadCurved {
    const char* name;
    std::function<void(CurvedLutSpec&)> change;
    std::int32_t space;
    Effect effect;
};
void PrintTo(const BadCurved& bad, std::ostream* out) { *out << bad.name; }

/// Tables that lack a part, or have curves of unequal lengths, are told by the suite pipeline.
std::vector<BadCurved> CurvedRows() {
    constexpr Effect refused = Effect::Refused, changed = Effect::Changed;
    using Spec = CurvedLutSpec;
    return {
        {"Sound", [](Spec&) {}, 8, changed},
        {"GreatestPrecision", [](Spec& s) { s.precision = 255; }, kNone, refused},
        {"NoChannels", [](Spec& s) { s.inputs = s.outputs = 0; }, kNone, refused},
        {"FourOutputsHaveNoRoomForCurves", [](Spec& s) { s.outputs = 4; }, kNone, refused},
        {"EightInputsHaveNoRoomForCurves", [](Spec& s) { s.inputs = 8; }, kNone, refused},
        {"GreatestChannels", [](Spec& s) { s.inputs = s.outputs = 255; }, kNone, refused},
        {"NoPoints", [](Spec& s) { s.gridPoints.fill(0); }, kNone, refused},
        {"OnePoint", [](Spec& s) { s.gridPoints.fill(1); }, kNone, refused},
        {"GreatestPoints", [](Spec& s) { s.gridPoints.fill(255); }, kNone, refused},
        {"FirstAxisLongerThanItsGrid", [](Spec& s) { s.gridPoints[0] = 5; }, kNone, refused},
        {"GridCutShort",
         [](Spec& s) {
             s.grid.resize(40);
             s.aFirst = true;
             s.bCurves.resize(0);
         },
         kNone, refused},
    };
}

class BadCurvedTableTest : public HostileTest, public testing::WithParamInterface<BadCurved> {};

TEST_P(BadCurvedTableTest, LeavesTheEngineInADefinedState) {
    CurvedLutSpec contents = SoundCurved();
    GetParam().change(contents);
    const std::string path = Put("bad.icc", MiniProfile({{"A2B0", EncodeCurved(contents)}}));
    EXPECT_EQ(Bind(path), GetParam().space);
    EXPECT_EQ(EffectOfConversion(), GetParam().effect);
}

INSTANTIATE_TEST_SUITE_P(Rows, BadCurvedTableTest, testing::ValuesIn(CurvedRows()),
                         [](const auto& row) { return std::string(row.param.name); });

using BadEndTest = HostileTest;

TEST_F(BadEndTest, BlocksThatReachPastItAreFilledUpWithZerosEach) {
    ByteWriter out;
    out.Fill(128).Big32(2).Text("aaaa").Big32(156).Big32(7).Text("bbbb").Big32(162).Big32(1);
    const std::string path = Put("end.icc", out.Fill(7, 0x31).Done());
    ICC40::ICCFILE::IccFile4 profile;
    ASSERT_EQ(profile.ReadFile(path.c_str()), 0);
    ASSERT_EQ(profile.tagList.size(), 2U);
    const auto block = [&](std::size_t i) {
        const ICC40::ICCFILE::iccTagBase& tag = *profile.tagList[i];
        return Bytes(tag.tagData.get(), tag.tagData.get() + tag.tagSize);
    };
    EXPECT_EQ(block(0), ByteWriter().Fill(7, 0x31).Fill(1).Done());
    EXPECT_EQ(block(1), ByteWriter().Fill(1, 0x31).Fill(3).Done());
}

using BadPathTest = HostileTest;

TEST_F(BadPathTest, FoldersAndDevicesAreProfilesWithoutATable) {
    for (const std::string& path : {dir_.Path(), std::string("/dev/null"), std::string("/dev/zero")}) {
        EXPECT_EQ(Bind(path), 8) << path;
        EXPECT_EQ(EffectOfConversion(), Effect::Untouched) << path;
    }
}

TEST_F(BadPathTest, APipeWithoutAWriterIsAProfileWithoutATable) {
    const std::string path = dir_.File("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(Bind(path), 8);
    EXPECT_EQ(EffectOfConversion(), Effect::Untouched);
}

TEST_F(BadPathTest, ASocketCannotBeOpened) {
    const std::string path = dir_.File("socket");
    const int handle = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(handle, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(Bind(path), kNone);
    close(handle);
}

TEST_F(BadPathTest, NamesThatLeadNowhereCannotBeOpened) {
    const std::string loop = dir_.File("loop");
    const std::string dangling = dir_.File("dangling");
    ASSERT_EQ(symlink(loop.c_str(), loop.c_str()), 0);
    ASSERT_EQ(symlink("absent", dangling.c_str()), 0);
    for (const std::string& path :
         {loop, dangling, std::string(), Good() + "/inside", std::string(100000, 'a'), dir_.File("absent")}) {
        EXPECT_EQ(Bind(path), kNone) << path.substr(0, 100);
        EXPECT_EQ(EffectOfConversion(), Effect::Refused) << path.substr(0, 100);
    }
}

TEST_F(BadPathTest, LongPathsAreReadAndRememberedWhole) {
    const Bytes bytes = MiniProfile({{"A2B0", Mft2(SmoothLut(3))}});
    std::string deep = dir_.Path();
    while (deep.size() < 3500) {
        deep += "/" + std::string(200, 'x');
        ASSERT_EQ(mkdir(deep.c_str(), 0700), 0);
    }
    for (const std::size_t length : {std::size_t{126}, std::size_t{127}, std::size_t{128}, std::size_t{129},
                                     std::size_t{255}, deep.size() + 200}) {
        const std::string folder = length < 300 ? dir_.Path() : deep;
        const std::string path = folder + "/" + std::string(length - folder.size() - 1, 'p');
        ASSERT_EQ(path.size(), length);
        WriteFile(path, bytes);
        EXPECT_EQ(Bind(path), 8) << length;
        EXPECT_EQ(EffectOfConversion(), Effect::Changed) << length;
        // Another text that only differs in its last letter is another path.
        EXPECT_EQ(Bind(path.substr(0, length - 1) + "q"), kNone) << length;
    }
}

}  // namespace
}  // namespace hueweave::test
