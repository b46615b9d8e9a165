// SPDX-License-Identifier: MIT
#include "tiff/rewrite/Expansion.h"

#include <cstring>
#include <utility>

namespace hueweave::tool {
namespace {

unsigned CodeBytes(const TiffPage& page) { return page.bits <= 8 ? 1 : 2; }

/// Unpacks `count` samples of `bits` bits, the most significant bit first.
template <typename Sample>
void UnpackRow(const unsigned char* packed, unsigned char* samples, std::size_t count, unsigned bits) {
    std::uint32_t window = 0;
    unsigned held = 0;  // bits in the window that are not used yet
    for (std::size_t i = 0; i < count; ++i) {
        for (; held < bits; held += 8) window = window << 8 | *packed++;
        held -= bits;
        const auto sample = static_cast<Sample>(window >> held & ((1U << bits) - 1));
        std::memcpy(samples + i * sizeof sample, &sample, sizeof sample);
    }
}

}  // namespace

Expansion::Expansion(const TiffPage& page) : page_(page) {
    if (page.chroma) {
        chroma_.emplace(page.chroma);
        return;
    }
    if (!IsNeeded(page)) return;
    const std::uint64_t most = (1U << page.bits) - 1, top = (1U << page.written.bits) - 1;
    for (std::uint64_t code = 0; code <= most; ++code) {
        scaled_.push_back(static_cast<std::uint16_t>((code * top + most / 2) / most));
    }
}

bool Expansion::IsNeeded(const TiffPage& page) {
    return page.chroma || page.palette.bits != 0 || page.inverted || page.bits != page.written.bits;
}

std::uint64_t Expansion::RowMemory(const TiffPage& page) {
    if (!IsNeeded(page)) return 0;
    const std::uint64_t codes = std::uint64_t{page.segmentWidth} * page.samples * CodeBytes(page);
    return 2 * codes + page.WrittenRowBytes();
}

void Expansion::Unpack(Bytes& plane) {
    const std::size_t rowBytes = static_cast<std::size_t>(page_.RowBytes()), rows = plane.size() / rowBytes;
    const std::size_t count = std::size_t{page_.segmentWidth} * page_.SegmentSamples();
    const unsigned width = CodeBytes(page_);
    buffer_.resize(rows * count * width);
    for (std::size_t row = 0; row < rows; ++row) {
        const unsigned char* packed = plane.data() + row * rowBytes;
        unsigned char* samples = buffer_.data() + row * count * width;
        if (width == 1) {
            UnpackRow<std::uint8_t>(packed, samples, count, page_.bits);
        } else {
            UnpackRow<std::uint16_t>(packed, samples, count, page_.bits);
        }
    }
    std::swap(plane, buffer_);
}

void Expansion::Expand(Bytes& pixels, std::uint32_t rows) {
    std::swap(pixels, buffer_);
    if (chroma_) return chroma_->Expand(buffer_, rows, pixels);
    const bool wide = page_.written.bits == 16;
    if (CodeBytes(page_) == 1) {
        wide ? Expand<std::uint8_t, std::uint16_t>(buffer_, pixels)
             : Expand<std::uint8_t, std::uint8_t>(buffer_, pixels);
    } else {
        wide ? Expand<std::uint16_t, std::uint16_t>(buffer_, pixels)
             : Expand<std::uint16_t, std::uint8_t>(buffer_, pixels);
    }
}

template <typename From, typename To>
void Expansion::Expand(const Bytes& codes, Bytes& pixels) const {
    const std::size_t samples = page_.samples, count = codes.size() / (samples * sizeof(From));
    const std::size_t colours = page_.palette.size();
    pixels.resize(count * (samples + (colours != 0 ? 2 : 0)) * sizeof(To));
    unsigned char* to = pixels.data();
    const auto put = [&to](std::uint16_t value) {
        const auto sample = static_cast<To>(value);
        std::memcpy(to, &sample, sizeof sample);
        to += sizeof sample;
    };
    for (std::size_t i = 0; i < count * samples; ++i) {
        From code;
        std::memcpy(&code, codes.data() + i * sizeof code, sizeof code);
        if (colours != 0 && i % samples == 0) {
            for (std::size_t c = 0; c < 3; ++c) put(page_.palette.samples[c * colours + code]);
        } else {
            put(scaled_[page_.inverted && i % samples == 0 ? scaled_.size() - 1 - code : code]);
        }
    }
}

}  // namespace hueweave::tool
