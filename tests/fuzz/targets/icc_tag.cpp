// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// One block of any length under every kind of name: no byte behind it is read, and what is decoded is what it says.
#include <algorithm>
#include <iterator>

#include "FuzzInput.h"
#include "IccModel.h"
#include "Mutation.h"
#include "iccfile/IccFile4.h"
#include "iccfile/SimpleTags.h"

using namespace hueweave::fuzz;

namespace {

constexpr const char* kNames[] = {"A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "wtpt",
                                  "rXYZ", "chad", "rTRC", "bTRC", "desc", "cprt", "none"};

/// The form of a curve that is told no size: it is given room for all that its count announces.
void CheckOpenCurve(Bytes block) {
    block.resize(std::max<std::size_t>(block.size(), 12));
    if (Word(block, 8) > 100000) return;
    block.resize(std::max<std::size_t>(block.size(), 12 + 2 * std::size_t{Word(block, 8)}));
    block.resize(12 + 2 * std::size_t{Word(block, 8)});
    block.shrink_to_fit();
    ICC40::ICCFILE::CCurveType curve;
    const unsigned taken = curve.Initial(ICC40::ICC4_HEADER::TagName("rTRC"), block.data());
    Require(curve.curveCount == Word(block, 8), "entries of an open curve");
    Require(taken == 2 * curve.curveCount + 14 && curve.tagSize == taken, "step of an open curve");
    for (std::size_t i = 0; i < curve.curveCount; ++i) {
        Require(curve.curve[i] == Half(block, 12 + 2 * i), "entry of an open curve");
    }
}

}  // namespace

HUEWEAVE_FUZZ_MUTATOR(1, MutateBlock);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const char* text = kNames[input.Below(std::size(kNames))];
    const Bytes letters(text, text + 4);
    const std::uint32_t name = Word(letters, 0);
    const Bytes block = input.Rest();
    Bytes given = block;
    given.shrink_to_fit();

    ICC40::ICCFILE::IccFile4 factory;
    const HeapWatch heap;
    const auto tag = factory.CreateNewTag(static_cast<ICC40::ICCFILE::icTagSignature>(name), given.data(),
                                          static_cast<int>(given.size()));
    Require(heap.Peak() <= 6 * given.size() + 4096, "heap of a tag");
    Require(tag != nullptr, "there is a class for every block");
    CheckTag(*tag, name, block);
    Require(given == block, "the block is as it was");
    // Reading and saving are the container's: these two do nothing.
    Require(tag->Read(nullptr) == 0 && tag->Save(nullptr) == 0, "empty operations");
    CheckOpenCurve(block);
    return 0;
}
