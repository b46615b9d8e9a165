// SPDX-License-Identifier: MIT
// Input tables: how the curves are loaded, expanded, evaluated and reduced to the size that an encoding needs, and how
// runs of pixels pass through them.
#include <gtest/gtest.h>

#include <climits>
#include <limits>

#include "support/Matchers.h"
#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

/// Checks everything except the curves past those of the profile.
void ExpectTables(const InputTable33& table, const ReferenceInput& plain) {
    EXPECT_EQ(table.Bits, plain.bits);
    EXPECT_EQ(table.LUT_Step, plain.step);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_THAT(table.Curve[c], EqualTo(plain.curve[c])) << "curve " << c;
        EXPECT_THAT(table.Lut16[c], EqualTo(plain.table[c])) << "table " << c;
    }
}

TEST(InputTable, ExpandsCurvesOfAnyLengthForEveryEncoding) {
    for (const int entries : {0, 1, 2, 3, 4, 5, 16, 17, 33, 255, 256, 257, 1000, 1024, 4095, 4096}) {
        const TestLut lut = RandomLut({.points = 2, .inputEntries = entries});
        std::vector<int> spaces = {0, 1, 2, 3};
        if (entries == 17) spaces = {4, 5, 8, 9, 16, 20, 39, 65535, -1};  // all other encodings are bytes
        for (const int space : spaces) {
            SCOPED_TRACE(testing::Message() << entries << " entries, encoding " << space);
            const auto table = std::make_unique<InputTable33>();
            ReferenceInput plain(3);
            EXPECT_EQ(table->Initial(&lut.tag, Space(space)), 0);
            plain.Load(lut.plain, space);
            ExpectTables(*table, plain);
        }
    }
}

/// Kept: a curve of two entries or fewer is the identity.
TEST(InputTable, TakesTwoEntriesForTheIdentityWithoutReadingThem) {
    for (const int entries : {0, 1, 2}) {
        for (int inputs = 0; inputs <= 3; ++inputs) {
            SCOPED_TRACE(testing::Message() << entries << " entries, " << inputs << " channels");
            TestLut lut = RandomLut({.inputs = inputs, .points = 2, .inputEntries = entries});
            lut.tag.inputTable.reset();
            lut.tag.clutTable.reset();
            lut.tag.outputTable.reset();
            const auto table = std::make_unique<InputTable33>();
            std::fill_n(&table->Lut16[0][0], 3 * 65536, 99);
            std::fill_n(&table->Curve[0][0], 3 * 4096, 98);
            EXPECT_EQ(table->Initial(&lut.tag, Space(1)), 0);
            EXPECT_EQ(table->LUT_Step, 16.003663003663004);
            EXPECT_EQ(table->Bits, 16);
            for (int c = 0; c < 3; ++c) {
                EXPECT_THAT(table->Lut16[c], EqualTo(c < inputs ? Ramp(65536) : std::vector<int>(65536, 99))) << c;
                EXPECT_THAT(table->Curve[c], EqualTo(c < inputs ? Ramp(4096, 16) : std::vector<int>(4096, 98))) << c;
            }
        }
    }
}

TEST(InputTable, GivesTheseEntriesOfTheIdentity) {
    const TestLut lut = RandomLut({.points = 2, .inputEntries = 2});
    const auto table = std::make_unique<InputTable33>();
    const struct {
        int space, row, entry, value;
    } rows[] = {{0, 1, 129, 33024},   {0, 2, 254, 65024}, {0, 2, 255, 65535},  // not 65280
                {2, 0, 255, 65280},   {2, 1, 0, 32767},   {2, 1, 127, 65279},   {2, 1, 128, 32768},
                {2, 1, 129, 257},     {2, 2, 255, 32513}, {3, 1, 0, 32768},     {3, 1, 32766, 65534},
                {3, 1, 32767, 32767}, {3, 2, 32768, 0},   {3, 2, 65534, 32766}, {3, 2, 65535, 65535}};
    for (const auto& [space, row, entry, value] : rows) {
        table->Initial(&lut.tag, Space(space));
        EXPECT_EQ(table->Lut16[row][entry], value) << space << ", row " << row << ", entry " << entry;
    }
}

TEST(InputTable, ExpandsTheCurveInPlaceWhereTheProfileHasNone) {
    for (const int inputs : {0, 1, 2}) {
        SCOPED_TRACE(inputs);
        const TestLut lut = RandomLut({.inputs = inputs, .points = 2, .inputEntries = 3});
        const auto table = std::make_unique<InputTable33>();
        ReferenceInput plain(3);
        const int before[] = {100, 200, 4000};
        std::ranges::copy(before, table->Curve[2]);
        std::ranges::copy(before, plain.curve[2].begin());
        std::fill_n(&table->Lut16[0][0], 3 * 65536, 99);
        EXPECT_EQ(table->Initial(&lut.tag, Space(1)), 0);
        plain.Load(lut.plain, 1);
        ExpectTables(*table, plain);
        EXPECT_EQ(table->Lut16[2][0], 100);
        EXPECT_EQ(table->Lut16[2][65535], 4000);
    }
}

TEST(InputTable, KeepsItsWidthWhenItIsLoadedForWords) {
    const TestLut lut = RandomLut({.points = 2, .inputEntries = 4});
    const auto table = std::make_unique<InputTable33>();
    const int steps[][2] = {{1, 16}, {0, 8}, {1, 8}, {3, 16}, {2, 8}, {1, 8}};
    for (const auto& [space, bits] : steps) {
        EXPECT_EQ(table->Initial(&lut.tag, Space(space)), 0);
        EXPECT_EQ(table->Bits, bits) << space;
    }
    ReferenceInput plain(3);
    plain.Load(lut.plain, 1);
    EXPECT_THAT(table->Lut16[0], EqualTo(plain.table[0]));
}

/// Replaces the evaluation and records its arguments. It increments the four samples that belong to no curve.
class SpiedInput : public InputTable33 {
public:
    using InputTable33::Conversion;
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override {
        inOrder = inOrder && a == calls && b == calls && c == calls;
        clearedOnce = clearedOnce && d == calls && e == calls && f == calls && g == calls;
        ++calls;
        a = static_cast<unsigned short>(a ^ 1);
        b = static_cast<unsigned short>(b ^ 2);
        c = static_cast<unsigned short>(c ^ 4);
        ++d, ++e, ++f, ++g;
        return 77;
    }
    int calls = 0;
    bool inOrder = true;
    bool clearedOnce = true;
};

TEST(InputTable, ExpandsThroughTheVirtualEvaluation) {
    const TestLut lut = RandomLut({.points = 2, .inputEntries = 3});
    const auto table = std::make_unique<SpiedInput>();
    EXPECT_EQ(table->Initial(&lut.tag, Space(1)), 0);
    EXPECT_EQ(table->calls, 65535);
    EXPECT_TRUE(table->inOrder);
    EXPECT_TRUE(table->clearedOnce) << "the further samples are set to 0 once, not for each value";
    for (int c = 0; c < 3; ++c) {
        for (const int sample : {0, 6, 65534}) EXPECT_EQ(table->Lut16[c][sample], sample ^ 1 << c);
        EXPECT_EQ(table->Lut16[c][65535], lut.plain.input[AsIndex(3 * c + 2)]) << "not evaluated";
    }
    const TestLut identity = RandomLut({.points = 2, .inputEntries = 2});
    table->Initial(&identity.tag, Space(1));
    EXPECT_EQ(table->calls, 65535) << "the identity is not evaluated";
}

using InputRows = std::array<std::vector<int>, 3>;

class InputTableReduction : public testing::Test {
protected:
    InputTableReduction() {
        Lcg random(29);
        for (std::size_t c = 0; c < 3; ++c) {
            for (int& entry : table_->Lut16[c]) entry = random.Sample() - 1000;
            before_[c] = RowOf(table_->Lut16[c]);
        }
    }
    void ExpectRows(const InputRows& expected) const {
        for (std::size_t c = 0; c < 3; ++c) EXPECT_THAT(table_->Lut16[c], EqualTo(expected[c])) << "row " << c;
    }
    std::unique_ptr<InputTable33> table_ = std::make_unique<InputTable33>();
    InputRows before_;
};

TEST_F(InputTableReduction, ToBytesTakesEvery256thEntryAndTheLast) {
    InputRows expected = before_;  // entries past the 8-bit table stay unchanged
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t i = 1; i < 255; ++i) expected[c][i] = before_[c][256 * i];
        expected[c][255] = before_[c][65535];
    }
    for (int pass = 0; pass < 3; ++pass) {  // a further pass reads entries that the first left unchanged
        EXPECT_EQ(table_->Change_Lut16_To_Lut8(), 0);
        EXPECT_EQ(table_->Bits, 8);
        ExpectRows(expected);
    }
}

TEST_F(InputTableReduction, ToLabBytesTurnsTheSignedRowsAndTakesOneEntryTwice) {
    before_[1][32768] = table_->Lut16[1][32768] = 0;  // nothing is clamped
    before_[2][256] = table_->Lut16[2][256] = 65535;
    InputRows expected = before_;
    for (std::size_t i = 0; i < 256; ++i) expected[0][i] = before_[0][256 * i];
    for (std::size_t c = 1; c < 3; ++c) {
        for (std::size_t i = 0; i < 128; ++i) expected[c][i] = before_[c][256 * (i + 128)] - 1;
        expected[c][128] = before_[c][32768] - 1 + 1;  // Kept: from entry 0, which already has its new value
        for (std::size_t i = 129; i < 256; ++i) expected[c][i] = before_[c][256 * (i - 128)] + 1;
    }
    EXPECT_EQ(table_->Change_Lut16_To_Lab8(), 0);
    EXPECT_EQ(table_->Bits, 8);
    ExpectRows(expected);
}

TEST_F(InputTableReduction, ToLabWordsTurnsTheSignedRowsByHalfButForOnePair) {
    InputRows expected = before_;
    for (std::size_t c = 1; c < 3; ++c) {
        for (std::size_t i = 0; i < 65536; ++i) expected[c][i] = before_[c][i ^ 32768];
        expected[c][32767] = before_[c][32767];  // Kept: these two stay in place
        expected[c][65535] = before_[c][65535];
    }
    table_->Bits = 8;
    EXPECT_EQ(table_->Change_Lut16_To_Lab16(), 0);
    EXPECT_EQ(table_->Bits, 16);
    ExpectRows(expected);
    table_->Change_Lut16_To_Lab16();
    ExpectRows(before_);
}

/// One point at each sample of a curve of two entries, four samples apart: rounded to nearest, halves up, and stored in
/// 16 bits.
template <typename Unit>
void ExpectPoints(std::size_t rows) {
    const struct {
        int low, high, at, result;
    } points[] = {{10, 12, 0, 10},          {10, 12, 1, 11},      {10, 12, 2, 11},         {10, 12, 3, 12},
                  {12, 10, 0, 12},          {12, 10, 1, 12},      {12, 10, 2, 11},         {12, 10, 3, 11},
                  {100, 101, 1, 100},       {100, 101, 2, 101},   {-3, -3, 0, 65534},  // -2.5, truncated toward zero
                  {-1, -1, 0, 0},                                                      // -0.5
                  {-10, -20, 2, 65522},                                                // -14.5
                  {65535, 65535, 0, 65535}, {65536, 65536, 0, 0}, {70000, 70008, 2, 4468},  // 70004.5
                  {65535, 65536, 2, 0}};                                                    // 65536
    const auto unit = std::make_unique<Unit>();
    unit->LUT_Step = 4.0;
    for (const auto& [low, high, at, result] : points) {
        for (std::size_t row = 0; row < rows; ++row) {
            SCOPED_TRACE(testing::Message() << unit->UnitName << ", row " << row << ", " << low << " to " << high);
            unit->Curve[row][0] = low;
            unit->Curve[row][1] = high;
            Seven expected;
            expected.fill(static_cast<unsigned short>(at));
            const Seven samples = expected;
            std::fill_n(expected.begin(), rows, static_cast<unsigned short>(0));
            expected[row] = static_cast<unsigned short>(result);
            EXPECT_EQ(Through(*unit, samples), expected);
            unit->Curve[row][0] = unit->Curve[row][1] = 0;
        }
    }
}

TEST(InputTable, RoundsAPointToNearestAndStoresSixteenBits) {
    ExpectPoints<InputTable33>(3);
    ExpectPoints<InputTable34>(3);
    ExpectPoints<InputTable36>(3);
    ExpectPoints<InputTable37>(3);
    ExpectPoints<InputTable43>(4);
}

TEST(InputTable, GivesZeroBehindTheLastEntryOfARow) {
    const auto table = std::make_unique<InputTable33>();
    table->LUT_Step = 15.0;
    for (auto& curve : table->Curve) std::ranges::fill(curve, 700);
    // Entry 4095 is at 61425, and 15 samples further the value is 0: 700 / 15 = 46.67 remains at 61439.
    for (const auto& [sample, expected] : {std::pair{61425, 700}, {61439, 47}, {61440, 0}, {61455, 0}, {65535, 0}}) {
        Seven s;
        s.fill(static_cast<unsigned short>(sample));
        s = Through(*table, s);
        for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(s[c], expected) << sample;
    }
}

class InputMember : public testing::TestWithParam<int> {
protected:
    int samples_ = GetParam();
    std::unique_ptr<InputTable33> table_ = MakeInputTable(samples_);
};

TEST_P(InputMember, CopiesTablesAndWidthAlone) {
    const TestLut lut = RandomLut({.points = 2, .inputEntries = 9});
    const auto source = std::make_unique<InputTable33>();
    const std::string name = table_->UnitName;
    table_->LUT_Step = 5.5;
    table_->Curve[1][2] = 33;
    for (const int space : {3, 0}) {
        source->Initial(&lut.tag, Space(space));
        EXPECT_EQ(table_->Initial(source.get()), 0);
        EXPECT_EQ(table_->Bits, source->Bits);
        for (std::size_t c = 0; c < 3; ++c) EXPECT_THAT(table_->Lut16[c], EqualTo(RowOf(source->Lut16[c])));
    }
    EXPECT_EQ(table_->LUT_Step, 5.5);
    EXPECT_EQ(table_->Curve[1][2], 33);
    EXPECT_EQ(table_->Curve[0][1], 0);
    EXPECT_EQ(table_->UnitName, name);
}

/// Tables with entries below 0 and above 65535, of which only the low 16 bits count; the width of the table does not
/// matter.
TEST_P(InputMember, RunsTheCodesOfItsChannelsAlone) {
    ReferenceInput plain(samples_);
    Lcg random(8);
    for (std::size_t c = 0; c < 3; ++c) {
        for (int& entry : plain.table[c]) entry = random.Sample() * 4 - 100000;
        std::ranges::copy(plain.table[c], table_->Lut16[c]);
    }
    int taken = 0;
    for (const int code : FormatCodes()) {
        for (const int bits : {8, 16}) {
            SCOPED_TRACE(testing::Message() << code << ", " << bits);
            table_->Bits = bits;
            Job job(code, 3);
            std::ranges::copy(Bytes{0, 1, 2, 253, 254, 255, 128, 7, 99, 255, 255, 0, 0, 3, 200, 199, 254, 255},
                              job.source.begin());
            const Bytes source = job.source;
            Words expected = job.Work();
            const int result = plain.Run(code, source, 3, expected);
            EXPECT_EQ(table_->Conversion(&job.info), result);
            EXPECT_THAT(job.Work(), EqualTo(expected));
            EXPECT_THAT(job.source, EqualsBytes(source));
            EXPECT_THAT(job.dest, EqualsBytes(Bytes(job.dest.size(), Job::kMark)));
            taken += result == 0 ? 1 : 0;
            // Whether a code is accepted does not depend on the count.
            job.info.PixelCount = 0;
            EXPECT_EQ(table_->Conversion(&job.info), result);
        }
    }
    EXPECT_EQ(taken, 2 * 4);
}

INSTANTIATE_TEST_SUITE_P(Samples, InputMember, testing::Values(3, 4, 6, 7));

/// The buffer is never assigned, read or written.
template <typename Unit>
void ExpectUnusedBuffer(int code) {
    const TestLut lut = RandomLut({.points = 2, .inputEntries = 5});
    const auto unit = std::make_unique<Unit>();
    EXPECT_EQ(unit->Buf, nullptr);
    unit->Buf = std::make_unique<unsigned char[]>(1);
    const unsigned char* const buffer = unit->Buf.get();
    unit->Initial(&lut.tag, Space(1));
    unit->Initial(std::make_unique<InputTable33>().get());
    Job job(code, 3);
    EXPECT_EQ(unit->Conversion(&job.info), 0);
    EXPECT_EQ(unit->Buf.get(), buffer);
    EXPECT_EQ(buffer[0], 0);
}

TEST(WiderInputTables, DoNotUseTheirBuffer) {
    ExpectUnusedBuffer<InputTable34>(259);
    ExpectUnusedBuffer<InputTable36>(261);
    ExpectUnusedBuffer<InputTable37>(263);
}

TEST(InputTable43, TakesTheCurvesAsTheyAre) {
    for (const int entries : {0, 1, 2, 3, 256, 4096}) {
        for (const int inputs : {0, 2, 4}) {
            SCOPED_TRACE(testing::Message() << entries << " entries, " << inputs << " channels");
            const TestLut lut = RandomLut({.inputs = inputs, .points = 2, .inputEntries = entries});
            const auto table = std::make_unique<InputTable43>();
            table->Bits = 8;
            std::fill_n(&table->Curve[0][0], 4 * 4096, 97);
            EXPECT_EQ(table->Initial(&lut.tag), 0);
            EXPECT_EQ(table->LUT_Step,
                      entries == 1 ? std::numeric_limits<double>::infinity() : 65535.0 / (entries - 1));
            EXPECT_EQ(table->Bits, 8);
            for (int c = 0; c < 4; ++c) {
                std::vector<int> curve(4096, 97);
                if (c < inputs) std::copy_n(lut.plain.input.begin() + c * entries, entries, curve.begin());
                EXPECT_THAT(table->Curve[c], EqualTo(curve)) << c;
            }
        }
    }
}

TEST(InputTable43, EvaluatesFourChannels) {
    for (const int entries : {2, 3, 9, 100, 1000, 4095, 4096}) {
        SCOPED_TRACE(entries);
        const TestLut lut = RandomLut({.inputs = 4, .points = 2, .inputEntries = entries});
        const auto table = std::make_unique<InputTable43>();
        table->Initial(&lut.tag);
        const double step = 65535.0 / (entries - 1);
        for (int x = 0; x < 65535; x += 37) {
            Seven samples, expected;
            samples.fill(static_cast<unsigned short>(x));
            expected = samples;
            for (std::size_t c = 0; c < 4; ++c) {
                const auto first = lut.plain.input.begin() + static_cast<std::ptrdiff_t>(c) * entries;
                expected[c] = static_cast<unsigned short>(ReferenceCurvePoint({first, first + entries}, step, x));
            }
            ASSERT_EQ(Through(*table, samples), expected) << x;
        }
        const Seven end = Through(*table, {65535, 65535, 65535, 65535, 5, 6, 7});
        for (int c = 0; c < 4; ++c) EXPECT_EQ(end[AsIndex(c)], lut.plain.input[AsIndex((c + 1) * entries - 1)]);
    }
}

/// Kept: there is no grid with four inputs.
TEST(InputTable43, HasNoPixelPath) {
    const auto table = std::make_unique<InputTable43>();
    for (const int code : {0, 256, 257, 259, 263, 264, 515, 520, 521, 65534}) {
        Job job(code, 2);
        EXPECT_EQ(table->Conversion(&job.info), 0) << code;
        EXPECT_THAT(job.Work(), EqualTo(Words(job.Work().size(), Job::kMark16)));
        EXPECT_THAT(job.dest, EqualsBytes(Bytes(job.dest.size(), Job::kMark)));
    }
}

}  // namespace
}  // namespace hueweave::test
