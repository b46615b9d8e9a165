// SPDX-License-Identifier: MIT
// A TIFF file read through each of the three entry points, compared with the reference reader, and saved three times
// over: each generation is byte for byte the reference's output for the one before. And a profile embedded in it,
// saved, extracted and removed.
#include <cmath>

#include "Mutation.h"
#include "base/ByteOrder.h"
#include "base/FileHandle.h"
#include "support/ReferenceProfile.h"
#include "support/ReferenceTiff.h"
#include "tiff/CTiff.h"

namespace hueweave::fuzz {
namespace {

using namespace Orvix_Tiff_STL2;

constexpr std::size_t kSteering = 66;  ///< options, the start of the profile, and its length

/// List and data must equal those of the reference reader for the same file.
void CheckTags(const Tiff& tiff, const test::ReferenceTiff& reference) {
    Require(tiff.tags.size() == reference.tags.size(), "number of entries");
    for (std::size_t i = 0; i < tiff.tags.size(); ++i) {
        const TiffTag& tag = *tiff.tags[i];
        const test::ReferenceTag& expected = reference.tags[i];
        Require(tag.tag == expected.tag, "tag");
        Require(static_cast<unsigned>(tag.type) == expected.type, "type");
        Require(tag.count == expected.count, "count");
        Require(tag.value == expected.value, "value");
        Require((tag.data != nullptr) == expected.data.has_value(), "whether there are data");
        Require(tag.Size() == expected.Size(), "announced size");
        // A single byte, which a profile can leave in a tag of wide items, is not a complete item.
        if (tag.dataSize != 1) Require(tag.GetValue() == expected.Value(), "what the tag answers");
        if (!expected.data) continue;
        Require(tag.dataSize == expected.data->size(), "bytes of the data");
        Require(tag.dataSize == 0 || std::memcmp(tag.data.get(), expected.data->data(), tag.dataSize) == 0, "data");
    }
}

/// The geometry of the list; all 0 and no image without a list.
void CheckGeometry(const CTiff& tiff, test::ReferenceTiff& reference) {
    const auto wrapped = [](std::uint32_t value) { return static_cast<int>(value); };
    const std::uint32_t width = reference.ValueOf(256), samples = reference.ValueOf(277), bits = reference.ValueOf(258);
    Require(tiff.width == wrapped(width) && tiff.height == wrapped(reference.ValueOf(257)), "width and height");
    Require(tiff.samples == wrapped(samples) && tiff.bits == wrapped(bits), "samples and bits");
    Require(tiff.resolution == wrapped(reference.ValueOf(282)), "resolution");
    Require(tiff.rowBytes == static_cast<int>(std::ceil(wrapped(samples * width * bits) * 0.125)), "bytes of a row");
    const test::ReferenceTag* strip = reference.Find(273);
    const bool image = strip != nullptr && strip->data.has_value();
    Require((tiff.imageBuf != nullptr) == image, "whether there is an image");
    Require(tiff.ImageBytes() == (image ? strip->data->size() : 0), "bytes of the image");
}

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

/// Saves as `dest`, which holds something else before. Returns what it must hold then.
Bytes CheckSaved(Tiff& tiff, test::ReferenceTiff& reference, const ScratchFile& dest) {
    const PrintWatch printed;
    const HeapWatch heap;
    Require(tiff.SaveFile(dest.Path()) == 0, "saved");
    Require(heap.Peak() <= 65536, "saving takes no heap to speak of");
    const bool empty = reference.tags.empty();
    Require(printed.Text() == (empty ? "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***\n" : ""), "lines");
    const Bytes expected = empty ? Bytes() : reference.Save();
    Require(dest.Get() == expected, "the file of the plain statement");
    CheckTags(tiff, reference);  // saving updates the offsets in the tags
    Require(tiff.SaveFile(kNoFile) == 0 && tiff.SaveFile(nullptr) == 0, "nowhere to save");
    return expected;
}

/// The tag gets the profile up to the size in its header and the end of its file; without the tag nothing changes.
void CheckEmbedded(CTiff& tiff, test::ReferenceTiff& reference, const ScratchFile& profile, const Bytes& bytes) {
    const HeapWatch heap;
    Require(tiff.SetIccProfile(profile.Path()) == 0, "a profile is set");
    Require(heap.Peak() <= bytes.size() + 16384, "heap of a profile");
    if (auto* tag = reference.Find(34675)) {
        Bytes held = bytes;
        held.resize(std::min<std::size_t>(test::Big32At(bytes, 0), bytes.size()));
        *tag = {tag->tag, tag->type, static_cast<std::uint32_t>(held.size()), 0, held, false};
    }
    CheckTags(tiff, reference);
    try {
        tiff.SetIccProfile(kNoFile);
        Fail("a profile that is not there is reported", __FILE__, __LINE__);
    } catch (const char*) {
    }
    CheckTags(tiff, reference);
}

/// The extracted file holds exactly the contents of the tag.
void CheckExtracted(CTiff& tiff, test::ReferenceTiff& reference, const ScratchFile& out) {
    const Bytes before = out.Put(Bytes(20, 0xee));
    Require(tiff.SaveIccProfile(out.Path()) == 0, "a profile is written");
    const auto* tag = reference.Find(34675);
    Bytes expected = tag == nullptr ? before : tag->data.value_or(Bytes());
    if (tag != nullptr && expected.size() > tag->count) expected.resize(tag->count);
    Require(out.Get() == expected, "bytes of a profile");
    Require(tiff.SaveIccProfile(nullptr) == 0 && tiff.SaveIccProfile(kNoFile) == 0, "nowhere to write");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile source, dest, profile;
    const unsigned options = input.U8();
    Bytes icc = input.Take(kSteering - 1);
    icc.resize(icc.back() * 5U, 0x5a);
    if ((options & 1U) != 0 && icc.size() >= 4) StoreBig32(icc.data(), static_cast<std::uint32_t>(icc.size()));
    profile.Put(icc);
    Bytes file = source.Put(input.Rest());
    const std::ptrdiff_t descriptors = OpenFiles();
    CheckRead(source, file);

    CTiff tiff;
    test::ReferenceTiff reference;
    tiff.ReadFile(source.Path());
    reference.Read(file);
    if ((options & 2U) != 0 && reference.Find(34675) == nullptr) {
        // The operation never adds the tag.
        tiff.SetTag(kIccProfile, 7, 0, 0, nullptr);
        reference.tags.push_back({34675, 7, 0, 0, {}, false});
    }
    CheckExtracted(tiff, reference, dest);
    CheckEmbedded(tiff, reference, profile, icc);
    CheckExtracted(tiff, reference, dest);
    CheckSaved(tiff, reference, dest);
    tiff.RemoveIcc();
    reference.RemoveIcc();
    CheckTags(tiff, reference);
    Require(source.Get() == file && profile.Get() == icc, "the files are as they were");

    const std::size_t most = 4 * file.size() + 65536;  // images of zeros would only take time
    for (int generation = 0; generation < 3 && file.size() <= most; ++generation) {
        source.Put(file);
        dest.Put(file);  // so that saving must replace earlier contents
        Tiff read;
        Require(read.ReadFile(source.Path()) == 0, "read");
        reference.Read(file);
        const Bytes saved = CheckSaved(read, reference, dest);
        Require(source.Get() == file, "the source is as it was");
        if (saved.empty()) break;
        file = saved;
    }
    Require(OpenFiles() == descriptors, "every stream is closed");
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, TiffLayout);

}  // namespace hueweave::fuzz
