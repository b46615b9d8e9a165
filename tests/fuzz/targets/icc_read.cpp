// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A profile read from a file and from memory, compared with the reference reader, and the heap used for reading.
#include "IccModel.h"
#include "Mutation.h"

HUEWEAVE_FUZZ_MUTATOR(0, MutateIcc);

void hueweave::fuzz::RunTarget(FuzzInput& input) {
    static const ScratchFile file;
    const Bytes bytes = input.Rest();
    file.Put(bytes);
    const test::TagList tags = test::ReadTags(bytes);
    for (const bool fromMemory : {false, true}) {
        ICC40::ICCFILE::IccFile4 profile;
        const HeapWatch heap;
        Require((fromMemory ? profile.ReadFile(bytes) : profile.ReadFile(file.Path())) == 0, "what opens is read");
        Require(heap.Peak() <= IccHeap(bytes.size()), "heap of a reading");
        CheckProfile(profile, bytes, tags);
        if (fromMemory) continue;
        // A second read adds its tags to those of the first; a reset removes all.
        Require(profile.ReadFile(file.Path()) == 0, "read once more");
        Require(profile.tagList.size() == 2 * tags.size(), "tags are added");
        profile.Reset();
        Require(profile.tagList.empty(), "a reset leaves no tag");
        Require(profile.ReadFile(kNoFile) == -2, "a file that is not there");
    }
    Require(file.Get() == bytes, "the file is as it was");
}
