// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "colour/library/PixelConverter.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "colour/base/ProfileError.h"
#include "colour/library/EngineBinding.h"
#include "colour/profile/OutputProfile.h"

namespace hueweave::colour {
namespace {

constexpr std::size_t kRun = 2048;  ///< pixels gathered at a time; they stay in the L1 cache
/// The largest linear value of a grid node: nodes have 8 bits.
constexpr std::size_t kTopNode = 65280;

std::uint16_t Get16(const unsigned char* at) {
    std::uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}
void Put16(unsigned char* at, std::uint16_t value) { std::memcpy(at, &value, sizeof value); }

unsigned Sample(const unsigned char* at, unsigned bits) { return bits == 8 ? *at : Get16(at); }
void SetSample(unsigned char* at, unsigned bits, unsigned value) {
    if (bits == 8) {
        *at = static_cast<unsigned char>(value);
    } else {
        Put16(at, static_cast<std::uint16_t>(value));
    }
}

}  // namespace

PixelConverter::PixelConverter(const Bytes& profile, const Rendering& rendering, unsigned bits)
    : rendering_(rendering), bits_(bits) {
    const Space& space = *rendering.space;
    engine_ = BindEngine(profile, rendering, bits == 16 || space.ByTable(), space.Built(bits).space);
    if (engine_ == nullptr) throw ProfileError("has no table that can be used");
    if (space.ByTable()) {
        map_.resize(65536);
        for (unsigned v = 0; v < 65536; ++v) {
            const unsigned adobe = AdobeFromGamma18(static_cast<std::uint16_t>(v));
            map_[v] = static_cast<std::uint16_t>(bits == 16 ? adobe : (adobe * 255 + 32767) / 65535);
        }
    } else if (bits == 16 && space.Built(bits).bits == 8 && !rendering.curves) {
        // This curve has 8-bit samples at both depths; used directly, it would make a 16-bit file black.
        for (unsigned v = 0; v < 65536; ++v) map_.push_back(static_cast<std::uint16_t>(std::min(v, 255U) * 257));
    }
    const std::uint32_t* tables[] = {engine_->Lut1DOutR, engine_->Lut1DOutG, engine_->Lut1DOutB};
    for (std::size_t c = 0; c < 3; ++c) {
        low_[c] = static_cast<std::uint16_t>(tables[c][0]);
        high_[c] = static_cast<std::uint16_t>(tables[c][kTopNode]);
        if (!map_.empty()) low_[c] = map_[low_[c]], high_[c] = map_[high_[c]];
    }
}

PixelConverter::~PixelConverter() = default;
PixelConverter::PixelConverter(PixelConverter&&) noexcept = default;

void PixelConverter::MapWide(unsigned char* rgb, std::size_t pixels) const {
    for (std::size_t i = 0; i < 3 * pixels; ++i) Put16(rgb + 2 * i, map_[Get16(rgb + 2 * i)]);
}

void PixelConverter::ConvertRgb(unsigned char* rgb, std::size_t pixels) const {
    if (bits_ == 8 && rendering_.space->ByTable()) {
        unsigned char wide[6 * kRun];
        for (std::size_t i = 0; i < 3 * pixels; ++i) Put16(wide + 2 * i, static_cast<std::uint16_t>(rgb[i] * 257));
        engine_->Conversion(wide, wide, static_cast<int>(pixels));
        for (std::size_t i = 0; i < 3 * pixels; ++i) rgb[i] = static_cast<unsigned char>(map_[Get16(wide + 2 * i)]);
        return;
    }
    engine_->Conversion(rgb, rgb, static_cast<int>(pixels));
    if (!map_.empty()) MapWide(rgb, pixels);
}

void PixelConverter::Convert(unsigned char* data, std::size_t pixels, unsigned samples, bool premultiplied) const {
    const std::size_t width = bits_ / 8;
    const std::size_t pixelBytes = samples * width;
    unsigned char run[6 * kRun];
    for (std::size_t done = 0; done < pixels; done += kRun) {
        const std::size_t count = std::min(kRun, pixels - done);
        unsigned char* at = data + done * pixelBytes;
        if (samples == 3) {
            ConvertRgb(at, count);
            continue;
        }
        const unsigned top = bits_ == 8 ? 255 : 65535;
        const auto alpha = [&](std::size_t p) { return Sample(at + p * pixelBytes + 3 * width, bits_); };
        for (std::size_t p = 0; p < count; ++p) {
            std::memcpy(run + p * 3 * width, at + p * pixelBytes, 3 * width);
            if (!premultiplied || alpha(p) == 0 || alpha(p) == top) continue;
            for (std::size_t c = 0; c < 3; ++c) {
                unsigned char* sample = run + (3 * p + c) * width;
                SetSample(sample, bits_, std::min(top, (Sample(sample, bits_) * top + alpha(p) / 2) / alpha(p)));
            }
        }
        ConvertRgb(run, count);
        for (std::size_t p = 0; p < count; ++p) {
            if (premultiplied && alpha(p) == 0) continue;  // the pixel is invisible, and no colour may show through
            for (std::size_t c = 0; premultiplied && alpha(p) != top && c < 3; ++c) {
                unsigned char* sample = run + (3 * p + c) * width;
                SetSample(sample, bits_, (Sample(sample, bits_) * alpha(p) + top / 2) / top);
            }
            std::memcpy(at + p * pixelBytes, run + p * 3 * width, 3 * width);
        }
    }
}

std::uint64_t PixelConverter::CountClipped(const unsigned char* rgb, std::size_t pixels) const {
    std::uint64_t clipped = 0;
    for (std::size_t p = 0; p < pixels; ++p) {
        bool any = false;
        for (std::size_t c = 0; c < 3; ++c) {
            const unsigned sample = bits_ == 8 ? rgb[3 * p + c] : Get16(rgb + 2 * (3 * p + c));
            any = any || sample <= low_[c] || sample >= high_[c];
        }
        clipped += any;
    }
    return clipped;
}

Bytes PixelConverter::OutputProfile() const {
    const Space& space = *rendering_.space;
    std::string title(space.title);
    std::vector<std::vector<double>> decoding;
    if (space.tone == Tone::Kodak || rendering_.curves) {
        const bool narrow = space.Built(bits_).bits == 8;
        const std::uint32_t top = narrow && !(rendering_.curves && bits_ == 16) ? 255 : 65535;
        for (const std::uint32_t* table : {engine_->Lut1DOutR, engine_->Lut1DOutG, engine_->Lut1DOutB}) {
            const auto inverse = InvertTable(table, top, top == 255 ? 256 : 4096);
            if (!inverse) return {};
            decoding.push_back(*inverse);
        }
        if (rendering_.curves) title += ", own curves";
    }
    return MakeOutputProfile(space, decoding, title);
}

}  // namespace hueweave::colour
