// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// No profile of 1 MiB takes longer than eight times a sound one of that size, measured side by side in processor time.
#include <algorithm>
#include <limits>

#include "hostile/Hostile.h"
#include "hostile/time/Time.h"

namespace hueweave::test {
namespace {

struct Slow {
    const char* name;
    Bytes file;
};
void PrintTo(const Slow& row, std::ostream* out) { *out << row.name; }

/// A profile as programs write them: a table of 33 points for every intent, and texts up to 1 MiB.
Bytes Sound() {
    const Bytes table = Mft2(SmoothLut(33));
    const Bytes text = ByteWriter().Text("text").Fill(4).Fill(100000, 'c').Done();
    Bytes file = MiniProfile({{"A2B0", table}, {"A2B1", table}, {"A2B2", table}, {"cprt", text}, {"desc", text}});
    file.resize(kMiB);
    return file;
}

/// 1 MiB of which every entry of a table of `count` has the bytes from `offset` on.
Bytes Shared(std::uint32_t count, std::string_view name, std::uint32_t offset, std::uint32_t size) {
    ByteWriter out;
    out.Fill(128).Big32(count);
    for (std::uint32_t i = 0; i < count; ++i) out.Text(name).Big32(offset).Big32(size);
    return out.Fill(kMiB - out.Size(), 0x63).Done();
}

/// The same with two places far apart in turns, so that no reading ahead of a few bytes helps.
Bytes FarApart(std::uint32_t count) {
    ByteWriter out;
    out.Fill(128).Big32(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        out.Text("wtpt").Big32(i % 2 == 0 ? 200 : kMiB - 4000).Big32(20);
    }
    return out.Fill(kMiB - out.Size(), 0x63).Done();
}

/// As many curved tables as there are entries, all with the same block: eleven curves without entries, and a grid.
Bytes SmallTables() {
    ByteWriter block;
    block.Text("mAB ").Big32(0).U8(16).U8(16).Big16(0);
    for (int part = 0; part < 5; ++part) block.Big32(32);
    constexpr std::uint32_t count = (kMiB - 132 - 32) / 12;
    ByteWriter out;
    out.Fill(128).Big32(count);
    for (std::uint32_t i = 0; i < count; ++i) out.Text("B2A1").Big32(kMiB - 32).Big32(32);
    return out.Fill(kMiB - 32 - out.Size()).Append(block.Done()).Done();
}

std::vector<Slow> SlowProfiles() {
    constexpr std::uint32_t most = (kMiB - 132) / 12;
    return {{"AsManyEmptyTagsAsFit", Shared(most, "none", 0, 0)},
            {"AsManyShortTagsAsFit", Shared(most, "wtpt", 200, 4)},
            {"AsManyTagsAtTheEndAsFit", Shared(most, "wtpt", kMiB - 3, 3)},
            {"AsManyTagsFarApartAsFit", FarApart(most)},
            {"AsManyTagsOutsideAsFit", Shared(most, "wtpt", 0xfffffff0, 4)},
            {"AsManySmallTablesAsFit", SmallTables()},
            {"LongTags", Shared(12, "long", 200, kMiB - 200)},
            {"LongTexts", Shared(12, "cprt", 200, kMiB - 200)},
            {"MiddlingTags", Shared(2500, "some", 40000, 4900)},
            {"AllBytesAlike", Bytes(kMiB, 0x41)}};
}

class TimeTest : public HostileTest, public testing::WithParamInterface<Slow> {
protected:
    /// Seconds of processor time that a binding takes.
    static double Seconds(const std::string& path) {
        Empty();
        return ProcessorSeconds([&] { Bind(path); });
    }
};

TEST_P(TimeTest, IsNoMoreThanEightTimesThatOfASoundProfile) {
    const std::string soundPath = Put("sound.icc", Sound());
    const std::string slowPath = Put("slow.icc", GetParam().file);
    double sound = std::numeric_limits<double>::infinity(), slow = sound;
    // The shortest of some rounds each, taken in turns so that a busy machine slows both.
    for (int round = 0; round < 15; ++round) {
        sound = std::min(sound, Seconds(soundPath));
        slow = std::min(slow, Seconds(slowPath));
    }
    RecordProperty("times_a_sound_profile", std::to_string(slow / sound));
    EXPECT_LE(slow, 8 * sound);
}

INSTANTIATE_TEST_SUITE_P(Profiles, TimeTest, testing::ValuesIn(SlowProfiles()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace hueweave::test
