// SPDX-License-Identifier: MIT
#include "units/Info.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace ICC40::ICC_UNIT {
namespace {

/// Stores a name. Returns whether it differs from the previous one.
bool Remember(std::unique_ptr<char[]>& stored, const char* given) {
    if (given == nullptr) {
        const bool had = stored != nullptr;
        stored.reset();
        return had;
    }
    if (stored != nullptr && std::strcmp(stored.get(), given) == 0) return false;
    constexpr std::size_t kNameBytes = 128;
    const std::size_t bytes = std::strlen(given) + 1;
    auto copy = std::make_unique<char[]>(std::max(kNameBytes, bytes));
    std::memcpy(copy.get(), given, bytes);
    stored = std::move(copy);
    return true;
}

}  // namespace

int Info::Reset() {
    ProfileState = kUnset;
    Spare = kUnset;
    InputSpace = kNoSpace;
    OutputSpace = kNoSpace;
    FormatCode = kUnknownFormat;
    Source = nullptr;
    Dest = nullptr;
    PixelCount = 0;
    WorkCount = 0;
    Lightness = 0;
    Chroma = 0;
    Hue = 0;
    WorkBuf.reset();
    return 0;
}

int Info::CheckLch(int lightness, int chroma, int hue) {
    const bool changed = lightness != Lightness || chroma != Chroma || hue != Hue;
    Lightness = lightness;
    Chroma = chroma;
    Hue = hue;
    return changed ? 1 : 0;
}

int Info::CheckWorkingBuf(unsigned char* source, unsigned char* dest, int pixels) {
    if (WorkCount != 0) return 0;
    Source = source;
    Dest = dest;
    const PixelFormat format = FindFormat(FormatCode);
    if (format.channels == 0) return kUnknownFormat;
    const std::int64_t wanted = std::int64_t{pixels} * format.channels;
    const bool countable = wanted >= 0 && wanted <= std::numeric_limits<int>::max();
    const int samples = countable ? static_cast<int>(wanted) : 0;
    // 16-bit samples even for 8-bit codes, because the units work with 16 bits.
    WorkBuf = countable ? std::make_unique<unsigned short[]>(static_cast<std::size_t>(samples)) : nullptr;
    WorkCount = samples;
    PixelCount = countable ? pixels : 0;
    return 0;
}

int Info::DeleteWorkingBuf() {
    WorkBuf.reset();
    return 0;
}

int Info::CheckCurrentProfile(const char* first, const char* second) {
    const bool firstChanged = Remember(ProfileName, first);
    const bool secondChanged = Remember(SecondName, second);
    return firstChanged || secondChanged ? 1 : 0;
}

}  // namespace ICC40::ICC_UNIT
