// SPDX-License-Identifier: MIT
#include "colour/api/Layout.h"

#include <cstdint>
#include <limits>

namespace hueweave::colour {
namespace {

constexpr std::size_t kMostChannels = 65535;
/// No object is larger.
constexpr std::size_t kMostBytes = std::numeric_limits<std::ptrdiff_t>::max();

/// Without overflow for the most negative number.
std::size_t Magnitude(std::ptrdiff_t stride) {
    return stride < 0 ? std::size_t{0} - static_cast<std::size_t>(stride) : static_cast<std::size_t>(stride);
}

/// The memory of an image, from its lowest byte to the one after its highest.
struct Span {
    std::uintptr_t begin, end;
};

class Rows {
public:
    Rows(const void* first, std::ptrdiff_t stride, std::size_t height, std::size_t rowBytes)
        : first_(reinterpret_cast<std::uintptr_t>(first)), stride_(stride), height_(height), rowBytes_(rowBytes) {}

    bool Fits() const {
        const std::size_t step = Magnitude(stride_);
        if (step < rowBytes_ || step > kMostBytes) return false;
        return height_ - 1 <= (kMostBytes - rowBytes_) / step;
    }
    /// Only for rows that fit.
    Span Memory() const {
        const std::uintptr_t distance = Magnitude(stride_) * (height_ - 1);
        const std::uintptr_t lowest = stride_ < 0 ? first_ - distance : first_;
        return {lowest, lowest + distance + rowBytes_};
    }
    bool operator==(const Rows&) const = default;

    /// Whether a row of one has a byte in common with a row of the other.
    bool Overlaps(const Rows& other) const {
        const Span a = Memory(), b = other.Memory();
        if (a.end <= b.begin || b.end <= a.begin) return false;
        if (Magnitude(stride_) != Magnitude(other.stride_)) return true;
        // The rows of one may lie between the rows of the other.
        const std::size_t step = Magnitude(stride_);
        const std::size_t shift = a.begin < b.begin ? (b.begin - a.begin) % step : (a.begin - b.begin) % step;
        return shift < rowBytes_ || step - shift < rowBytes_;
    }

private:
    std::uintptr_t first_;
    std::ptrdiff_t stride_;
    std::size_t height_, rowBytes_;
};

}  // namespace

hw_status SettleLayout(const void* source, const void* dest, std::size_t sampleBytes, hw_layout& layout) {
    if (layout.channels < 3 || layout.channels > kMostChannels) return HW_ERROR_LAYOUT;
    if (layout.width == 0 || layout.height == 0) return HW_OK;
    if (layout.width > kMostBytes / (sampleBytes * layout.channels)) return HW_ERROR_LAYOUT;
    const std::size_t rowBytes = layout.width * sampleBytes * layout.channels;
    if (layout.source_stride == 0) layout.source_stride = static_cast<std::ptrdiff_t>(rowBytes);
    if (layout.dest_stride == 0) layout.dest_stride = static_cast<std::ptrdiff_t>(rowBytes);
    const Rows from(source, layout.source_stride, layout.height, rowBytes);
    const Rows to(dest, layout.dest_stride, layout.height, rowBytes);
    if (!from.Fits() || !to.Fits()) return HW_ERROR_LAYOUT;
    if (source == nullptr || dest == nullptr) return HW_ERROR_ARGUMENT;
    if (from != to && from.Overlaps(to)) return HW_ERROR_OVERLAP;
    const auto plain = static_cast<std::ptrdiff_t>(rowBytes);
    if (layout.source_stride == plain && layout.dest_stride == plain) {
        layout.width *= layout.height;
        layout.height = 1;
    }
    return HW_OK;
}

}  // namespace hueweave::colour
