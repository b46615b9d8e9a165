// SPDX-License-Identifier: MIT
// A profile embedded in a TIFF file, saved, extracted and removed.
#include <algorithm>

#include "FuzzInput.h"
#include "Mutation.h"
#include "TiffCompare.h"
#include "base/ByteOrder.h"
#include "support/ReferenceProfile.h"

namespace hueweave::fuzz {
namespace {

using namespace Orvix_Tiff_STL2;

constexpr std::size_t kSteering = 66;  ///< options, length, and the start of the profile

/// The tag gets the profile up to the size in its header and the end of its file; without the tag nothing changes.
void Embed(CTiff& tiff, test::ReferenceTiff& reference, const ScratchFile& profile, const Bytes& bytes) {
    const HeapWatch heap;
    Require(tiff.SetIccProfile(profile.Path()) == 0, "a profile is set");
    Require(heap.Peak() <= bytes.size() + 16384, "heap of a profile");
    if (auto* tag = reference.Find(34675)) {
        Bytes held = bytes;
        held.resize(std::min<std::size_t>(test::Big32At(bytes, 0), bytes.size()));
        *tag = {tag->tag, tag->type, static_cast<std::uint32_t>(held.size()), 0, held, false};
    }
    CheckTags(tiff, reference);
}

/// The extracted file holds exactly the contents of the tag.
void CheckWritten(CTiff& tiff, test::ReferenceTiff& reference, const ScratchFile& out) {
    const Bytes before(20, 0xee);
    out.Put(before);
    Require(tiff.SaveIccProfile(out.Path()) == 0, "a profile is written");
    const auto* tag = reference.Find(34675);
    Bytes expected = tag == nullptr ? before : tag->data.value_or(Bytes());
    if (tag != nullptr && expected.size() > tag->count) expected.resize(tag->count);
    Require(out.Get() == expected, "bytes of a profile");
    Require(tiff.SaveIccProfile(nullptr) == 0 && tiff.SaveIccProfile(kNoFile) == 0, "nowhere to write");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile source, profile, saved, out;
    const unsigned options = input.U8();
    Bytes icc = input.Take(kSteering - 1);
    icc.resize(icc.back() * 5U, 0x5a);
    if ((options & 1U) != 0 && icc.size() >= 4) StoreBig32(icc.data(), static_cast<std::uint32_t>(icc.size()));
    const Bytes file = source.Put(input.Rest());
    profile.Put(icc);
    const std::ptrdiff_t descriptors = OpenFiles();

    CTiff tiff;
    test::ReferenceTiff reference;
    Require(tiff.ReadFile(source.Path()) == 0, "read");
    reference.Read(file);
    if ((options & 2U) != 0 && reference.Find(34675) == nullptr) {
        // The operation never adds the tag.
        tiff.SetTag(kIccProfile, 7, 0, 0, nullptr);
        reference.tags.push_back({34675, 7, 0, 0, {}, false});
    }
    CheckWritten(tiff, reference, out);
    Embed(tiff, reference, profile, icc);
    CheckWritten(tiff, reference, out);
    try {
        tiff.SetIccProfile(kNoFile);
        Fail("a profile that is not there is told", __FILE__, __LINE__);
    } catch (const char*) {
    }
    CheckTags(tiff, reference);

    if (!reference.tags.empty()) {
        Require(tiff.SaveFile(saved.Path()) == 0, "saved");
        Require(saved.Get() == reference.Save(), "the file of the plain statement");
    }
    tiff.RemoveIcc();
    reference.RemoveIcc();
    CheckTags(tiff, reference);
    Require(OpenFiles() == descriptors, "every stream is closed");
    Require(source.Get() == file && profile.Get() == icc, "the files are as they were");
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, TiffLayout);

}  // namespace hueweave::fuzz
