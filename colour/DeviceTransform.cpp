// SPDX-License-Identifier: MIT
#include "colour/DeviceTransform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "colour/base/ProfileError.h"
#include "colour/judge/Truth.h"

namespace hueweave::colour {
namespace {

constexpr std::size_t kTogether = 256;  ///< pixels that Little CMS converts at a time
constexpr std::size_t kKept = 4096;     ///< converted pixels that are remembered in a call, a power of two

/// CIELAB of a pixel, as Little CMS takes it: L* of 0 to 100, a* and b*.
template <typename Sample>
void LabOf(ColourModel model, const Sample* samples, float* lab) {
    constexpr bool kWide = sizeof(Sample) == 2;
    constexpr double kStep = kWide ? 1.0 / 256 : 1.0, kHalf = kWide ? 32768 : 128, kWhole = 2 * kHalf;
    const bool isIcc = model == ColourModel::IccLab;
    lab[0] = static_cast<float>(samples[0] * 100.0 / (isIcc && kWide ? 0xff00 : kWhole - 1));
    for (std::size_t c = 1; c < 3; ++c) {
        double value = samples[c];
        if (isIcc) {
            value -= kHalf;
        } else if (value >= kHalf) {
            value -= kWhole;
        }
        lab[c] = static_cast<float>(value * kStep);
    }
}

OpenProfile Open(LcmsWork& work, const Bytes& data) {
    const cmsHPROFILE profile = work.Open(data);
    if (profile == nullptr) throw ProfileError("is not a readable ICC profile");
    return {data, profile};
}

float Clipped(float value) { return value > 0.0F ? std::min(value, 1.0F) : 0.0F; }

/// Interleaved samples at any address.
template <typename Sample>
Sample SampleAt(const unsigned char* samples, std::size_t i) {
    Sample value;
    std::memcpy(&value, samples + i * sizeof value, sizeof value);
    return value;
}
template <typename Sample>
void SetSample(unsigned char* samples, std::size_t i, Sample value) {
    std::memcpy(samples + i * sizeof value, &value, sizeof value);
}

/// Converts pixels to RGB by Little CMS in runs, and remembers some of the last results.
template <typename Sample>
class PixelRuns {
public:
    PixelRuns(ColourModel model, const Truth& truth) : model_(model), truth_(truth), kept_(kKept) {}

    void Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels) {
        const std::size_t channels = ChannelsOf(model_);
        for (std::size_t p = 0; p < pixels; ++p) {
            Waiting pixel{p, 0, {}};
            for (std::size_t c = 0; c < channels; ++c) {
                pixel.samples[c] = SampleAt<Sample>(source, p * channels + c);
                pixel.key = pixel.key << 16 | pixel.samples[c];
            }
            const Kept& place = kept_[PlaceOf(pixel.key)];
            if (place.used && place.key == pixel.key) {
                Put(dest, p, place);
            } else {
                waiting_[count_++] = pixel;
                if (count_ == kTogether) Flush(dest);
            }
        }
        Flush(dest);
    }

private:
    struct Waiting {
        std::size_t index;
        std::uint64_t key;  ///< all samples
        std::array<Sample, 4> samples;
    };
    struct Kept {
        std::uint64_t key = 0;
        bool used = false;
        std::array<Sample, 3> target{};
    };
    static constexpr auto kTop = static_cast<float>(static_cast<Sample>(-1));

    /// A key has a place of its own, which others may share.
    static std::size_t PlaceOf(std::uint64_t key) { return key * 0x9e3779b97f4a7c15U >> 52; }
    static_assert(std::uint64_t{1} << (64 - 52) == kKept);

    static void Put(unsigned char* dest, std::size_t pixel, const Kept& place) {
        for (std::size_t c = 0; c < 3; ++c) SetSample(dest, 3 * pixel + c, place.target[c]);
    }

    void Flush(unsigned char* dest) {
        const std::size_t channels = ChannelsOf(model_);
        float from[4 * kTogether], to[3 * kTogether];
        for (std::size_t i = 0; i < count_; ++i) {
            const auto& samples = waiting_[i].samples;
            if (IsLab(model_)) {
                LabOf(model_, samples.data(), from + channels * i);
                continue;
            }
            // Little CMS counts ink in percent.
            for (std::size_t c = 0; c < channels; ++c) {
                from[channels * i + c] = static_cast<float>(samples[c]) / kTop * 100.0F;
            }
        }
        truth_.Convert(from, to, count_);
        for (std::size_t i = 0; i < count_; ++i) {
            Kept& place = kept_[PlaceOf(waiting_[i].key)];
            place = {waiting_[i].key, true, {}};
            for (std::size_t c = 0; c < 3; ++c) {
                place.target[c] = static_cast<Sample>(Clipped(to[3 * i + c]) * kTop + 0.5F);
            }
            Put(dest, waiting_[i].index, place);
        }
        count_ = 0;
    }

    const ColourModel model_;
    const Truth& truth_;
    std::vector<Kept> kept_;
    std::array<Waiting, kTogether> waiting_{};
    std::size_t count_ = 0;
};

bool AreEqual(const cmsToneCurve* one, const cmsToneCurve* other) {
    constexpr unsigned kSteps = 4095;
    for (unsigned i = 0; i <= kSteps; ++i) {
        const float at = static_cast<float>(i) / kSteps;
        if (cmsEvalToneCurveFloat(one, at) != cmsEvalToneCurveFloat(other, at)) return false;
    }
    return true;
}

}  // namespace

struct DeviceTransform::Parts {
    std::shared_ptr<LcmsWork> work;  ///< to which the truth belongs
    Truth truth;
};

DeviceTransform::DeviceTransform(ColourModel model, const Bytes& source, const Bytes& target,
                                 const TransformOptions& options, unsigned bits, const Poll& poll)
    : model_(model), bits_(bits) {
    const auto work = std::make_shared<LcmsWork>();
    const OpenProfile to = Open(*work, target);
    const OpenProfile from = IsLab(model) ? OpenProfile{source, work->Lab4()} : Open(*work, source);
    targetChannels_ = cmsGetColorSpace(to.handle) == cmsSigGrayData ? 1 : 3;
    parts_ = std::make_unique<const Parts>(Parts{work, Truth(*work, from, to, options)});
    if (model == ColourModel::Grey) FillTable(poll);
}

DeviceTransform::~DeviceTransform() = default;

void DeviceTransform::FillTable(const Poll& poll) {
    const std::size_t top = (std::size_t{1} << bits_) - 1;
    const auto scale = static_cast<float>(top);
    float from[kTogether], to[3 * kTogether];
    for (std::size_t done = 0; done <= top; done += kTogether) {
        poll();
        for (std::size_t i = 0; i < kTogether; ++i) from[i] = static_cast<float>(done + i) / scale;
        parts_->truth.Convert(from, to, kTogether);
        for (std::size_t i = 0; i < kTogether * targetChannels_; ++i) {
            table_.push_back(static_cast<std::uint16_t>(Clipped(to[i]) * scale + 0.5F));
        }
    }
    way_ = Way::Table;
    if (targetChannels_ != 1) return;
    const auto stays = [i = std::size_t{0}](std::uint16_t sample) mutable { return sample == i++; };
    if (std::all_of(table_.begin(), table_.end(), stays)) way_ = Way::Copy;
}

void DeviceTransform::Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels) const {
    if (bits_ == 8) {
        ConvertAs<std::uint8_t>(source, dest, pixels);
    } else {
        ConvertAs<std::uint16_t>(source, dest, pixels);
    }
}

template <typename Sample>
void DeviceTransform::ConvertAs(const unsigned char* source, unsigned char* dest, std::size_t pixels) const {
    if (table_.empty()) {
        PixelRuns<Sample>(model_, parts_->truth).Convert(source, dest, pixels);
        return;
    }
    const std::size_t channels = targetChannels_;
    for (std::size_t p = 0; p < pixels; ++p) {
        const std::uint16_t* const target = &table_[SampleAt<Sample>(source, p) * channels];
        for (std::size_t c = 0; c < channels; ++c) SetSample(dest, p * channels + c, static_cast<Sample>(target[c]));
    }
}

std::optional<Bytes> MakeGreyProfile(const Bytes& profile, int version) {
    LcmsWork work;
    const OpenProfile rgb = OpenRgb(work, profile);
    constexpr cmsTagSignature kCurves[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    const cmsToneCurve* curves[3];
    for (std::size_t c = 0; c < 3; ++c) {
        curves[c] = static_cast<const cmsToneCurve*>(work.Read(rgb.handle, kCurves[c]));
        if (curves[c] == nullptr) return std::nullopt;
    }
    if (!cmsIsMatrixShaper(rgb.handle)) return std::nullopt;
    for (const cmsToneCurve* const other : {curves[1], curves[2]}) {
        if (other != curves[0] && !AreEqual(curves[0], other)) return std::nullopt;
    }
    const bool isOld = version == 2 || (version == 0 && cmsGetEncodedICCversion(rgb.handle) < 0x4000000);
    const cmsHPROFILE grey = work.NewProfile(isOld ? 2.4 : 4.3, cmsSigDisplayClass, cmsSigXYZData);
    cmsSetColorSpace(grey, cmsSigGrayData);
    cmsSetHeaderRenderingIntent(grey, INTENT_PERCEPTUAL);
    work.WriteText(grey, cmsSigProfileDescriptionTag,
                   "Grey with the tone curve of " + work.Text(rgb.handle, cmsInfoDescription));
    work.WriteText(grey, cmsSigCopyrightTag, "No copyright, use freely");
    work.Write(grey, cmsSigMediaWhitePointTag, cmsD50_XYZ());
    work.Write(grey, cmsSigGrayTRCTag, curves[0]);
    return work.Save(grey);
}

}  // namespace hueweave::colour
