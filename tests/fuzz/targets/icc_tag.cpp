// SPDX-License-Identifier: MIT
// One block of any length under every kind of name: no byte after it is read, the decoded values are those of the
// block, and a table of curves and a grid has the form for the units that the reference reads from it.
#include "IccModel.h"
#include "Mutation.h"
#include "iccfile/LutTags.h"
#include "support/ReferenceProfile.h"

namespace hueweave::fuzz {
namespace {

using ICC40::ICCFILE::CLut;
using ICC40::ICCFILE::CLut16Type;

constexpr const char* kNames[] = {"A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "wtpt",
                                  "rXYZ", "chad", "rTRC", "bTRC", "desc", "cprt", "none"};

/// The overload of a curve without a size: the block has room for all entries that its count announces.
void CheckOpenCurve(Bytes block) {
    const std::size_t count = Big32At(block, 8);
    if (count > 100000) return;
    block.resize(12 + 2 * count);
    block.shrink_to_fit();
    ICC40::ICCFILE::CCurveType curve;
    const unsigned taken = curve.Initial(ICC40::ICC4_HEADER::TagName("rTRC"), block.data());
    CheckEntries(curve, block, 0, count);
    Require(taken == 2 * count + 14 && curve.tagSize == taken, "step of an open curve");
}

void CheckConverted(const CLut& source, const Bytes& block) {
    const HeapWatch heap;
    const CLut16Type lut(&source);
    // A cube of 33 points, where the grid of the block may have only one axis.
    Require(heap.Peak() <= 4 * block.size() + 2 * std::size_t{33 * 33 * 33} * 7 + 4096, "heap of a conversion");
    if (!std::equal(block.begin(), block.begin() + 4, "mAB ")) return;
    // With more points no unit takes the table, and the reference would make a large cube of it.
    const bool large = source.clut != nullptr && source.clut->gridPoints[0] > 33;
    const auto expected = large ? std::nullopt : test::DecodeLutTag(block);
    Require(lut.Usable() == expected.has_value(), "what can be used");
    if (!expected) return;
    Require(lut.inputChan == expected->inputs && lut.outputChan == expected->outputs, "channels");
    Require(lut.clutPoints == expected->points, "points");
    Require(lut.inputEnt == expected->inputEntries && lut.outputEnt == expected->outputEntries, "entries");
    const auto same = [](const test::Curve& values, const auto& table) {
        return std::equal(values.begin(), values.end(), table.get());
    };
    Require(same(expected->input, lut.inputTable) && same(expected->output, lut.outputTable), "curves");
    Require(same(expected->grid, lut.clutTable), "grid");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    const std::string name = kNames[input.Below(std::size(kNames))];
    const Bytes block = input.Rest();
    Bytes given = block;
    ICC40::ICCFILE::IccFile4 factory;
    const auto signature = static_cast<ICC40::ICCFILE::icTagSignature>(Big32At(Bytes(name.begin(), name.end()), 0));
    const HeapWatch heap;
    const auto tag = factory.CreateNewTag(signature, given.data(), static_cast<int>(given.size()));
    Require(heap.Peak() <= 6 * given.size() + 4096, "heap of a tag");
    Require(tag != nullptr, "there is a class for every block");
    CheckTag(*tag, name, block);
    Require(given == block, "the block is as it was");
    // The container reads and saves tags: these two functions do nothing.
    Require(tag->Read(nullptr) == 0 && tag->Save(nullptr) == 0, "empty operations");
    CheckOpenCurve(block);
    if (const auto* table = dynamic_cast<const CLut*>(tag.get())) CheckConverted(*table, block);
}

HUEWEAVE_FUZZ_MUTATOR(1, TagLayout);

}  // namespace hueweave::fuzz
