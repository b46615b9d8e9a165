// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// One block of any length under every kind of name: no byte after it is read, and the decoded values are those of the
// block.
#include <iterator>

#include "IccModel.h"
#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

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
}

HUEWEAVE_FUZZ_MUTATOR(1, MutateTag);

}  // namespace hueweave::fuzz
