// SPDX-License-Identifier: MIT
// Broken containers, each with the engine's result, and paths that lead to no file. The suites unit_iccfile,
// unit_engine and pipeline cover broken tables.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "hostile/Hostile.h"

namespace hueweave::test {
namespace {

struct BadProfile {
    const char* name;
    Bytes bytes;
    std::string effect;
};
void PrintTo(const BadProfile& bad, std::ostream* out) { *out << bad.name; }

/// A valid profile with one table (entry at 132, block at 144), of which one word is changed.
Bytes WithWord(std::size_t at, std::uint32_t value) {
    return ByteWriter().Append(MiniProfile({{"A2B0", Mft2(ShortLut())}})).PatchBig32(at, value).Done();
}
std::uint32_t BlockSize() { return static_cast<std::uint32_t>(Mft2(ShortLut()).size()); }

std::vector<BadProfile> Containers() {
    const Bytes sound = MiniProfile({{"A2B0", Mft2(ShortLut())}});
    constexpr const char *untouched = "untouched", *changed = "changed", *refused = "refused";
    return {
        {"Sound", sound, changed},
        {"NoBytes", {}, untouched},
        {"OneByte", Bytes(1, 0), untouched},
        {"HalfAHeader", Bytes(64, 0xff), untouched},
        {"HeaderOnly", Bytes(128, 0xff), untouched},
        {"ThreeBytesOfACount", Bytes(131, 0xff), untouched},
        {"GreatestCountAndNoEntry", Bytes(132, 0xff), untouched},
        {"GreatestCountAndElevenBytes", Bytes(143, 0xff), untouched},
        {"GreatestCountAndOneEntry", Bytes(144, 0xff), untouched},
        {"CountWrapsIn32Bits", WithWord(128, 0x15555556), changed},
        {"GreatestCountWithOneSoundEntry", WithWord(128, 0xffffffff), changed},
        {"CountOfZero", WithWord(128, 0), untouched},
        {"OtherName", WithWord(132, 0x41324221), untouched},
        {"OffsetBehindTheFile", WithWord(136, 0x7fffffff), untouched},
        {"OffsetIsNegative", WithWord(136, 0x80000000), untouched},
        {"GreatestOffset", WithWord(136, 0xffffffff), untouched},
        {"OffsetPlusSizeWraps", WithWord(136, 0xffffffff - BlockSize() + 1), untouched},
        {"OffsetOneTooFar", WithWord(136, 145), untouched},
        {"SizeRoundsToZero", WithWord(140, 0xfffffffd), untouched},
        {"SizeIsNegative", WithWord(140, 0x80000000), untouched},
        {"GreatestSize", WithWord(140, 0xffffffff), untouched},
        {"SizeOneTooLarge", WithWord(140, BlockSize() + 1), untouched},
        {"SizeOfNothing", WithWord(140, 0), refused},
        {"SizeOfAWord", WithWord(140, 4), refused},
        {"BlockIsTheHeader", WithWord(136, 0), refused},
        {"LastByteMissing", Bytes(sound.begin(), sound.end() - 1), untouched},
        {"TrailingRubbish", ByteWriter().Append(sound).Fill(999, 0xee).Done(), changed},
    };
}

class BadProfileTest : public HostileTest, public testing::WithParamInterface<BadProfile> {};

TEST_P(BadProfileTest, LeavesTheEngineInADefinedState) {
    const BadProfile& bad = GetParam();
    const std::string path = Put("bad.icc", bad.bytes);
    EXPECT_EQ(Bind(path), bad.effect == "refused" ? kNone : 8);
    EXPECT_EQ(EffectOfConversion(), bad.effect);
    // A valid profile afterwards works as on a fresh engine.
    EXPECT_EQ(Bind(Good()), 8);
    EXPECT_EQ(EffectOfConversion(), "changed");
}

INSTANTIATE_TEST_SUITE_P(Containers, BadProfileTest, testing::ValuesIn(Containers()),
                         [](const auto& row) { return std::string(row.param.name); });

using BadPathTest = HostileTest;

TEST_F(BadPathTest, FoldersDevicesAndPipesWithoutAWriterAreProfilesWithoutATable) {
    const std::string pipe = dir_.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {dir_.Path(), std::string("/dev/null"), std::string("/dev/zero"), pipe}) {
        EXPECT_EQ(Bind(path), 8) << path;
        EXPECT_EQ(EffectOfConversion(), "untouched") << path;
    }
}

TEST_F(BadPathTest, SocketsAndNamesThatLeadNowhereCannotBeOpened) {
    const std::string loop = dir_.File("loop"), dangling = dir_.File("dangling"), named = dir_.File("socket");
    ASSERT_EQ(symlink(loop.c_str(), loop.c_str()), 0);
    ASSERT_EQ(symlink("absent", dangling.c_str()), 0);
    const int handle = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    named.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    for (const std::string& path :
         {loop, dangling, named, std::string(), Good() + "/inside", std::string(100000, 'a'), dir_.File("absent")}) {
        EXPECT_EQ(Bind(path), kNone) << path.substr(0, 100);
        EXPECT_EQ(EffectOfConversion(), "refused") << path.substr(0, 100);
    }
    close(handle);
}

}  // namespace
}  // namespace hueweave::test
