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
Values Joined(const std::vector<Values>& curves) {
    Values all;
    for (const Values& curve : curves) all.insert(all.end(), curve.begin(), curve.end());
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
    bool a2b = std::string_view(name).starts_with("A2B");

    std::size_t GridValues() const { return Power(points, in) * out; }
    std::vector<Values> A() const { return CurvesOf(a2b ? in : out, kAEntries, 20000); }
    std::vector<Values> B() const { return CurvesOf(a2b ? out : in, kBEntries, 10000); }
    /// The tag without its curves and grid.
    AbBlock Head() const { return {in, out, a2b ? "mAB " : "mBA "}; }
};
constexpr Shape kA2B{"A2B0", 3, 3, 2}, kB2A{"B2A0", 3, 3, 2};

/// A tag with these curves; by default each side has as many as its name and its channels require.
class Source : public CLut {
public:
    Source(const Shape& shape, AbBlock head, const std::vector<Values>& a, const std::vector<Values>& b) {
        Load(*this, shape.name,
             head.Curves(AbBlock::kB, b)
                 .Grid(Values(shape.in, shape.points), TableValues(0, shape.GridValues()))
                 .Curves(AbBlock::kA, a)
                 .Done());
    }
    explicit Source(const Shape& shape) : Source(shape, shape.Head(), shape.A(), shape.B()) {}
};

/// Checks the whole table that such a tag gives.
void ExpectConverted(const CLut16Type& lut, const Shape& shape) {
    ASSERT_EQ(TablesIn(lut), 3);
    EXPECT_EQ(lut.inputChan, shape.in);
    EXPECT_EQ(lut.outputChan, shape.out);
    EXPECT_EQ(lut.clutPoints, shape.points);
    EXPECT_EQ(lut.inputEnt, shape.a2b ? kAEntries : kBEntries);
    EXPECT_EQ(lut.outputEnt, shape.a2b ? kBEntries : kAEntries);
    const Values a = Joined(shape.A()), b = Joined(shape.B());
    const Values &input = shape.a2b ? a : b, &output = shape.a2b ? b : a;
    EXPECT_THAT(ValuesOf(lut.inputTable, 0, input.size()), EqualTo(input));
    EXPECT_THAT(ValuesOf(lut.clutTable, 0, shape.GridValues()), EqualTo(TableValues(0, shape.GridValues())));
    EXPECT_THAT(ValuesOf(lut.outputTable, 0, output.size()), EqualTo(output));
    EXPECT_EQ(lut.matrix, (std::array<std::uint32_t, 9>{}));
}

/// A name that is not A2B counts as the reverse direction.
constexpr Shape kConvertible[] = {{"A2B0", 3, 3, 2}, {"A2B1", 3, 2, 3}, {"A2B2", 2, 3, 4}, {"A2B0", 1, 1, 5},
                                  {"A2B1", 4, 3, 3}, {"A2B2", 7, 3, 2}, {"A2Bz", 3, 1, 2}, {"B2A0", 3, 3, 2},
                                  {"B2A1", 3, 4, 3}, {"B2A2", 3, 7, 2}, {"B2A0", 1, 4, 5}, {"B2A0", 2, 1, 3},
                                  {"pre0", 3, 3, 2}, {"a2b0", 3, 3, 2}, {"A2A0", 3, 3, 2}};

TEST(CLut16TypeFromCLut, CopiesCurvesAndGridByDirection) {
    for (const Shape& shape : kConvertible) {
        SCOPED_TRACE(std::string(shape.name) + " " + std::to_string(shape.in) + " to " + std::to_string(shape.out));
        auto source = std::make_unique<Source>(shape);
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

TEST(CLut16TypeFromCLut, IgnoresMatrixAndMCurves) {
    ByteWriter matrix;
    for (std::uint32_t i = 0; i < 12; ++i) matrix.Big32(0x8000 + i * 0x1111);
    for (const Shape& shape : {kA2B, kB2A}) {
        for (const AbBlock& head :
             {shape.Head().Raw(AbBlock::kMatrix, matrix.Done()),
              shape.Head().Curves(AbBlock::kM, {{9, 8, 7}, {6, 5, 4}, {3, 2, 1}}),
              shape.Head().Raw(AbBlock::kMatrix, matrix.Done()).Curves(AbBlock::kM, {{40000}}),
              shape.Head().Offset(AbBlock::kMatrix, 0xffffffffU).Offset(AbBlock::kM, 0xfffffff0U)}) {
            Source source(shape, head, shape.A(), shape.B());
            ExpectConverted(CLut16Type(&source), shape);
        }
    }
}

TEST(CLut16TypeFromCLut, HasNoTablesWithoutASource) { EXPECT_EQ(TablesIn(CLut16Type(static_cast<CLut*>(nullptr))), 0); }

TEST(CLut16TypeFromCLut, HasRoomForSevenACurvesAndThreeBCurves) {
    for (const Shape& shape : {Shape{"A2B0", 8, 3, 1}, Shape{"A2B0", 255, 255, 1}, Shape{"A2B0", 3, 4, 2},
                               Shape{"B2A0", 3, 8, 2}, Shape{"B2A0", 4, 3, 2}, Shape{"A2B0", 0, 3, 2},
                               Shape{"A2B0", 3, 0, 2}, Shape{"B2A0", 0, 3, 2}, Shape{"B2A0", 3, 0, 2}}) {
        SCOPED_TRACE(std::string(shape.name) + " " + std::to_string(shape.in) + " to " + std::to_string(shape.out));
        const Source source(shape);
        const CLut16Type lut(&source);
        EXPECT_EQ(TablesIn(lut), 0);
        EXPECT_EQ(lut.inputChan, shape.in);
        EXPECT_EQ(lut.outputChan, shape.out);
    }
}

TEST(CLut16TypeFromCLut, RequiresAllCurvesAndNoneShorterThanTheFirst) {
    for (const Shape& shape : {kA2B, kB2A}) {
        for (std::size_t c = 0; c < 6; ++c) {
            Source source(shape);
            std::unique_ptr<CCurveType>& curve = c < 3 ? source.aCurves[c] : source.bCurves[c - 3];
            --curve->curveCount;
            EXPECT_EQ(TablesIn(CLut16Type(&source)), c % 3 == 0 ? 3 : 0) << "shorter curve " << c;
            curve.reset();
            EXPECT_EQ(TablesIn(CLut16Type(&source)), 0) << "without curve " << c;
        }
    }
}

TEST(CLut16TypeFromCLut, CutsCurvesToTheLengthOfTheFirst) {
    for (const Shape& shape : {kA2B, kB2A}) {
        Source source(shape, shape.Head(), {{1, 2, 3}, {4, 5, 6, 7, 8}, {9, 10, 11, 12}},
                      {{21, 22}, {23, 24}, {25, 26, 27}});
        const CLut16Type lut(&source);
        ASSERT_EQ(TablesIn(lut), 3);
        const Values fromA = {1, 2, 3, 4, 5, 6, 9, 10, 11}, fromB = {21, 22, 23, 24, 25, 26};
        EXPECT_EQ(ValuesOf(lut.inputTable, 0, shape.a2b ? 9 : 6), shape.a2b ? fromA : fromB);
        EXPECT_EQ(ValuesOf(lut.outputTable, 0, shape.a2b ? 6 : 9), shape.a2b ? fromB : fromA);
    }
}

TEST(CLut16TypeFromCLut, CountsTheEntriesOfACurveInSixteenBits) {
    // 65,537 entries leave 1: only the first entry of each curve is taken.
    for (const Shape& shape : {kA2B, kB2A}) {
        for (const unsigned entries : {0U, 65535U, 65536U, 65537U, 65538U}) {
            SCOPED_TRACE(entries);
            const auto curvesOf = [](unsigned length) {
                return std::vector<Values>{Values(length, 100), Values(length, 101), Values(length, 102)};
            };
            const Source source(shape, shape.Head(), curvesOf(entries), curvesOf(entries));
            ASSERT_EQ(source.aCurves[2]->curveCount, entries);
            const CLut16Type lut(&source);
            ASSERT_EQ(TablesIn(lut), 3);
            const unsigned taken = entries % 65536;
            EXPECT_EQ(lut.inputEnt, taken);
            EXPECT_EQ(lut.outputEnt, taken);
            EXPECT_THAT(ValuesOf(lut.inputTable, 0, 3 * taken), EqualTo(Joined(curvesOf(taken))));
            EXPECT_THAT(ValuesOf(lut.outputTable, 0, 3 * taken), EqualTo(Joined(curvesOf(taken))));
        }
    }
}

TEST(CLut16TypeFromCLut, TakesTheFirstAxisOfTheGridForAll) {
    struct Row {
        Values points;
        bool converted;
    };
    for (const Row& row : {Row{{2, 3, 3}, true}, Row{{2, 2, 2}, true}, Row{{2, 8, 1}, true}, Row{{2, 4, 1}, true},
                           Row{{2, 3, 1}, false}, Row{{3, 2, 2}, false}, Row{{3, 3, 3}, true}, Row{{3, 9, 1}, true}}) {
        const std::size_t nodes = std::size_t{row.points[0]} * row.points[1] * row.points[2];
        AbBlock block(3, 2);
        block.Curves(AbBlock::kB, CurvesOf(2, 3, 10)).Curves(AbBlock::kA, CurvesOf(3, 3, 20));
        const Loaded<CLut> source("A2B0", block.Grid(row.points, TableValues(0, nodes * 2)).Done());
        const CLut16Type lut(&source);
        EXPECT_EQ(lut.clutPoints, row.points[0]);
        EXPECT_EQ(TablesIn(lut), row.converted ? 3 : 0);
        if (!row.converted) continue;
        const std::size_t values = Power(row.points[0], 3) * 2;
        EXPECT_THAT(ValuesOf(lut.clutTable, 0, values), EqualTo(TableValues(0, values))) << "from its start on";
    }
}

TEST(CLut16TypeFromCLut, RequiresACompleteGridOf16BitNodes) {
    struct Row {
        unsigned precision;
        std::uint64_t bytes;
        bool data, grid;
    };
    for (const auto& [precision, bytes, data, grid] :
         {Row{2, 48, true, true}, Row{2, 47, true, true}, Row{2, 46, true, true}, Row{2, 0, true, true},
          Row{0, 48, true, true}, Row{1, 48, true, true}, Row{3, 48, true, true}, Row{4, 48, true, true},
          Row{255, 48, true, true}, Row{2, 48, false, true}, Row{2, 48, false, false}}) {
        Source source(kA2B);
        ASSERT_EQ(source.clut->gridBytes, 48U);
        source.clut->precision = static_cast<std::uint8_t>(precision);
        source.clut->gridBytes = bytes;
        if (!data) source.clut->gridData.reset();
        if (!grid) source.clut.reset();
        const bool converted = precision == 2 && bytes == 48 && data;
        EXPECT_EQ(TablesIn(CLut16Type(&source)), converted ? 3 : 0) << bytes << " bytes, precision " << precision;
    }
}

TEST(CLut16TypeFromCLut, CountsTheGridNodesWithoutOverflow) {
    // 128 to the power of 7 is 2 to the power of 49, 0 in 32 bits; 255 to the power of 7 is larger still.
    for (const unsigned points : {64U, 128U, 255U}) {
        Source source(Shape{"A2B0", 7, 3, 1});
        source.clut->gridPoints[0] = static_cast<std::uint8_t>(points);
        const CLut16Type lut(&source);
        EXPECT_EQ(TablesIn(lut), 0) << points;
        EXPECT_EQ(lut.clutPoints, points);
    }
}

TEST(CLut16TypeFromCLut, FillsTheGridOfFewInputsUpToACubeWithZeros) {
    for (const unsigned in : {1U, 2U, 3U}) {
        Source source(Shape{"A2B0", in, 2, 5});
        const CLut16Type lut(&source);
        ASSERT_EQ(TablesIn(lut), 3);
        const std::size_t taken = Power(5, in) * 2;
        EXPECT_THAT(ValuesOf(lut.clutTable, 0, taken), EqualTo(TableValues(0, taken)));
        EXPECT_THAT(ValuesOf(lut.clutTable, taken, 250 - taken), EqualTo(Values(250 - taken))) << in;
    }
}

}  // namespace
}  // namespace hueweave::test::icc
