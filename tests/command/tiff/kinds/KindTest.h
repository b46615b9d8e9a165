// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "command/support/DeviceProfiles.h"
#include "command/support/FileTest.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {

/// The samples of an image of 7 x 5 pixels, interleaved, and the tags that describe them.
struct Samples {
    unsigned photometric = 2, perPixel = 3, bits = 8;
    std::vector<std::uint64_t> values{};
    Entries more{};
    unsigned compression = 1;  ///< 8 for Deflate
    bool planar = false;
};
inline constexpr unsigned kWidth = 7, kHeight = 5, kPixels = kWidth * kHeight;

/// `count` values that differ from each other as far as `bits` allow, with the least and the greatest.
inline std::vector<std::uint64_t> Varied(std::size_t count, unsigned bits) {
    const std::uint64_t top = (std::uint64_t{1} << bits) - 1;
    std::vector<std::uint64_t> values;
    for (std::size_t i = 0; i < count; ++i)
        values.push_back(i == 0 ? 0 : i == 1 ? top : i * 40503 * 2654435 % (top + 1));
    return values;
}

/// Rows of samples as TIFF packs them: little-endian for 16 bits, otherwise the most significant bit first.
inline std::string Packed(const Samples& samples) {
    std::string packed;
    const std::size_t row = std::size_t{kWidth} * samples.perPixel;
    for (std::size_t i = 0; i < samples.values.size(); i += row) {
        std::uint64_t window = 0;
        unsigned held = 0;
        for (std::size_t s = i; s < i + row; ++s) {
            if (samples.bits == 16) {
                packed += Little({samples.values[s]}, 2);
                continue;
            }
            window = window << samples.bits | samples.values[s];
            for (held += samples.bits; held >= 8; held -= 8) packed += static_cast<char>(window >> (held - 8));
        }
        if (held > 0) packed += static_cast<char>(window << (8 - held));
    }
    return packed;
}

/// The packed samples of each plane, or of all together.
inline std::vector<std::string> Planes(const Samples& samples) {
    if (!samples.planar) return {Packed(samples)};
    std::vector<std::string> planes;
    for (std::size_t c = 0; c < samples.perPixel; ++c) {
        Samples plane = samples;
        plane.perPixel = 1;
        plane.values.clear();
        for (std::size_t i = c; i < samples.values.size(); i += samples.perPixel) {
            plane.values.push_back(samples.values[i]);
        }
        planes.push_back(Packed(plane));
    }
    return planes;
}

/// A file of these samples in two strips, the second shorter than the first.
inline void WriteSamples(const std::string& path, const Samples& samples) {
    TiffMaker tiff;
    std::vector<std::uint64_t> offsets, counts;
    for (const std::string& all : Planes(samples)) {
        const std::size_t first = all.size() / kHeight * 3;
        for (const std::string& strip : {all.substr(0, first), all.substr(first)}) {
            const std::string coded = samples.compression == 8 ? Deflated(strip) : strip;
            offsets.push_back(tiff.Put(coded));
            counts.push_back(coded.size());
        }
    }
    Entries entries{
        TiffMaker::Long(256, kWidth),
        TiffMaker::Long(257, kHeight),
        {258, 3, samples.perPixel, 0, Little(std::vector<std::uint64_t>(samples.perPixel, samples.bits), 2)},
        TiffMaker::Short(259, samples.compression),
        TiffMaker::Short(262, samples.photometric),
        TiffMaker::Longs(273, offsets),
        TiffMaker::Short(277, samples.perPixel),
        TiffMaker::Long(278, 3),
        TiffMaker::Longs(279, counts),
        TiffMaker::Short(284, samples.planar ? 2 : 1)};
    entries.insert(entries.end(), samples.more.begin(), samples.more.end());
    tiff.Page(entries);
    tiff.Save(path);
}

/// Colours by Little CMS in floating point, with the perceptual intent, as samples of `bits` bits: from the colours of
/// one profile to those of another, as floats in its formats.
inline std::vector<std::uint16_t> Judged(const Profile& source, cmsUInt32Number from, const std::string& target,
                                         cmsUInt32Number to, const std::vector<float>& colours, unsigned bits) {
    const Profile output = ProfileOf(target);
    const Transform transform(cmsCreateTransform(source.get(), from, output.get(), to, INTENT_PERCEPTUAL,
                                                 cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
    const std::size_t pixels = colours.size() / T_CHANNELS(from);
    std::vector<float> reached(pixels * T_CHANNELS(to));
    cmsDoTransform(transform.get(), colours.data(), reached.data(), static_cast<cmsUInt32Number>(pixels));
    const float top = bits == 8 ? 255.0F : 65535.0F;
    std::vector<std::uint16_t> samples;
    for (const float value : reached) {
        samples.push_back(static_cast<std::uint16_t>(std::clamp(value, 0.0F, 1.0F) * top + 0.5F));
    }
    return samples;
}

/// Converts files of other kinds than RGB of 8 or 16 bits with the exact precision.
class KindTest : public FileTest {
protected:
    Outcome ConvertKind(const Words& more = {}) const { return ConvertFileOf(in_, out_, more); }
    static Outcome ConvertFileOf(const std::string& in, const std::string& out, const Words& more = {}) {
        return Hueweave(Words{"convert", "--force", "--profile", Input("scanner.icc"), in, "-o", out} + more);
    }
    /// Expects the conversion of `in_` to be that of the same picture as RGB.
    void ExpectLikeRgb(const std::string& rgb, const Words& more = {}) const {
        const std::string wanted = folder_ / "wanted.tif";
        ASSERT_THAT(ConvertFileOf(rgb, wanted), Succeeds());
        ASSERT_THAT(ConvertKind(more), Succeeds());
        EXPECT_EQ(ReadPictures(out_), ReadPictures(wanted));
        EXPECT_EQ(Tag(out_, "PhotometricInterpretation"), "RGB\n");
    }
    void ExpectLikeRgb(const Samples& rgb) const {
        WriteSamples(folder_ / "rgb.tif", rgb);
        ExpectLikeRgb(folder_ / "rgb.tif");
    }
    /// The value of a tag as exiftool prints it; empty if the file does not have it.
    static std::string Tag(const std::string& path, const std::string& name) {
        return Shell("exiftool -s3 -" + name + " " + Quoted(path));
    }
};

}  // namespace hueweave::test
