// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A profile put into a TIFF file, saved, found again, written out and taken away.
#include <algorithm>

#include "FuzzInput.h"
#include "Mutation.h"
#include "TiffCompare.h"
#include "base/ByteOrder.h"

using namespace hueweave::fuzz;
using namespace Orvix_Tiff_STL2;

namespace {

constexpr std::size_t kSteering = 66;  ///< options, length, and the start of the profile

/// The profile goes into the tag as far as its header says and the file goes; without the tag nothing changes.
void Embed(CTiff& tiff, hueweave::test::ReferenceTiff& reference, const ScratchFile& profile, const Bytes& bytes) {
    const HeapWatch heap;
    Require(tiff.SetIccProfile(profile.Path()) == 0, "a profile is set");
    Require(heap.Peak() <= bytes.size() + 16384, "heap of a profile");
    if (auto* tag = reference.Find(34675)) {
        Bytes head = bytes;
        head.resize(4);
        const std::size_t size = std::min<std::size_t>(LoadBig32(head.data()), bytes.size());
        tag->data = Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        tag->count = static_cast<std::uint32_t>(size);
        tag->value = 0;
        tag->lost = false;
    }
    CheckTags(tiff, reference);
}

/// What is written out is what the tag has, and no more.
void CheckWritten(CTiff& tiff, hueweave::test::ReferenceTiff& reference, const ScratchFile& out) {
    const Bytes before(20, 0xee);
    out.Put(before);
    Require(tiff.SaveIccProfile(out.Path()) == 0, "a profile is written");
    const auto* tag = reference.Find(34675);
    Bytes expected = tag == nullptr ? before : tag->data.value_or(Bytes());
    if (tag != nullptr && expected.size() > tag->count) expected.resize(tag->count);
    Require(out.Get() == expected, "bytes of a profile");
    Require(tiff.SaveIccProfile(nullptr) == 0 && tiff.SaveIccProfile("/proc/self/fd/none") == 0, "nowhere to write");
}

}  // namespace

HUEWEAVE_FUZZ_MUTATOR(kSteering, MutateTiff);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchFile source, profile, saved, out;
    FuzzInput input(data, size);
    const unsigned options = input.U8();
    Bytes icc = input.Take(kSteering - 1);
    const std::size_t length = icc.back() * 5U;
    icc.resize(length, 0x5a);
    if ((options & 1U) != 0 && icc.size() >= 4) StoreBig32(icc.data(), static_cast<std::uint32_t>(icc.size()));
    const Bytes file = input.Rest();
    source.Put(file);
    profile.Put(icc);
    const std::size_t descriptors = OpenDescriptors();

    CTiff tiff;
    hueweave::test::ReferenceTiff reference;
    Require(tiff.ReadFile(source.Path()) == 0, "read");
    reference.Read(file);
    if ((options & 2U) != 0 && reference.Find(34675) == nullptr) {
        // The tag is never added by the operation itself.
        tiff.SetTag(kIccProfile, 7, 0, 0, nullptr);
        reference.tags.push_back({34675, 7, 0, 0, {}, false});
    }
    CheckWritten(tiff, reference, out);
    Embed(tiff, reference, profile, icc);
    CheckWritten(tiff, reference, out);
    try {
        tiff.SetIccProfile("/proc/self/fd/none");
        Fail("a profile that is not there is told", __FILE__, __LINE__);
    } catch (const char*) {
    }
    CheckTags(tiff, reference);

    if (!reference.tags.empty()) {
        Require(tiff.SaveFile(saved.Path()) == 0, "saved");
        const Bytes expected = reference.Save();
        Require(saved.Get() == expected, "the file of the plain statement");
        CTiff back;
        hueweave::test::ReferenceTiff again;
        again.Read(expected);
        Require(back.ReadFile(saved.Path()) == 0, "read back");
        CheckTags(back, again);
        CheckWritten(back, again, out);
    }
    tiff.RemoveIcc();
    reference.RemoveIcc();
    CheckTags(tiff, reference);
    Require(OpenDescriptors() == descriptors, "every stream is closed");
    Require(source.Get() == file && profile.Get() == icc, "the files are as they were");
    return 0;
}
