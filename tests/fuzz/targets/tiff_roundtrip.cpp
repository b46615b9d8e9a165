// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Three generations of a TIFF file: each is byte for byte what the plain statement makes of the one before.
#include "Mutation.h"
#include "TiffCompare.h"

HUEWEAVE_FUZZ_MUTATOR(0, MutateTiff);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hueweave::fuzz;
    static const ScratchFile source, dest;
    Bytes file(data, data + size);
    const std::size_t descriptors = OpenDescriptors();
    for (int generation = 0; generation < 3; ++generation) {
        source.Put(file);
        dest.Put(file);  // what was there before does not show through
        hueweave::test::ReferenceTiff reference;
        reference.Read(file);
        Orvix_Tiff_STL2::Tiff tiff;
        Require(tiff.ReadFile(source.Path()) == 0, "read");
        const PrintWatch printed;
        const HeapWatch heap;
        Require(tiff.SaveFile(dest.Path()) == 0, "saved");
        Require(heap.Peak() <= 65536, "saving takes no heap to speak of");
        const bool empty = reference.tags.empty();
        Require(printed.Text() == (empty ? "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***\n" : ""), "lines");
        const Bytes expected = empty ? Bytes() : reference.Save();
        Require(dest.Get() == expected, "the file of the plain statement");
        CheckTags(tiff, reference);  // saving settles the offsets in the tags
        Require(source.Get() == file, "the source is as it was");
        if (empty || expected.size() > 4 * size + 65536) break;  // images of zeros would only be slow
        file = expected;
    }
    Orvix_Tiff_STL2::Tiff tiff;
    tiff.ReadFile(source.Path());
    Require(tiff.SaveFile("/proc/self/fd/none") == 0 && tiff.SaveFile(nullptr) == 0, "nowhere to save");
    Require(OpenDescriptors() == descriptors, "every stream is closed");
    return 0;
}
