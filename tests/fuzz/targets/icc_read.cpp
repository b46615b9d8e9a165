// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A profile as it is read from a file and from memory, beside the plain model, and what the reading takes of the heap.
#include "FuzzInput.h"
#include "IccModel.h"
#include "Mutation.h"
#include "iccfile/IccFile4.h"

HUEWEAVE_FUZZ_MUTATOR(0, MutateIcc);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hueweave::fuzz;
    static const ScratchFile file;
    file.Put({data, size});
    const Bytes bytes(data, data + size);
    const ModelProfile model = ReadModel(bytes);
    {
        ICC40::ICCFILE::IccFile4 profile;
        const HeapWatch heap;
        Require(profile.ReadFile(file.Path()) == 0, "a file that opens is read");
        // A block is copied once as it stands and at most four times decoded.
        Require(heap.Peak() <= 6 * (8 * size + (4U << 20)) + 65536, "heap of a reading");
        CheckProfile(profile, model);
        // A second reading adds its tags to those of the first; a reset takes all away.
        Require(profile.ReadFile(file.Path()) == 0, "read once more");
        Require(profile.tagList.size() == 2 * model.tags.size(), "tags are added");
        profile.Reset();
        Require(profile.tagList.empty(), "a reset leaves no tag");
        Require(profile.ReadFile("/proc/self/fd/none") == -2, "a file that is not there");
    }
    {
        ICC40::ICCFILE::IccFile4 profile;
        const HeapWatch heap;
        Require(profile.ReadFile(bytes) == 0, "memory is read");
        Require(heap.Peak() <= 6 * (8 * size + (4U << 20)) + 65536, "heap of a reading from memory");
        CheckProfile(profile, model);
    }
    Require(file.Get() == bytes, "the file is as it was");
    return 0;
}
