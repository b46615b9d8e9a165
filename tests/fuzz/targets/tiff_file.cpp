// SPDX-License-Identifier: MIT
// A TIFF file read through each of the three entry points, compared with the reference reader, and saved three times
// over: each generation is byte for byte the reference's output for the one before.
#include "Mutation.h"
#include "TiffCompare.h"
#include "base/FileHandle.h"

namespace hueweave::fuzz {
namespace {

using namespace Orvix_Tiff_STL2;

void CheckRead(const ScratchFile& file, const Bytes& bytes) {
    test::ReferenceTiff reference;
    const int expected = reference.Read(bytes);
    Tiff tags;
    {
        const FileHandle stream = OpenForReading(file.Path());
        const HeapWatch heap;
        Require(tags.ReadTiff(stream.get()) == expected, "result of a reading");
        Require(heap.Peak() <= TiffHeap(bytes.size()), "heap of a reading");
        Require(std::fseek(stream.get(), 0, SEEK_SET) == 0, "the stream is still open");
    }
    CheckTags(tags, reference);
    CTiff tiff;
    for (int times = 0; times < 2; ++times) {  // the second read starts with an empty list
        Require(tiff.ReadFile(file.Path()) == 0, "a file that is refused is no failure here");
        CheckTags(tiff, reference);
        CheckGeometry(tiff, reference);
    }
    Require(tiff.ReadFile(kNoFile) == 0, "a file that is not there");
    Require(tiff.imageBuf == nullptr && tiff.tags.empty(), "nothing is left of the file before");
}

/// Reads the file and saves it as `dest`; returns what `dest` must hold then.
Bytes CheckSaved(const ScratchFile& source, const Bytes& file, const ScratchFile& dest) {
    source.Put(file);
    dest.Put(file);  // so that saving must replace earlier contents
    test::ReferenceTiff reference;
    reference.Read(file);
    Tiff tiff;
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
    return expected;
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile source, dest;
    Bytes file = source.Put(input.Rest());
    const std::ptrdiff_t descriptors = OpenFiles();
    CheckRead(source, file);
    const std::size_t most = 4 * file.size() + 65536;  // images of zeros would only take time
    for (int generation = 0; generation < 3; ++generation) {
        file = CheckSaved(source, file, dest);
        if (file.empty() || file.size() > most) break;
    }
    Require(OpenFiles() == descriptors, "every stream is closed");
}

HUEWEAVE_FUZZ_MUTATOR(0, TiffLayout);

}  // namespace hueweave::fuzz
