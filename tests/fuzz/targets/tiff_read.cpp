// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A TIFF file read through each of the three entry points, compared with the reference reader.
#include "Mutation.h"
#include "TiffCompare.h"
#include "base/FileHandle.h"

HUEWEAVE_FUZZ_MUTATOR(0, MutateTiff);

void hueweave::fuzz::RunTarget(FuzzInput& input) {
    using namespace Orvix_Tiff_STL2;
    static const ScratchFile file;
    const Bytes bytes = input.Rest();
    file.Put(bytes);
    test::ReferenceTiff reference;
    const int expected = reference.Read(bytes);
    const std::ptrdiff_t descriptors = OpenFiles();
    {
        const FileHandle stream = OpenForReading(file.Path());
        Tiff tiff;
        const HeapWatch heap;
        Require(tiff.ReadTiff(stream.get()) == expected, "result of a reading");
        Require(heap.Peak() <= TiffHeap(bytes.size()), "heap of a reading");
        CheckTags(tiff, reference);
        Require(std::fseek(stream.get(), 0, SEEK_SET) == 0, "the stream is still open");
        Require(tiff.ReadFile(file.Path()) == 0, "a file that is refused is no failure here");
        CheckTags(tiff, reference);
        tiff.Reset();
        Require(tiff.tags.empty(), "a reset leaves no tag");
    }
    CTiff tiff;
    for (int times = 0; times < 2; ++times) {  // the second read starts with an empty list
        Require(tiff.ReadFile(file.Path()) == 0, "result of a reading");
        CheckTags(tiff, reference);
        CheckGeometry(tiff, reference);
    }
    Require(tiff.ReadFile(kNoFile) == 0, "a file that is not there");
    Require(tiff.imageBuf == nullptr && tiff.tags.empty(), "nothing is left of the file before");
    Require(OpenFiles() == descriptors, "every stream is closed");
    Require(file.Get() == bytes, "the file is as it was");
}
