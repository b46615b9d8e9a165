// SPDX-License-Identifier: MIT
#include "colour/Transform.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <optional>
#include <type_traits>
#include <utility>

#include "colour/base/ProfileError.h"
#include "colour/exact/Link.h"
#include "colour/exact/SameColours.h"
#include "colour/exact/Tables.h"
#include "colour/judge/Compare.h"

namespace hueweave::colour {
namespace {

/// The largest CIEDE2000 of a way that is used: a third of the limits for all colours, 0.3 and 1.0, because only a few
/// colours are checked.
constexpr double kMostP999 = 0.1, kMostLargest = 0.33;
constexpr std::size_t kPixelsPerCall = 256;  ///< pixels per call of Little CMS

float Clamped(float value) { return value > 0.0F ? std::min(value, 1.0F) : 0.0F; }

/// From and to a sample; one in floating point is only clamped.
template <typename Sample>
float ValueOf(Sample sample) {
    if constexpr (std::is_same_v<Sample, float>) return Clamped(sample);
    return static_cast<float>(sample) / static_cast<float>(static_cast<Sample>(-1));
}
template <typename Sample>
Sample Rounded(float value) {
    if constexpr (std::is_same_v<Sample, float>) return Clamped(value);
    constexpr auto kTop = static_cast<float>(static_cast<Sample>(-1));
    return static_cast<Sample>(Clamped(value) * kTop + 0.5F);
}

/// Converts pixels in one way.
class Conversion {
public:
    virtual ~Conversion() = default;
    virtual void Convert(const unsigned char* source, unsigned char* dest, unsigned bits, std::size_t pixels,
                         unsigned samples) const = 0;
};

class ByTables : public Conversion {
public:
    /// Black and white are converted exactly as by `truth`.
    ByTables(Link&& link, const Truth& truth) : tables_(link.source, std::move(link.stages), link.target) {
        tables_.SetEnds(EndsOf<std::uint8_t>(truth), EndsOf<std::uint16_t>(truth), FloatEndsOf(truth));
    }
    void Convert(const unsigned char* source, unsigned char* dest, unsigned bits, std::size_t pixels,
                 unsigned samples) const override {
        LoopFor(bits)(tables_.program(), source, dest, pixels, samples);
    }

private:
    static Loop LoopFor(unsigned bits) {
        const Loops& loops = *AllLoops().back();
        return bits == 8 ? loops.bytes : bits == 16 ? loops.words : loops.floats;
    }

    static FloatEnds FloatEndsOf(const Truth& truth) {
        const float from[6] = {0, 0, 0, 1, 1, 1};
        float wanted[6];
        truth.Convert(from, wanted, 2);
        FloatEnds ends;
        for (std::size_t c = 0; c < 3; ++c) {
            ends.black[c] = Clamped(wanted[c]);
            ends.white[c] = Clamped(wanted[c + 3]);
        }
        return ends;
    }

    template <typename Sample>
    Ends EndsOf(const Truth& truth) const {
        constexpr auto kTop = static_cast<Sample>(-1);
        const float from[6] = {0, 0, 0, 1, 1, 1};
        float wanted[6];
        truth.Convert(from, wanted, 2);
        Sample reached[6] = {0, 0, 0, kTop, kTop, kTop};
        auto* const bytes = reinterpret_cast<unsigned char*>(reached);
        LoopFor(8 * sizeof(Sample))(tables_.program(), bytes, bytes, 2, 3);
        Ends ends;
        for (std::size_t c = 0; c < 3; ++c) {
            ends.black[c] = Rounded<Sample>(wanted[c]);
            ends.white[c] = Rounded<Sample>(wanted[c + 3]);
            ends.used = ends.used || ends.black[c] != reached[c] || ends.white[c] != reached[c + 3];
        }
        return ends;
    }

    Tables tables_;
};

class PixelByPixel : public Conversion {
public:
    PixelByPixel(const Truth& truth, std::shared_ptr<LcmsWork> work) : truth_(truth), work_(std::move(work)) {}
    void Convert(const unsigned char* source, unsigned char* dest, unsigned bits, std::size_t pixels,
                 unsigned samples) const override {
        if (bits == 8) {
            Convert<std::uint8_t>(source, dest, pixels, samples);
        } else if (bits == 16) {
            Convert<std::uint16_t>(source, dest, pixels, samples);
        } else {
            Convert<float>(source, dest, pixels, samples);
        }
    }

private:
    template <typename Sample>
    void Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels, unsigned samples) const {
        float from[3 * kPixelsPerCall], to[3 * kPixelsPerCall];
        for (std::size_t done = 0; done < pixels; done += kPixelsPerCall) {
            const std::size_t count = std::min(kPixelsPerCall, pixels - done);
            const auto place = [&](std::size_t i) { return ((done + i / 3) * samples + i % 3) * sizeof(Sample); };
            for (std::size_t i = 0; i < 3 * count; ++i) {
                Sample sample;
                std::memcpy(&sample, source + place(i), sizeof sample);
                from[i] = ValueOf(sample);
            }
            truth_.Convert(from, to, count);
            for (std::size_t i = 0; i < 3 * count; ++i) {
                const Sample sample = Rounded<Sample>(to[i]);
                std::memcpy(dest + place(i), &sample, sizeof sample);
            }
        }
    }

    Truth truth_;
    std::shared_ptr<LcmsWork> work_;  ///< owns the transforms of `truth_`
};

/// A copy clamps samples in floating point, as every other way does.
void ClampFloats(unsigned char* data, std::size_t pixels, unsigned samples) {
    for (std::size_t i = 0; i < 3 * pixels; ++i) {
        unsigned char* const at = data + (i / 3 * samples + i % 3) * sizeof(float);
        float value;
        std::memcpy(&value, at, sizeof value);
        value = Clamped(value);
        std::memcpy(at, &value, sizeof value);
    }
}

/// A conversion at 16 bits, for comparison with the truth.
class Tried : public RgbConverter {
public:
    explicit Tried(const Conversion& conversion) : conversion_(conversion) {}
    void Convert(unsigned char* rgb, std::size_t pixels) const override {
        conversion_.Convert(rgb, rgb, 16, pixels, 3);
    }
    unsigned bits() const override { return 16; }
    Range range() const override { return {}; }

private:
    const Conversion& conversion_;
};

}  // namespace

std::string_view WayName(Way way) {
    constexpr std::array<std::string_view, 5> kNames{"copy", "matrix", "table", "direct", "pixel by pixel"};
    return kNames[static_cast<std::size_t>(way)];
}

struct Transform::Parts {
    Way way = Way::Copy;
    std::string reason;
    TransformError error;
    std::unique_ptr<const Conversion> conversion;  ///< null for a copy

    void Convert(const unsigned char* source, unsigned char* dest, unsigned bits, std::size_t pixels,
                 unsigned samples) const {
        if (pixels == 0) return;
        if (source != dest && (samples > 3 || conversion == nullptr)) {
            std::memcpy(dest, source, pixels * samples * (bits / 8));
        }
        if (conversion != nullptr) {
            conversion->Convert(source, dest, bits, pixels, samples);
        } else if (bits == 32) {
            ClampFloats(dest, pixels, samples);
        }
    }

    void Take(Way taken, std::unique_ptr<const Conversion> made, const Truth& truth, const Poll& poll) {
        const Comparison comparison = Compare(Tried(*made), truth, CheckColours(), poll);
        way = taken;
        conversion = std::move(made);
        error = {comparison.colours, comparison.mean, comparison.p999, comparison.maximum};
    }
    bool IsExact() const { return error.p999 <= kMostP999 && error.largest <= kMostLargest; }
    std::string WhyNot() const {
        if (conversion == nullptr)
            return "a profile has stages that no faster method supports, or a grid of more than 129 points";
        char text[120];
        std::snprintf(text, sizeof text,
                      "the direct way is off by CIEDE2000 %.2f for 0.1 %% of the colours, %.2f at most", error.p999,
                      error.largest);
        return text;
    }
};

Transform::Transform(const Bytes& source, const Bytes& target, const TransformOptions& options, const Poll& poll) {
    auto parts = std::make_unique<Parts>();
    const auto work = std::make_shared<LcmsWork>();
    const OpenProfile from = OpenRgb(*work, source), to = OpenRgb(*work, target);
    if (options.Adjusts() || !HaveSameColours(*work, from, to, options.intent)) {
        const Truth truth(*work, from, to, options);
        poll();
        if (auto link = LinkProfiles(*work, from, to, options)) {
            const Way way = link->stages.HasGrid() ? Way::Direct : Way::Matrix;
            parts->Take(way, std::make_unique<const ByTables>(std::move(*link), truth), truth, poll);
        }
        if (parts->conversion == nullptr || !parts->IsExact()) {
            parts->reason = parts->WhyNot();
            parts->Take(Way::PixelByPixel, std::make_unique<const PixelByPixel>(truth, work), truth, poll);
        }
    }
    parts_ = std::move(parts);
}

Transform::~Transform() = default;
Transform::Transform(Transform&&) noexcept = default;
Transform& Transform::operator=(Transform&&) noexcept = default;

void Transform::Convert(const std::uint8_t* source, std::uint8_t* dest, std::size_t pixels, unsigned samples) const {
    parts_->Convert(source, dest, 8, pixels, samples);
}

void Transform::Convert(const std::uint16_t* source, std::uint16_t* dest, std::size_t pixels, unsigned samples) const {
    parts_->Convert(reinterpret_cast<const unsigned char*>(source), reinterpret_cast<unsigned char*>(dest), 16, pixels,
                    samples);
}

void Transform::Convert(unsigned char* data, unsigned bits, std::size_t pixels, unsigned samples) const {
    parts_->Convert(data, data, bits, pixels, samples);
}

void Transform::Convert(const unsigned char* source, unsigned char* dest, unsigned bits, std::size_t pixels,
                        unsigned samples) const {
    parts_->Convert(source, dest, bits, pixels, samples);
}

Way Transform::way() const { return parts_->way; }
const std::string& Transform::reason() const { return parts_->reason; }
const TransformError& Transform::error() const { return parts_->error; }

bool DescribeSameColours(const Bytes& source, const Bytes& target, RenderingIntent intent) {
    LcmsWork work;
    return HaveSameColours(work, OpenRgb(work, source), OpenRgb(work, target), intent);
}

}  // namespace hueweave::colour
