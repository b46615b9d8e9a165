// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Three generations of a TIFF file: each is byte for byte the reference's output for the one before.
#include "Mutation.h"
#include "TiffCompare.h"

HUEWEAVE_FUZZ_MUTATOR(0, MutateTiff);

void hueweave::fuzz::RunTarget(FuzzInput& input) {
    static const ScratchFile source, dest;
    Bytes file = input.Rest();
    const std::ptrdiff_t descriptors = OpenFiles();
    const std::size_t most = 4 * file.size() + 65536;
    for (int generation = 0; generation < 3; ++generation) {
        source.Put(file);
        dest.Put(file);  // so that saving must replace earlier contents
        test::ReferenceTiff reference;
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
        CheckTags(tiff, reference);  // saving updates the offsets in the tags
        Require(source.Get() == file, "the source is as it was");
        Require(tiff.SaveFile(kNoFile) == 0 && tiff.SaveFile(nullptr) == 0, "nowhere to save");
        if (empty || expected.size() > most) break;  // images of zeros would only take time
        file = expected;
    }
    Require(OpenFiles() == descriptors, "every stream is closed");
}
