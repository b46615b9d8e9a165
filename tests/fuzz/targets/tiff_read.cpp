// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A TIFF file as it is read, through each of the three doors, beside the plain statement of the same.
#include <memory>

#include "Mutation.h"
#include "TiffCompare.h"
#include "base/FileHandle.h"

HUEWEAVE_FUZZ_MUTATOR(0, MutateTiff);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hueweave::fuzz;
    using namespace Orvix_Tiff_STL2;
    static const ScratchFile file;
    file.Put({data, size});
    const Bytes bytes(data, data + size);
    hueweave::test::ReferenceTiff reference;
    const int expected = reference.Read(bytes);
    {
        const FileHandle stream = OpenForReading(file.Path());
        Tiff tiff;
        const HeapWatch heap;
        Require(tiff.ReadTiff(stream.get()) == expected, "result of a reading");
        Require(heap.Peak() <= TiffHeap(size), "heap of a reading");
        CheckTags(tiff, reference);
        Require(std::fseek(stream.get(), 0, SEEK_SET) == 0, "the stream is still open");
    }
    const std::size_t descriptors = OpenDescriptors();
    {
        Tiff tiff;
        Require(tiff.ReadFile(file.Path()) == 0, "a file that is refused is no failure here");
        CheckTags(tiff, reference);
        tiff.Reset();
        Require(tiff.tags.empty(), "a reset leaves no tag");
    }
    {
        CTiff tiff;
        Require(tiff.ReadFile(file.Path()) == 0, "result of a reading");
        CheckTags(tiff, reference);
        CheckGeometry(tiff, reference);
        // A second reading starts from an empty list.
        Require(tiff.ReadFile(file.Path()) == 0, "read once more");
        CheckTags(tiff, reference);
        Require(tiff.ReadFile("/proc/self/fd/none") == 0, "a file that is not there");
        Require(tiff.imageBuf == nullptr && tiff.tags.empty(), "nothing is left of the file before");
    }
    Require(OpenDescriptors() == descriptors, "every stream is closed");
    Require(file.Get() == bytes, "the file is as it was");
    return 0;
}
