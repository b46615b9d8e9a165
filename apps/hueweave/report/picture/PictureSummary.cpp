// SPDX-License-Identifier: MIT
#include "report/picture/PictureSummary.h"

#include <algorithm>
#include <cstring>

#include "colour/profile/Target.h"
#include "report/picture/EmbeddedImage.h"

namespace hueweave::tool {
namespace {

using Rgb = std::array<unsigned, 3>;  ///< samples of 8 bits

constexpr std::uint32_t kPart = 4096;  ///< pixels of a row that are converted at once

/// A copy of a picture that is reduced to its average colours. Of areas of more than 16 by 16 pixels, it counts pixels
/// at equal distances only, so that a sum needs no more than 16 bits.
class ReducedCopy {
public:
    ReducedCopy(const Raster& raster, std::uint32_t width, std::uint32_t height)
        : raster_(raster), width_(width), height_(height), step_((raster.width / width + 16) / 16) {
        sums_.resize(std::size_t{3} * width * height);
        counts_.resize(std::size_t{width} * height);
    }
    std::size_t PlaceOf(std::uint32_t x, std::uint32_t y) const {
        return std::size_t{y} * height_ / raster_.height * width_ + std::size_t{x} * width_ / raster_.width;
    }
    void Add(std::uint32_t x, std::uint32_t y, const Rgb& colour) {
        const std::size_t place = PlaceOf(x, y);
        const bool isCounted = x % step_ == 0 && y % step_ == 0;
        if ((!isCounted && counts_[place] != 0) || counts_[place] == 256) return;
        ++counts_[place];
        for (std::size_t c = 0; c < 3; ++c)
            sums_[3 * place + c] = static_cast<std::uint16_t>(sums_[3 * place + c] + colour[c]);
    }
    Bytes Average() const {
        Bytes rgb(sums_.size());
        for (std::size_t i = 0; i < rgb.size(); ++i) {
            const unsigned count = std::max<unsigned>(1, counts_[i / 3]);
            rgb[i] = static_cast<unsigned char>((sums_[i] + count / 2) / count);
        }
        return rgb;
    }

private:
    const Raster& raster_;
    const std::uint32_t width_, height_, step_;
    std::vector<std::uint16_t> sums_, counts_;
};

/// The size of the reduced copy.
std::array<std::uint32_t, 2> ShownSize(const Raster& raster) {
    const std::uint32_t longer = std::max(raster.width, raster.height);
    if (longer <= kMostShown) return {raster.width, raster.height};
    const auto reduced = [&](std::uint64_t side) {
        return static_cast<std::uint32_t>(std::max<std::uint64_t>(1, (side * kMostShown + longer / 2) / longer));
    };
    return {reduced(raster.width), reduced(raster.height)};
}

class Summariser {
public:
    Summariser(const PictureReader& reader, const colour::PixelConverter& converter)
        : raster_(reader.raster()),
          isPremultiplied_(reader.isPremultiplied()),
          converter_(converter),
          shown_(ShownSize(raster_)),
          before_(raster_, shown_[0], shown_[1]),
          after_(raster_, shown_[0], shown_[1]),
          map_(std::size_t{shown_[0]} * shown_[1]) {
        summary_.width = raster_.width;
        summary_.height = raster_.height;
        summary_.bits = raster_.bits;
        summary_.shownWidth = shown_[0];
        summary_.shownHeight = shown_[1];
        summary_.page = reader.page();
        summary_.notes = reader.notes();
        if (raster_.bits == 16) summary_.notes.emplace_back("Samples of 16 bits are shown and plotted with 8 bits.");
    }

    void Add(std::uint32_t x, std::uint32_t y, std::uint32_t pixels, unsigned char* samples) {
        for (std::uint32_t done = 0; done < pixels; done += kPart) {
            AddPart(x + done, y, std::min(kPart, pixels - done), samples + done * raster_.PixelBytes());
        }
    }

    /// `toScreen` is from the colours of the output to sRGB.
    PictureSummary Finish(const colour::Transform& toScreen) {
        summary_.beforeUri = JpegUri(before_.Average(), shown_[0], shown_[1]);
        Bytes after = after_.Average();
        toScreen.Convert(after.data(), 8, after.size() / 3);
        summary_.afterUri = JpegUri(after, shown_[0], shown_[1]);
        summary_.clipUri = ClipMapUri(map_, shown_[0], shown_[1]);
        return std::move(summary_);
    }

private:
    void AddPart(std::uint32_t x, std::uint32_t y, std::uint32_t pixels, unsigned char* samples) {
        for (std::uint32_t n = 0; n < pixels; ++n) Count(At(samples, n), x + n, y, summary_.before, before_);
        converter_.Convert(samples, pixels, raster_.samples, isPremultiplied_);
        colours_.resize(std::size_t{3} * pixels * (raster_.bits / 8));
        const std::size_t size = 3 * (raster_.bits / 8);
        for (std::uint32_t n = 0; n < pixels; ++n) {
            const unsigned char* const pixel = samples + n * raster_.PixelBytes();
            std::copy_n(pixel, size, colours_.data() + n * size);
            Count(At(samples, n), x + n, y, summary_.after, after_);
            NoteClipped(pixel, x + n, y);
        }
        summary_.clipped += converter_.CountClipped(colours_.data(), pixels);
        summary_.pixels += pixels;
    }
    unsigned Sample(const unsigned char* pixel, std::size_t channel) const {
        if (raster_.bits == 8) return pixel[channel];
        std::uint16_t sample;
        std::memcpy(&sample, pixel + 2 * channel, 2);
        return sample;
    }
    /// A pixel in 8 bits.
    Rgb At(const unsigned char* samples, std::uint32_t n) const {
        const unsigned char* const pixel = samples + n * raster_.PixelBytes();
        Rgb rgb;
        for (std::size_t c = 0; c < 3; ++c) {
            rgb[c] = raster_.bits == 8 ? Sample(pixel, c) : (Sample(pixel, c) + 128) / 257;
        }
        return rgb;
    }
    static void Count(const Rgb& rgb, std::uint32_t x, std::uint32_t y, Histograms& histograms, ReducedCopy& copy) {
        for (std::size_t c = 0; c < 3; ++c) ++histograms[c][rgb[c]];
        copy.Add(x, y, rgb);
    }
    void NoteClipped(const unsigned char* pixel, std::uint32_t x, std::uint32_t y) {
        const unsigned top = (1U << raster_.bits) - 1;
        unsigned channels = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            const unsigned sample = Sample(pixel, c);
            summary_.low[c] += sample == 0;
            summary_.high[c] += sample == top;
            if (sample == 0 || sample == top) channels |= 1U << c;
        }
        if (channels == 0) return;
        unsigned char& dot = map_[before_.PlaceOf(x, y)];
        dot = static_cast<unsigned char>(dot | channels);
    }

    const Raster raster_;
    const bool isPremultiplied_;
    const colour::PixelConverter& converter_;
    const std::array<std::uint32_t, 2> shown_;
    ReducedCopy before_, after_;
    Bytes map_, colours_;
    PictureSummary summary_;
};

}  // namespace

PictureSummary SummarisePicture(PictureReader& reader, const DeviceProfile& profile, ProfileCache& cache,
                                const Bytes& target) {
    const auto ready = cache.Get(profile, reader.raster().bits);
    Summariser summariser(reader, ready->converter);
    reader.Read([&](std::uint32_t x, std::uint32_t y, std::uint32_t pixels, unsigned char* samples) {
        summariser.Add(x, y, pixels, samples);
    });
    colour::TransformOptions how;
    how.intent = colour::RenderingIntent::RelativeColorimetric;
    const Bytes srgb = colour::MakeTargetProfile(*colour::FindSpace("srgb"), std::nullopt, 4).value();
    PictureSummary summary = summariser.Finish(colour::Transform(target, srgb, how));
    summary.way = ready->way();
    return summary;
}

}  // namespace hueweave::tool
