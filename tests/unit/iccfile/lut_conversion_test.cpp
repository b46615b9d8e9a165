// SPDX-License-Identifier: MIT
// The table to which an "mAB " or "mBA " tag is converted: its channels, its sizes, and what cannot be converted.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

/// `count` curves of `entries` entries each; no two entries are equal.
std::vector<Values> CurvesOf(std::size_t count, unsigned entries, unsigned base) {
    std::vector<Values> curves(count);
    for (Values& curve : curves) {
        for (unsigned i = 0; i < entries; ++i) curve.push_back(base++);
    }
    return curves;
}
/// The first entries of each curve, concatenated.
Values Joined(const std::vector<Values>& curves, std::size_t entries) {
    Values all;
    for (const Values& curve : curves)
        all.insert(all.end(), curve.begin(), curve.begin() + static_cast<std::ptrdiff_t>(entries));
    return all;
}
std::size_t Power(std::size_t base, unsigned exponent) {
    std::size_t value = 1;
    while (exponent-- > 0) value *= base;
    return value;
}

constexpr unsigned kAEntries = 3, kBEntries = 5;

struct Shape {
    const char* name;  ///< of the tag
    unsigned in, out, points;
    bool a2b;

    std::size_t GridValues() const { return Power(points, in) * out; }
    std::vector<Values> A() const { return CurvesOf(a2b ? in : out, kAEntries, 20000); }
    std::vector<Values> B() const { return CurvesOf(a2b ? out : in, kBEntries, 10000); }
    /// The tag without its curves and grid.
    AbBlock Head() const { return {in, out, a2b ? "mAB " : "mBA "}; }
};
constexpr Shape kA2B{"A2B0", 3, 3, 2, true}, kB2A{"B2A0", 3, 3, 2, false};

/// Loads a tag with these curves; by default each side has as many as its name and its channels require.
void LoadSource(CLut& lut, const Shape& shape, AbBlock block, const std::vector<Values>& a,
                const std::vector<Values>& b) {
    Load(lut, shape.name,
         block.Curves(AbBlock::kB, b)
             .Grid(Values(shape.in, shape.points), TableValues(0, shape.GridValues()))
             .Curves(AbBlock::kA, a)
             .Done());
}
void LoadSource(CLut& lut, const Shape& shape) { LoadSource(lut, shape, shape.Head(), shape.A(), shape.B()); }

/// Checks the whole table that such a tag gives.
void ExpectConverted(const CLut16Type& lut, const Shape& shape) {
    ASSERT_TRUE(HasAll(lut));
    EXPECT_EQ(lut.inputChan, shape.in);
    EXPECT_EQ(lut.outputChan, shape.out);
    EXPECT_EQ(lut.clutPoints, shape.points);
    EXPECT_EQ(lut.inputEnt, shape.a2b ? kAEntries : kBEntries);
    EXPECT_EQ(lut.outputEnt, shape.a2b ? kBEntries : kAEntries);
    const Values a = Joined(shape.A(), kAEntries), b = Joined(shape.B(), kBEntries);
    const Values &input = shape.a2b ? a : b, &output = shape.a2b ? b : a;
    EXPECT_THAT(ValuesOf(lut.inputTable, 0, input.size()), EqualTo(input));
    EXPECT_THAT(ValuesOf(lut.clutTable, 0, shape.GridValues()), EqualTo(TableValues(0, shape.GridValues())));
    EXPECT_THAT(ValuesOf(lut.outputTable, 0, output.size()), EqualTo(output));
    EXPECT_EQ(lut.matrix, (std::array<std::uint32_t, 9>{}));
}

constexpr Shape kConvertible[] = {
    kA2B,
    {"A2B1", 3, 2, 3, true},
    {"A2B2", 2, 3, 4, true},
    {"A2B0", 1, 1, 5, true},
    {"A2B1", 4, 3, 3, true},
    {"A2B2", 7, 3, 2, true},
    {"A2Bz", 3, 1, 2, true},
    kB2A,
    {"B2A1", 3, 4, 3, false},
    {"B2A2", 3, 7, 2, false},
    {"B2A0", 1, 4, 5, false},
    {"B2A0", 2, 1, 3, false},
    {"pre0", 3, 3, 2, false},  // every other name counts as the reverse direction
    {"a2b0", 3, 3, 2, false},
    {"A2A0", 3, 3, 2, false},
};

TEST(LutConversion, TakesCurvesAndGridByDirectionAndSharesNothing) {
    for (const Shape& shape : kConvertible) {
        SCOPED_TRACE(std::string(shape.name) + " " + std::to_string(shape.in) + " to " + std::to_string(shape.out));
        auto source = std::make_unique<CLut>();
        LoadSource(*source, shape);
        source->reserved = 77;
        const CLut16Type lut(source.get());
        source.reset();  // a memory checker detects a table that still points into it
        ExpectConverted(lut, shape);
        EXPECT_EQ(lut.Usable(), shape.in <= 3);
        EXPECT_EQ(lut.tagSig, Name(shape.name));
        EXPECT_EQ(TypeOf(lut), Word(shape.a2b ? "mAB " : "mBA "));
        EXPECT_EQ(lut.tagData, nullptr);
        EXPECT_EQ(lut.tagSize, 0U);
        EXPECT_EQ(lut.reserved, 0U);
        EXPECT_EQ(lut.pad, 0);
    }
}

TEST(LutConversion, TakesNoNoticeOfMatrixAndMCurves) {
    ByteWriter matrix;
    for (std::uint32_t i = 0; i < 12; ++i) matrix.Big32(0x8000 + i * 0x1111);
    for (const Shape& shape : {kA2B, kB2A}) {
        for (const AbBlock& head :
             {shape.Head().Raw(AbBlock::kMatrix, matrix.Done()),
              shape.Head().Curves(AbBlock::kM, {{9, 8, 7}, {6, 5, 4}, {3, 2, 1}}),
              shape.Head().Raw(AbBlock::kMatrix, matrix.Done()).Curves(AbBlock::kM, {{40000}}),
              shape.Head().Offset(AbBlock::kMatrix, 0xffffffffU).Offset(AbBlock::kM, 0xfffffff0U)}) {
            CLut source;
            LoadSource(source, shape, head, shape.A(), shape.B());
            ExpectConverted(CLut16Type(&source), shape);
        }
    }
}

TEST(LutConversion, OfNoSourceHasNoTables) { EXPECT_TRUE(HasNone(CLut16Type(static_cast<CLut*>(nullptr)))); }

// --- curves

TEST(LutConversion, HasRoomForSevenACurvesAndThreeBCurves) {
    struct Row {
        Shape shape;
        bool converted;
    };
    for (const auto& [shape, converted] : {Row{{"A2B0", 7, 3, 1, true}, true},
                                           {{"A2B0", 8, 3, 1, true}, false},
                                           {{"A2B0", 255, 255, 1, true}, false},
                                           {{"A2B0", 3, 4, 2, true}, false},
                                           {{"B2A0", 3, 7, 2, false}, true},
                                           {{"B2A0", 3, 8, 2, false}, false},
                                           {{"B2A0", 4, 3, 2, false}, false},
                                           {{"A2B0", 0, 3, 2, true}, false},
                                           {{"A2B0", 3, 0, 2, true}, false},
                                           {{"B2A0", 0, 3, 2, false}, false},
                                           {{"B2A0", 3, 0, 2, false}, false}}) {
        SCOPED_TRACE(std::string(shape.name) + " " + std::to_string(shape.in) + " to " + std::to_string(shape.out));
        CLut source;
        LoadSource(source, shape);
        const CLut16Type lut(&source);
        EXPECT_EQ(HasAll(lut), converted);
        EXPECT_EQ(HasNone(lut), !converted);
        EXPECT_EQ(lut.inputChan, shape.in);
        EXPECT_EQ(lut.outputChan, shape.out);
    }
}

TEST(LutConversion, NeedsEveryCurveOfBothSides) {
    for (const Shape& shape : {kA2B, kB2A}) {
        for (std::size_t missing = 0; missing < 6; ++missing) {
            CLut source;
            LoadSource(source, shape);
            (missing < 3 ? source.aCurves[missing] : source.bCurves[missing - 3]).reset();
            EXPECT_TRUE(HasNone(CLut16Type(&source))) << missing;
        }
    }
}

TEST(LutConversion, CutsCurvesToTheLengthOfTheFirst) {
    for (const Shape& shape : {kA2B, kB2A}) {
        CLut source;
        LoadSource(source, shape, shape.Head(), {{1, 2, 3}, {4, 5, 6, 7, 8}, {9, 10, 11, 12}},
                   {{21, 22}, {23, 24}, {25, 26, 27}});
        const CLut16Type lut(&source);
        ASSERT_TRUE(HasAll(lut));
        const Values fromA = {1, 2, 3, 4, 5, 6, 9, 10, 11}, fromB = {21, 22, 23, 24, 25, 26};
        EXPECT_EQ(ValuesOf(lut.inputTable, 0, shape.a2b ? 9 : 6), shape.a2b ? fromA : fromB);
        EXPECT_EQ(ValuesOf(lut.outputTable, 0, shape.a2b ? 6 : 9), shape.a2b ? fromB : fromA);
    }
}

TEST(LutConversion, TakesNoCurveShorterThanTheFirst) {
    for (const Shape& shape : {kA2B, kB2A}) {
        for (std::size_t curve = 0; curve < 6; ++curve) {
            if (curve % 3 == 0) continue;
            std::vector<Values> a = shape.A(), b = shape.B();
            (curve < 3 ? a[curve] : b[curve - 3]).pop_back();
            CLut source;
            LoadSource(source, shape, shape.Head(), a, b);
            EXPECT_TRUE(HasNone(CLut16Type(&source))) << curve;
        }
    }
}

TEST(LutConversion, CountsTheEntriesOfACurveInSixteenBits) {
    // 65,537 entries leave 1: only the first entry of each curve is taken.
    for (const Shape& shape : {kA2B, kB2A}) {
        for (const unsigned entries : {0U, 65535U, 65536U, 65537U, 65538U}) {
            const unsigned taken = entries % 65536;
            CLut source;
            LoadSource(source, shape);
            Values expected;
            for (unsigned c = 0; c < 3; ++c) {
                Values values(entries, 100 + c);
                expected.insert(expected.end(), taken, 100 + c);
                for (auto* curve : {&source.aCurves[c], &source.bCurves[c]}) {
                    *curve = std::make_unique<CCurveType>();
                    Load(**curve, "A2B0", CurveBlock(values));
                    ASSERT_EQ((*curve)->curveCount, entries);
                }
            }
            const CLut16Type lut(&source);
            ASSERT_TRUE(HasAll(lut)) << entries;
            EXPECT_EQ(lut.inputEnt, taken);
            EXPECT_EQ(lut.outputEnt, taken);
            EXPECT_THAT(ValuesOf(lut.inputTable, 0, 3 * taken), EqualTo(expected)) << entries;
            EXPECT_THAT(ValuesOf(lut.outputTable, 0, 3 * taken), EqualTo(expected)) << entries;
        }
    }
}

// --- grids

TEST(LutConversion, TakesTheFirstAxisOfTheGridForAll) {
    struct Row {
        Values points;
        bool converted;
    };
    for (const Row& row : {Row{{2, 3, 3}, true}, Row{{2, 2, 2}, true}, Row{{2, 8, 1}, true}, Row{{2, 4, 1}, true},
                           Row{{2, 3, 1}, false}, Row{{3, 2, 2}, false}, Row{{3, 3, 3}, true}, Row{{3, 9, 1}, true}}) {
        CLut source;
        const std::size_t nodes = std::size_t{row.points[0]} * row.points[1] * row.points[2];
        Load(source, "A2B0",
             AbBlock(3, 2)
                 .Curves(AbBlock::kB, CurvesOf(2, 3, 10))
                 .Grid(row.points, TableValues(0, nodes * 2))
                 .Curves(AbBlock::kA, CurvesOf(3, 3, 20))
                 .Done());
        const CLut16Type lut(&source);
        EXPECT_EQ(lut.clutPoints, row.points[0]);
        EXPECT_EQ(HasAll(lut), row.converted);
        EXPECT_EQ(HasNone(lut), !row.converted);
        if (!row.converted) continue;
        const std::size_t values = Power(row.points[0], 3) * 2;
        EXPECT_THAT(ValuesOf(lut.clutTable, 0, values), EqualTo(TableValues(0, values))) << "from its start on";
    }
}

TEST(LutConversion, NeedsAGridOfWordsThatHoldsEveryNodeToTheLastByte) {
    struct Row {
        unsigned precision;
        std::uint64_t bytes;
        bool data, grid;
    };
    for (const auto& [precision, bytes, data, grid] :
         {Row{2, 48, true, true}, Row{2, 47, true, true}, Row{2, 46, true, true}, Row{2, 0, true, true},
          Row{0, 48, true, true}, Row{1, 48, true, true}, Row{3, 48, true, true}, Row{4, 48, true, true},
          Row{255, 48, true, true}, Row{2, 48, false, true}, Row{2, 48, false, false}}) {
        CLut source;
        LoadSource(source, kA2B);
        ASSERT_EQ(source.clut->gridBytes, 48U);
        source.clut->precision = static_cast<std::uint8_t>(precision);
        source.clut->gridBytes = bytes;
        if (!data) source.clut->gridData.reset();
        if (!grid) source.clut.reset();
        const bool converted = precision == 2 && bytes == 48 && data;
        EXPECT_EQ(HasAll(CLut16Type(&source)), converted) << bytes << " bytes, precision " << precision;
        EXPECT_EQ(HasNone(CLut16Type(&source)), !converted);
    }
}

TEST(LutConversion, CountsTheNodesOfAGridWideEnough) {
    // 128 to the power of 7 is 2 to the power of 49, 0 in 32 bits; 255 to the power of 7 is larger still.
    for (const unsigned points : {64U, 128U, 255U}) {
        CLut source;
        LoadSource(source, {"A2B0", 7, 3, 1, true});
        source.clut->gridPoints[0] = static_cast<std::uint8_t>(points);
        const CLut16Type lut(&source);
        EXPECT_TRUE(HasNone(lut)) << points;
        EXPECT_EQ(lut.clutPoints, points);
    }
}

TEST(LutConversion, FillsTheGridOfFewInputsUpToACubeWithZeros) {
    for (const unsigned in : {1U, 2U, 3U}) {
        CLut source;
        LoadSource(source, {"A2B0", in, 2, 5, true});
        const CLut16Type lut(&source);
        ASSERT_TRUE(HasAll(lut));
        const std::size_t taken = Power(5, in) * 2;
        EXPECT_THAT(ValuesOf(lut.clutTable, 0, taken), EqualTo(TableValues(0, taken)));
        EXPECT_THAT(ValuesOf(lut.clutTable, taken, 250 - taken), EqualTo(Values(250 - taken))) << in;
    }
}

}  // namespace
}  // namespace hueweave::test::icc
