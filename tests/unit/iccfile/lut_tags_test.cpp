// SPDX-License-Identifier: MIT
// Tables of words, and those of bytes in the same layout: where each part is, and which tables are usable.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

template <typename Lut>
constexpr unsigned kWidth = std::is_same_v<Lut, CLut16Type> ? 2 : 1;  ///< bytes per entry

template <typename Lut>
MftSpec Spec(unsigned in, unsigned out, unsigned points, unsigned inEntries, unsigned outEntries,
             std::optional<std::size_t> values = {}) {
    return {kWidth<Lut> == 2 ? "mft2" : "mft1", in, out, points, inEntries, outEntries, kWidth<Lut>, values};
}

/// Makes a check for both types.
template <typename Check>
void ForBoth(Check check) {
    check.template operator()<CLut16Type>();
    check.template operator()<CLut8Type>();
}

/// Checks a table with these values of the block and eight spare zeros behind them.
template <typename Lut, typename Table>
void ExpectTable(const Table& table, std::size_t place, std::size_t count) {
    Values expected = TableValues(place, count, kWidth<Lut>);
    expected.resize(count + 8);
    EXPECT_THAT(ValuesOf(table, 0, count + 8), EqualTo(expected));
}

struct LutShape {
    const char* name;
    unsigned in, out, points, inEntries, outEntries;
    std::size_t input, grid, output;  ///< entries, computed by hand
};
constexpr LutShape kShapes[] = {
    {"scanner", 3, 3, 2, 3, 5, 9, 24, 15},          {"seventeen points", 3, 3, 17, 256, 4, 768, 14739, 12},
    {"two entries", 3, 3, 2, 2, 2, 6, 24, 6},       {"one to one", 1, 1, 3, 4, 5, 4, 27, 5},
    {"one to three", 1, 3, 2, 4, 2, 4, 24, 6},      {"two to three", 2, 3, 3, 2, 2, 4, 81, 6},
    {"three to four", 3, 4, 3, 2, 3, 6, 108, 12},   {"three to seven", 3, 7, 2, 2, 3, 6, 56, 21},
    {"four to three", 4, 3, 3, 2, 3, 8, 81, 9},     {"no input entries", 3, 3, 2, 0, 2, 0, 24, 6},
    {"no output entries", 3, 3, 2, 2, 0, 6, 24, 0}, {"no inputs", 0, 1, 2, 9, 2, 0, 8, 2},
    {"no outputs", 3, 0, 2, 2, 9, 6, 0, 0},         {"one point", 3, 3, 1, 2, 2, 6, 3, 6},
    {"no points", 3, 3, 0, 2, 2, 6, 0, 6},
};

/// The grid is a cube even with four channels, and bytes have the layout of words.
TEST(CLut8And16Type, ReadsThreeConsecutiveTablesIfTheBlockHoldsAll) {
    ForBoth([]<typename Lut>() {
        for (const auto& [name, in, out, points, inEntries, outEntries, input, grid, output] : kShapes) {
            const std::size_t need = 52 + kWidth<Lut> * (input + grid + output);
            ByteWriter whole;
            whole.Append(Spec<Lut>(in, out, points, inEntries, outEntries).Done()).Fill(100, 0xff);
            ASSERT_EQ(whole.Size(), need + 100) << name;
            for (const std::size_t size :
                 {std::size_t{52}, std::size_t{53}, need - 2, need - 1, need, need + 1, need + 2, need + 100}) {
                SCOPED_TRACE(std::string(name) + " in " + std::to_string(size));
                const Loaded<Lut> lut("A2B0", Cut(whole.Done(), size));
                EXPECT_EQ(lut.taken, size);
                EXPECT_EQ(lut.inputChan, in);
                EXPECT_EQ(lut.outputChan, out);
                EXPECT_EQ(lut.clutPoints, points);
                EXPECT_EQ(lut.inputEnt, inEntries);
                EXPECT_EQ(lut.outputEnt, outEntries);
                ASSERT_EQ(TablesIn(lut), size < need ? 0 : 3);
                if (size < need) continue;
                ExpectTable<Lut>(lut.inputTable, 0, input);
                ExpectTable<Lut>(lut.clutTable, input, grid);
                ExpectTable<Lut>(lut.outputTable, input + grid, output);
            }
        }
    });
}

TEST(CLut8And16Type, ReadsEveryFieldAndZeroBeyondTheBlock) {
    ForBoth([]<typename Lut>() {
        const Bytes whole = Spec<Lut>(3, 3, 2, 0x0102, 0x0304).Done();
        for (std::size_t size = 0; size <= 52; ++size) {
            const Bytes cut = Cut(whole, size);
            const Loaded<Lut> lut("A2B0", cut);
            EXPECT_EQ(lut.taken, size);
            EXPECT_EQ(lut.inputChan, ByteAt(cut, 8)) << size;
            EXPECT_EQ(lut.outputChan, ByteAt(cut, 9)) << size;
            EXPECT_EQ(lut.clutPoints, ByteAt(cut, 10)) << size;
            EXPECT_EQ(lut.pad, ByteAt(cut, 11)) << size;
            for (std::size_t i = 0; i < 9; ++i) EXPECT_EQ(lut.matrix[i], Big32At(cut, 12 + 4 * i)) << size;
            EXPECT_EQ(lut.inputEnt, Big16At(cut, 48)) << size;
            EXPECT_EQ(lut.outputEnt, Big16At(cut, 50)) << size;
            EXPECT_EQ(TablesIn(lut), 0) << size;
        }
    });
}

TEST(CLut8And16Type, CountsTheLargestTablesWithoutOverflow) {
    ForBoth([]<typename Lut>() {
        for (const MftSpec& spec : {Spec<Lut>(255, 255, 255, 65535, 65535, 0), Spec<Lut>(255, 0, 255, 65535, 65535, 0),
                                    // 2^31 entries: 2^31 bytes, negative as an int, or 2^32, 0 in 32 bits
                                    Spec<Lut>(1, 255, 203, 128, 56077, 0),
                                    // 2^28 entries
                                    Spec<Lut>(1, 128, 128, 0, 0, 0)}) {
            const Loaded<Lut> lut("A2B0", Cut(spec.Done(), 200));
            EXPECT_EQ(lut.taken, 200U);
            EXPECT_EQ(TablesIn(lut), 0) << spec.points;
            EXPECT_EQ(lut.inputEnt, spec.inEntries);
            EXPECT_EQ(lut.outputEnt, spec.outEntries);
        }
    });
}

struct Limit {
    int in, out, points, inEntries, outEntries;
    bool usable;
};
constexpr Limit kLimits[] = {{3, 3, 17, 256, 256, true},      {0, 3, 17, 256, 256, true},    {1, 3, 17, 256, 256, true},
                             {4, 3, 17, 256, 256, false},     {255, 3, 17, 256, 256, false}, {3, 0, 17, 256, 256, true},
                             {3, 7, 17, 256, 256, true},      {3, 8, 17, 256, 256, false},   {3, 3, 0, 256, 256, false},
                             {3, 3, 1, 256, 256, false},      {3, 3, 2, 256, 256, true},     {3, 3, 33, 256, 256, true},
                             {3, 3, 34, 256, 256, false},     {3, 3, 255, 256, 256, false},  {3, 3, 17, 0, 0, true},
                             {3, 3, 17, 4096, 4096, true},    {3, 3, 17, 4097, 2, false},    {3, 3, 17, 2, 4097, false},
                             {3, 3, 17, 65535, 65535, false}, {3, 7, 33, 4096, 4096, true}};

TEST(CLut16Type, IsUsableWithinTheLimitsOfTheUnitsAndWithAllThreeTables) {
    EXPECT_FALSE(CLut16Type().Usable());
    for (const Limit& limit : kLimits) {
        SCOPED_TRACE(testing::Message() << limit.in << " to " << limit.out << ", " << limit.points << " points, "
                                        << limit.inEntries << " and " << limit.outEntries << " entries");
        CLut16Type lut;
        lut.inputChan = static_cast<std::uint8_t>(limit.in);
        lut.outputChan = static_cast<std::uint8_t>(limit.out);
        lut.clutPoints = static_cast<std::uint8_t>(limit.points);
        lut.inputEnt = static_cast<std::uint16_t>(limit.inEntries);
        lut.outputEnt = static_cast<std::uint16_t>(limit.outEntries);
        for (auto* table : {&lut.inputTable, &lut.clutTable, &lut.outputTable}) {
            *table = std::make_unique<std::uint16_t[]>(1);
        }
        EXPECT_EQ(lut.Usable(), limit.usable);
        for (auto* table : {&lut.inputTable, &lut.clutTable, &lut.outputTable}) {
            const auto kept = std::move(*table);
            EXPECT_FALSE(lut.Usable());
            *table = std::make_unique<std::uint16_t[]>(1);
        }
    }
}

}  // namespace
}  // namespace hueweave::test::icc
