// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Plain tables of every shape at and beside the limits, each whole and with its last entries cut off: what is too large
// or not all there is refused, everything else is taken.
#include "hostile/Hostile.h"

namespace hueweave::test {
namespace {

/// The fields of a table that decide, and how many bytes its block is too short.
struct Shape {
    unsigned inputs = 3, outputs = 3, points = 3, inputEntries = 5, outputEntries = 5;
    std::size_t missing = 0;

    /// Bytes of a block that holds the three tables. The grid is a cube whatever the number of inputs is.
    std::size_t Needed() const {
        const std::size_t entries = std::size_t{inputs} * inputEntries + std::size_t{outputs} * outputEntries;
        return 52 + 2 * (entries + std::size_t{points} * points * points * outputs);
    }
    bool Taken() const {
        return missing == 0 && inputs <= 3 && outputs <= 7 && points >= 2 && points <= 33 && inputEntries <= 4096 &&
               outputEntries <= 4096;
    }
    std::string Name() const {
        return "In" + std::to_string(inputs) + "Out" + std::to_string(outputs) + "Points" + std::to_string(points) +
               "Entries" + std::to_string(inputEntries) + "And" + std::to_string(outputEntries) +
               (missing == 0 ? "" : "CutShort");
    }
    Bytes Block() const {
        ByteWriter out;
        out.Text("mft2").Fill(4);
        for (const unsigned field : {inputs, outputs, points, 0U}) out.Fill(1, static_cast<unsigned char>(field));
        out.Fill(36).Big16(static_cast<std::uint16_t>(inputEntries)).Big16(static_cast<std::uint16_t>(outputEntries));
        Bytes block = out.Done();
        while (block.size() < Needed()) block.push_back(static_cast<unsigned char>(block.size() * 37));
        block.resize(Needed() - missing);
        return block;
    }
};
void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.Name(); }

/// Every field alone through its limits, whole and cut short; then all near the limits together.
std::vector<Shape> Shapes() {
    std::vector<Shape> shapes;
    const auto vary = [&](unsigned Shape::*field, std::initializer_list<unsigned> values) {
        for (const unsigned value : values) {
            // Four bytes: no rounding of the block's size makes up for them.
            for (const std::size_t missing : {0U, 4U}) {
                shapes.push_back({.missing = missing});
                shapes.back().*field = value;
            }
        }
    };
    vary(&Shape::inputs, {0, 1, 2, 4, 5, 7, 8, 15, 16, 128, 255});
    vary(&Shape::outputs, {0, 1, 2, 4, 5, 6, 7, 8, 9, 16, 255});
    vary(&Shape::points, {0, 1, 2, 4, 5, 8, 9, 15, 16, 17, 25, 31, 32, 33, 34, 35, 40});
    vary(&Shape::inputEntries, {0, 1, 2, 3, 4095, 4096, 4097, 8192, 65535});
    vary(&Shape::outputEntries, {0, 1, 2, 3, 4095, 4096, 4097, 8192, 65535});
    for (const unsigned inputs : {0U, 3U, 4U}) {
        for (const unsigned outputs : {0U, 7U, 8U}) {
            for (const unsigned points : {1U, 2U, 33U, 34U}) {
                for (const unsigned entries : {4096U, 4097U}) {
                    shapes.push_back({inputs, outputs, points, entries, entries});
                }
            }
        }
    }
    return shapes;
}

class ShapeTest : public HostileTest, public testing::WithParamInterface<Shape> {};

TEST_P(ShapeTest, IsTakenWithinTheLimitsAndRefusedBeyond) {
    const std::string path = Put("shape.icc", MiniProfile({{"A2B0", GetParam().Block()}}));
    EXPECT_EQ(Bind(path), GetParam().Taken() ? 8 : kNone);
    EXPECT_EQ(EffectOfConversion() == Effect::Refused, !GetParam().Taken());
}

std::vector<Shape> ShapesThatAre(bool taken) {
    std::vector<Shape> shapes = Shapes();
    std::erase_if(shapes, [=](const Shape& shape) { return shape.Taken() != taken; });
    return shapes;
}

INSTANTIATE_TEST_SUITE_P(Bad, ShapeTest, testing::ValuesIn(ShapesThatAre(false)),
                         [](const auto& row) { return row.param.Name(); });
INSTANTIATE_TEST_SUITE_P(Sound, ShapeTest, testing::ValuesIn(ShapesThatAre(true)),
                         [](const auto& row) { return row.param.Name(); });

}  // namespace
}  // namespace hueweave::test
