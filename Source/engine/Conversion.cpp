// SPDX-License-Identifier: MIT
#include "engine/CIccEngineS.h"
#include "engine/kernels/Kernels.h"

namespace ICC40::ICC_ENG_S4 {
namespace {

/// The fastest loop for a number of pixels: the overhead of a block pays off from a few pixels on.
const Kernel& KernelFor(int pixels) {
    constexpr int kShortRun = 8;
    return pixels < kShortRun ? kPlainKernel : *Kernels().back();
}

Stages StagesOf(const CIccEngineS& engine) {
    return {{engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()},
            &engine.Lut3D[0][0],
            {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}};
}

}  // namespace

int CIccEngineS::Conversion(unsigned short* source, unsigned short* dest, int pixels) const {
    ConvertWide(reinterpret_cast<const unsigned char*>(source), reinterpret_cast<unsigned char*>(dest), pixels);
    return 0;
}

int CIccEngineS::Conversion(unsigned char* source, unsigned char* dest, int pixels) const {
    if (Unit.InputSpace == ICCFILE::CsRGB_16) {
        ConvertWide(source, dest, pixels);
    } else if (InEntries != 0 && source != nullptr) {
        KernelFor(pixels).bytes(StagesOf(*this), source, source, pixels);  // Kept: in place
    }
    return 0;
}

int CIccEngineS::Conversion(unsigned char*, unsigned short*, int) const { return 0; }

void CIccEngineS::ConvertWide(const unsigned char* source, unsigned char* dest, int pixels) const {
    // If SetIntent found no table, the tables may still be those of the 8-bit path.
    if (InEntries != 65536 || source == nullptr || dest == nullptr) return;
    // Each pixel is read before it is written, but after the previous ones are written: a destination that starts
    // inside the source changes pixels that are converted later.
    const auto from = reinterpret_cast<std::uintptr_t>(source), to = reinterpret_cast<std::uintptr_t>(dest);
    const bool ahead = to > from && to - from < 6 * static_cast<std::uintptr_t>(pixels);
    (ahead ? kPlainKernel : KernelFor(pixels)).words(StagesOf(*this), source, dest, pixels);
}

}  // namespace ICC40::ICC_ENG_S4
