// SPDX-License-Identifier: MIT
#include "colour/PixelConverter.h"

#include <algorithm>
#include <cstring>

namespace hueweave::colour {
namespace {

constexpr std::size_t kGathered = 2048;  ///< pixels gathered at a time; they stay in the L1 cache

unsigned Sample(const unsigned char* at, unsigned bits) {
    if (bits == 8) return *at;
    std::uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}
void SetSample(unsigned char* at, unsigned bits, unsigned value) {
    if (bits == 8) {
        *at = static_cast<unsigned char>(value);
    } else {
        const auto sample = static_cast<std::uint16_t>(value);
        std::memcpy(at, &sample, sizeof sample);
    }
}

}  // namespace

void PixelConverter::Convert(unsigned char* data, std::size_t pixels, unsigned samples, bool premultiplied) const {
    if (samples == 3) return rgb_->Convert(data, pixels);
    const unsigned depth = bits(), top = depth == 8 ? 255 : 65535;
    const std::size_t width = depth / 8;
    const std::size_t pixelBytes = samples * width;
    unsigned char run[6 * kGathered];
    for (std::size_t done = 0; done < pixels; done += kGathered) {
        const std::size_t count = std::min(kGathered, pixels - done);
        unsigned char* at = data + done * pixelBytes;
        const auto alpha = [&](std::size_t p) { return Sample(at + p * pixelBytes + 3 * width, depth); };
        for (std::size_t p = 0; p < count; ++p) {
            std::memcpy(run + p * 3 * width, at + p * pixelBytes, 3 * width);
            if (!premultiplied || alpha(p) == 0 || alpha(p) == top) continue;
            for (std::size_t c = 0; c < 3; ++c) {
                unsigned char* sample = run + (3 * p + c) * width;
                SetSample(sample, depth, std::min(top, (Sample(sample, depth) * top + alpha(p) / 2) / alpha(p)));
            }
        }
        rgb_->Convert(run, count);
        for (std::size_t p = 0; p < count; ++p) {
            if (premultiplied && alpha(p) == 0) continue;  // the pixel is invisible, and no colour may show through
            for (std::size_t c = 0; premultiplied && alpha(p) != top && c < 3; ++c) {
                unsigned char* sample = run + (3 * p + c) * width;
                SetSample(sample, depth, (Sample(sample, depth) * alpha(p) + top / 2) / top);
            }
            std::memcpy(at + p * pixelBytes, run + p * 3 * width, 3 * width);
        }
    }
}

void PixelConverter::Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels, unsigned samples,
                             bool premultiplied) const {
    const unsigned depth = bits(), top = depth == 8 ? 255 : 65535;
    const std::size_t width = depth / 8, from = device_->sourceChannels(), to = device_->targetChannels();
    const std::size_t extra = samples - from;
    if (extra == 0) return device_->Convert(source, dest, pixels);
    unsigned char run[8 * kGathered], reached[6 * kGathered];
    for (std::size_t done = 0; done < pixels; done += kGathered) {
        const std::size_t count = std::min(kGathered, pixels - done);
        const unsigned char* read = source + done * samples * width;
        unsigned char* written = dest + done * (to + extra) * width;
        const auto alpha = [&](std::size_t p) {
            return premultiplied ? Sample(read + (p * samples + from) * width, depth) : top;
        };
        for (std::size_t i = 0; i < count * from; ++i) {
            const std::size_t p = i / from;
            const unsigned sample = Sample(read + (p * samples + i % from) * width, depth), share = alpha(p);
            const unsigned whole = share == 0 ? sample : std::min(top, (sample * top + share / 2) / share);
            SetSample(run + i * width, depth, whole);
        }
        device_->Convert(run, reached, count);
        for (std::size_t p = 0; p < count; ++p) {
            unsigned char* pixel = written + p * (to + extra) * width;
            for (std::size_t c = 0; c < to; ++c) {
                const unsigned sample = Sample(reached + (p * to + c) * width, depth);
                SetSample(pixel + c * width, depth, (sample * alpha(p) + top / 2) / top);
            }
            std::memcpy(pixel + to * width, read + (p * samples + from) * width, extra * width);
        }
    }
}

std::uint64_t PixelConverter::CountClipped(const unsigned char* colours, std::size_t pixels) const {
    const unsigned depth = bits(), channels = targetChannels();
    const auto top = static_cast<std::uint16_t>(depth == 8 ? 255 : 65535);
    const RgbConverter::Range range = rgb_ != nullptr ? rgb_->range() : RgbConverter::Range{{0, 0, 0}, {top, top, top}};
    std::uint64_t clipped = 0;
    for (std::size_t p = 0; p < pixels; ++p) {
        bool any = false;
        for (std::size_t c = 0; c < channels; ++c) {
            const unsigned sample = Sample(colours + (channels * p + c) * (depth / 8), depth);
            any = any || sample <= range.low[c] || sample >= range.high[c];
        }
        clipped += any;
    }
    return clipped;
}

}  // namespace hueweave::colour
