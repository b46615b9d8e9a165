// SPDX-License-Identifier: MIT
// A whole file through a valid engine: the bytes written, the lines printed and the source compared with the reference
// implementation; also with one file as source and destination.
#include "Files.h"
#include "Mutation.h"
#include "hueweave/hueweave.h"
#include "support/ReferenceTiff.h"

namespace hueweave::fuzz {
namespace {

/// The first engine for 8-bit, the second for 16-bit pixels.
bool Bind() {
    const ScratchFile profile(SoundProfile(1));
    return Orvix_Icc_SetProfile(profile.Path(), nullptr, 0, CsRGB_8, CssRGB_8) == CssRGB_8 &&
           Orvix_Icc_SetProfile_2nd(profile.Path(), nullptr, 1, CsRGB_16, CsAdobeRGB_Gamma180_16) ==
               CsAdobeRGB_Gamma180_16;
}

/// The same file under another path.
std::string OtherPath(const ScratchFile& file) {
    const std::string path = file.Path();
    return "/dev/fd" + path.substr(path.rfind('/'));
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile source, dest;
    static const bool bound = Bind();
    Require(bound, "the engines are bound");
    const bool wide = input.Bool();
    const std::size_t where = input.Below(4);  // 0 and 1: another file; 2: the same; 3: the same by another path
    input.U16();
    const Bytes file = source.Put(input.Rest());
    dest.Put(Bytes(300, 0xee));
    const std::string target = where < 2 ? dest.Path() : where == 2 ? source.Path() : OtherPath(source);

    const auto pixels = [&](unsigned char* samples, int count) {
        const auto status =
            wide ? Orvix_Icc_Convert2_2nd(samples, samples, count) : Orvix_Icc_Convert2(samples, nullptr, count);
        Require(status == 0, "pixels are converted");
    };
    const auto expected = test::ConvertTiff(file, source.Path(), wide ? 2 : 1, pixels);
    const std::ptrdiff_t descriptors = OpenFiles();
    const PrintWatch printed;
    const HeapWatch heap;
    const std::int32_t status = wide ? Orvix_Icc_ConvertFile_2nd(source.Path(), target.c_str())
                                     : Orvix_Icc_ConvertFile(source.Path(), target.c_str());
    Require(heap.Peak() <= TiffHeap(file.size()), "heap of a conversion");
    Require(status == (wide ? CsAdobeRGB_Gamma180_16 : CssRGB_8), "the engine's space");
    Require(printed.Text() == expected.log, "lines");
    Require(OpenFiles() == descriptors, "every stream is closed");
    if (where < 2) {
        Require(dest.Get() == expected.file, "the file of the plain statement");
        Require(source.Get() == file, "the source is as it was");
    } else {
        // A source that could not be read is not destroyed.
        Require(source.Get() == (expected.file.empty() ? file : expected.file), "the file in its own place");
    }
}

HUEWEAVE_FUZZ_MUTATOR(4, TiffLayout);

}  // namespace hueweave::fuzz
