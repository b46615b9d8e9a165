// SPDX-License-Identifier: MIT
#include "Pixels.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

namespace hueweave::python {
namespace {

constexpr std::size_t kShortRun = 64;             ///< pixels; shorter runs are copied together before the conversion
constexpr std::size_t kCopyBytes = 48 * 1024;     ///< of such copies; fits into the first cache and half of the second
constexpr std::size_t kThreadPixels = 32 * 1024;  ///< for fewer pixels, starting a thread takes longer than they do

/// Copies pixels of `channels` samples of `Bytes` bytes between any strides.
template <std::size_t Bytes>
void CopySamples(const unsigned char* from, std::ptrdiff_t fromPixel, std::ptrdiff_t fromSample, unsigned char* to,
                 std::ptrdiff_t toPixel, std::ptrdiff_t toSample, std::size_t pixels, std::size_t channels) {
    for (std::size_t p = 0; p < pixels; ++p, from += fromPixel, to += toPixel) {
        const unsigned char* source = from;
        unsigned char* dest = to;
        for (std::size_t c = 0; c < channels; ++c, source += fromSample, dest += toSample) {
            std::memcpy(dest, source, Bytes);
        }
    }
}

using Copy = decltype(&CopySamples<1>);

Copy CopyFor(std::size_t sampleBytes) {
    return sampleBytes == 1 ? &CopySamples<1> : sampleBytes == 2 ? &CopySamples<2> : &CopySamples<4>;
}

int ConvertRun(const hw_transform* transform, const unsigned char* from, unsigned char* to, std::size_t pixels,
               std::size_t channels) {
    const hw_layout layout{pixels, 1, channels, 0, 0};
    return hw_convert_image(transform, from, to, &layout);
}

}  // namespace

PixelMap::PixelMap(const void* from, void* to, std::size_t sampleBytes, std::size_t channels, std::ptrdiff_t fromSample,
                   std::ptrdiff_t toSample)
    : from_(static_cast<const unsigned char*>(from)),
      to_(static_cast<unsigned char*>(to)),
      sampleBytes_(sampleBytes),
      channels_(channels),
      fromSample_(fromSample),
      toSample_(toSample) {
    axis_[0] = {1, PixelBytes(), PixelBytes()};  // a single pixel
}

void PixelMap::Add(const Axis& axis) {
    pixels_ *= axis.count;
    if (axis.count == 1) return;
    if (axes_ > 0) {
        Axis& outer = axis_[axes_ - 1];
        const auto count = static_cast<std::ptrdiff_t>(axis.count);
        if (outer.from == count * axis.from && outer.to == count * axis.to) {
            outer = {outer.count * axis.count, axis.from, axis.to};
            return;
        }
    }
    axis_[axes_++] = axis;
}

template <typename Visit>
int PixelMap::ForEachRun(std::size_t begin, std::size_t end, const Visit& visit) const {
    const std::size_t axes = std::max<std::size_t>(axes_, 1);
    const Axis& inner = axis_[axes - 1];
    for (std::size_t done = begin; done < end;) {
        const std::size_t at = done % inner.count;
        const std::size_t count = std::min(inner.count - at, end - done);
        std::ptrdiff_t from = static_cast<std::ptrdiff_t>(at) * inner.from;
        std::ptrdiff_t to = static_cast<std::ptrdiff_t>(at) * inner.to;
        std::size_t rest = done / inner.count;
        for (std::size_t a = axes - 1; a-- > 0;) {
            const auto index = static_cast<std::ptrdiff_t>(rest % axis_[a].count);
            rest /= axis_[a].count;
            from += index * axis_[a].from;
            to += index * axis_[a].to;
        }
        const int status = visit(from_ + from, to_ + to, count);
        if (status != HW_OK) return status;
        done += count;
    }
    return HW_OK;
}

bool PixelMap::HasLongRuns() const {
    const auto sample = static_cast<std::ptrdiff_t>(sampleBytes_);
    if (fromSample_ != sample || toSample_ != sample) return false;
    const Axis& inner = axis_[std::max<std::size_t>(axes_, 1) - 1];
    if (inner.from != PixelBytes() || inner.to != PixelBytes()) return false;
    return inner.count >= kShortRun || inner.count == pixels_;
}

int PixelMap::ConvertRange(const hw_transform* transform, std::size_t begin, std::size_t end) const {
    if (!HasLongRuns()) return ConvertByCopies(transform, begin, end);
    return ForEachRun(begin, end, [&](const unsigned char* from, unsigned char* to, std::size_t count) {
        return ConvertRun(transform, from, to, count, channels_);
    });
}

int PixelMap::ConvertByCopies(const hw_transform* transform, std::size_t begin, std::size_t end) const {
    const Copy copy = CopyFor(sampleBytes_);
    const std::ptrdiff_t pixel = PixelBytes(), sample = static_cast<std::ptrdiff_t>(sampleBytes_);
    const Axis& inner = axis_[std::max<std::size_t>(axes_, 1) - 1];
    const std::size_t most = std::max<std::size_t>(1, kCopyBytes / static_cast<std::size_t>(pixel));
    std::vector<unsigned char> pixels(std::min(most, end - begin) * static_cast<std::size_t>(pixel));
    for (std::size_t done = begin; done < end;) {
        const std::size_t count = std::min(most, end - done);
        unsigned char* at = pixels.data();
        ForEachRun(done, done + count, [&](const unsigned char* from, unsigned char*, std::size_t run) {
            copy(from, inner.from, fromSample_, at, pixel, sample, run, channels_);
            at += run * static_cast<std::size_t>(pixel);
            return int{HW_OK};
        });
        const int status = ConvertRun(transform, pixels.data(), pixels.data(), count, channels_);
        if (status != HW_OK) return status;
        at = pixels.data();
        ForEachRun(done, done + count, [&](const unsigned char*, unsigned char* to, std::size_t run) {
            copy(at, pixel, sample, to, inner.to, toSample_, run, channels_);
            at += run * static_cast<std::size_t>(pixel);
            return int{HW_OK};
        });
        done += count;
    }
    return HW_OK;
}

int PixelMap::Convert(const hw_transform* transform, std::size_t threads) const {
    if (pixels_ == 0) return HW_OK;
    const std::size_t parts = std::min(threads, 1 + pixels_ / kThreadPixels);
    if (parts <= 1) return ConvertRange(transform, 0, pixels_);
    // Rounded up, so that no part is left over.
    const std::size_t part = pixels_ / parts + 1;
    std::vector<int> status(parts, HW_OK);
    std::vector<std::exception_ptr> thrown(parts);
    const auto convert = [&](std::size_t i) noexcept {
        try {
            status[i] = ConvertRange(transform, std::min(i * part, pixels_), std::min((i + 1) * part, pixels_));
        } catch (...) {
            thrown[i] = std::current_exception();
        }
    };
    std::vector<std::thread> others;
    others.reserve(parts - 1);
    for (std::size_t i = 1; i < parts; ++i) {
        try {
            others.emplace_back(convert, i);
        } catch (const std::system_error&) {
            convert(i);  // there are too many threads already
        }
    }
    convert(0);
    for (std::thread& other : others) other.join();
    for (const std::exception_ptr& exception : thrown) {
        if (exception) std::rethrow_exception(exception);
    }
    return *std::max_element(status.begin(), status.end());
}

}  // namespace hueweave::python
