// SPDX-License-Identifier: MIT
// Input tables: how the curves are loaded, expanded, evaluated and reduced to the size that an encoding needs, and how
// runs of pixels pass through them.
#include <gtest/gtest.h>

#include <limits>

#include "support/Matchers.h"
#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

/// Checks everything except the curves past those of the profile.
void ExpectTables(const InputTable33& table, const ReferenceInput& plain) {
    EXPECT_EQ(table.Bits, plain.bits);
    EXPECT_EQ(table.LUT_Step, plain.step);
    ExpectRows(table.Curve, plain.curve);
    ExpectRows(table.Lut16, plain.table);
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
TEST(InputTable, TreatsTwoEntriesAsTheIdentityWithoutReadingThem) {
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

TEST(InputTable, ExpandsItsOwnCurveIfTheProfileHasNone) {
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

TEST(InputTable, KeepsItsBitsWhenLoadedFor16BitRgb) {
    const TestLut lut = RandomLut({.points = 2, .inputEntries = 4});
    const auto table = std::make_unique<InputTable33>();
    const int steps[][2] = {{1, 16}, {0, 8}, {1, 8}, {3, 16}, {2, 8}, {1, 8}};
    for (const auto& [space, bits] : steps) {
        EXPECT_EQ(table->Initial(&lut.tag, Space(space)), 0);
        EXPECT_EQ(table->Bits, bits) << space;
    }
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

/// Kept: the sample 255 takes the very last entry; entry 128 of Lab bytes takes what entry 0 has become; one pair of
/// Lab words stays in place. A further pass reads entries that the first left unchanged.
TEST(ChangeLut16, ConvertsAnyTables) {
    const struct {
        const char* name;
        int (InputTable33::*turn)();
        void (ReferenceInput::*plainTurn)();
    } rows[] = {{"bytes", &InputTable33::Change_Lut16_To_Lut8, &ReferenceInput::ToLut8},
                {"Lab bytes", &InputTable33::Change_Lut16_To_Lab8, &ReferenceInput::ToLab8},
                {"Lab words", &InputTable33::Change_Lut16_To_Lab16, &ReferenceInput::ToLab16}};
    for (const auto& [name, turn, plainTurn] : rows) {
        SCOPED_TRACE(name);
        const auto table = std::make_unique<InputTable33>();
        ReferenceInput plain(3);
        Scatter(table->Lut16, plain.table);
        for (int pass = 0; pass < 3; ++pass) {
            table->Bits = 99;
            EXPECT_EQ(((*table).*turn)(), 0);
            (plain.*plainTurn)();
            ExpectTables(*table, plain);
        }
    }
}

/// Any curves: rounded to nearest, halves up, and stored in 16 bits.
template <typename Unit>
void ExpectPoints() {
    const auto unit = std::make_unique<Unit>();
    SCOPED_TRACE(unit->UnitName);
    std::vector<std::vector<int>> curves(std::size(unit->Curve), std::vector<int>(4096));
    Scatter(unit->Curve, curves);
    Lcg random(5);
    for (const double step : {16.25, 32.0, 257.0}) {
        unit->LUT_Step = step;
        for (int n = 0; n < 3000; ++n) {
            const Seven samples = RandomSeven(random);
            Seven expected = samples;
            for (std::size_t c = 0; c < curves.size(); ++c) {
                expected[c] = static_cast<unsigned short>(ReferenceCurvePoint(curves[c], step, samples[c]));
            }
            ASSERT_EQ(Through(*unit, samples), expected) << step;
        }
    }
}

TEST(InputTable, RoundsAPointToNearestAndStoresSixteenBits) {
    ExpectPoints<InputTable33>();
    ExpectPoints<InputTable34>();
    ExpectPoints<InputTable36>();
    ExpectPoints<InputTable37>();
    ExpectPoints<InputTable43>();
}

TEST(InputTable, ReturnsZeroAfterTheLastEntryOfARow) {
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

class InputTableChannels : public testing::TestWithParam<int> {
protected:
    int samples_ = GetParam();
    std::unique_ptr<InputTable33> table_ = MakeInputTable(samples_);
};

TEST_P(InputTableChannels, CopiesOnlyTablesAndBits) {
    const TestLut lut = RandomLut({.points = 2, .inputEntries = 9});
    const auto source = std::make_unique<InputTable33>();
    const std::string name = table_->UnitName;
    table_->LUT_Step = 5.5;
    table_->Curve[1][2] = 33;
    for (const int space : {3, 0}) {
        source->Initial(&lut.tag, Space(space));
        EXPECT_EQ(table_->Initial(source.get()), 0);
        EXPECT_EQ(table_->Bits, source->Bits);
        ExpectRows(table_->Lut16, source->Lut16);
    }
    EXPECT_EQ(table_->LUT_Step, 5.5);
    EXPECT_EQ(table_->Curve[1][2], 33);
    EXPECT_EQ(table_->Curve[0][1], 0);
    EXPECT_EQ(table_->UnitName, name);
}

/// Tables with entries below 0 and above 65535, of which only the low 16 bits count; the width of the table does not
/// matter.
TEST_P(InputTableChannels, RunsOnlyTheCodesOfItsChannels) {
    ReferenceInput plain(samples_);
    Scatter(table_->Lut16, plain.table);
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

INSTANTIATE_TEST_SUITE_P(Samples, InputTableChannels, testing::Values(3, 4, 6, 7));

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

TEST(InputTable, WiderTablesDoNotUseTheirBuffer) {
    ExpectUnusedBuffer<InputTable34>(259);
    ExpectUnusedBuffer<InputTable36>(261);
    ExpectUnusedBuffer<InputTable37>(263);
}

TEST(InputTable43, CopiesTheCurves) {
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
            if (inputs < 4 || entries < 2) continue;
            const Seven end = Through(*table, {65535, 65535, 65535, 65535, 5, 6, 7});
            for (int c = 0; c < 4; ++c) EXPECT_EQ(end[AsIndex(c)], lut.plain.input[AsIndex((c + 1) * entries - 1)]);
        }
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
