// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The pixel loops: look-ups, integer multiplications and shifts, and nothing else.
#include <cstring>

#include "engine/CIccEngineS.h"
#include "units/Tetrahedra.h"

namespace ICC40::ICC_ENG_S4 {
namespace {

/// Samples in the machine's byte order, at any address.
template <typename Sample>
Sample Load(const unsigned char* at) {
    Sample sample;
    std::memcpy(&sample, at, sizeof sample);
    return sample;
}

/// Carries `pixels` pixels through the stages, each read wholly before it is written.
///
/// The value of a channel is a convex mix of grid values between 0 and 65535, so that it stays an index of the
/// output table without a clamp. There is no rounding term, and the shift is 12 whatever `Shift` holds.
template <typename Sample>
void ConvertRun(const CIccEngineS& engine, const unsigned char* source, unsigned char* dest, std::int64_t pixels) {
    constexpr std::size_t kStep = sizeof(Sample);
    for (; pixels > 0; --pixels, source += 3 * kStep, dest += 3 * kStep) {
        const std::uint32_t red = engine.Lut1DInR[Load<Sample>(source)];
        const std::uint32_t green = engine.Lut1DInG[Load<Sample>(source + kStep)];
        const std::uint32_t blue = engine.Lut1DInB[Load<Sample>(source + 2 * kStep)];
        const std::uint32_t cell =
            ((red >> 16) * CIccEngineS::kCells + (green >> 16)) * CIccEngineS::kCells + (blue >> 16);
        const auto fr = static_cast<std::int32_t>(red & 0xffffU);
        const auto fg = static_cast<std::int32_t>(green & 0xffffU);
        const auto fb = static_cast<std::int32_t>(blue & 0xffffU);
        const auto& record = engine.Lut3D[cell][ICC_UNIT::FindTetrahedron(fr, fg, fb)];
        const auto value = [&](const std::int32_t(&c)[4]) { return (c[0] + fr * c[1] + fg * c[2] + fb * c[3]) >> 12; };
        const Sample out[3] = {static_cast<Sample>(engine.Lut1DOutR[value(record[0])]),
                               static_cast<Sample>(engine.Lut1DOutG[value(record[1])]),
                               static_cast<Sample>(engine.Lut1DOutB[value(record[2])])};
        std::memcpy(dest, out, sizeof out);
    }
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
        ConvertRun<unsigned char>(*this, source, source, pixels);  // Kept: in place
    }
    return 0;
}

int CIccEngineS::Conversion(unsigned char*, unsigned short*, int) const { return 0; }

void CIccEngineS::ConvertWide(const unsigned char* source, unsigned char* dest, int pixels) const {
    // After a SetIntent that found no table, the tables may still be those of the 8-bit path.
    if (InEntries != 65536 || source == nullptr || dest == nullptr) return;
    ConvertRun<unsigned short>(*this, source, dest, pixels);
}

}  // namespace ICC40::ICC_ENG_S4
