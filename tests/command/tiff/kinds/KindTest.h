// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdio>
#include <numeric>

#include <jpeglib.h>

#include "colour/ExactConverter.h"
#include "colour/PixelConverter.h"
#include "command/support/DeviceProfiles.h"
#include "command/support/ExifTool.h"
#include "command/support/FileTest.h"
#include "command/support/JpegMaker.h"
#include "command/support/OpenedTiff.h"
#include "command/support/Picture.h"
#include "command/support/ProfileTest.h"
#include "command/support/TiffMaker.h"
#include "picture/Writing.h"

namespace hueweave::test {

/// The samples of an image of 7 x 5 pixels, interleaved, and the tags that describe them.
struct Samples {
    unsigned photometric = 2, perPixel = 3, bits = 8;
    std::vector<std::uint64_t> values{};
    Entries more{};
    unsigned compression = 1;  ///< 8 for Deflate
    unsigned planar = 1;       ///< 2 for values plane by plane
};
inline constexpr unsigned kWidth = 7, kHeight = 5, kPixels = kWidth * kHeight;

/// `count` values that differ from each other as far as `bits` allow, with the least and the greatest.
inline std::vector<std::uint64_t> Varied(std::size_t count, unsigned bits) {
    const std::uint64_t top = (std::uint64_t{1} << bits) - 1;
    std::vector<std::uint64_t> values{0, top};
    for (std::size_t i = 2; i < count; ++i) values.push_back(i * 40503 * 2654435 % (top + 1));
    return values;
}

/// Rows of samples, the most significant bit first; samples of 16 bits are little-endian unless `isBigEndian`.
inline std::string Packed(const Samples& samples, bool isBigEndian = false) {
    std::string packed;
    const std::size_t row = samples.planar == 1 ? std::size_t{kWidth} * samples.perPixel : kWidth;
    for (std::size_t i = 0; i < samples.values.size(); i += row) {
        std::uint64_t window = 0;
        unsigned held = 0;
        for (std::size_t s = i; s < i + row; ++s) {
            const std::uint64_t value = samples.values[s];
            const bool swaps = samples.bits == 16 && !isBigEndian;
            window = window << samples.bits | (swaps ? (value & 255) << 8 | value >> 8 : value);
            for (held += samples.bits; held >= 8; held -= 8) packed += static_cast<char>(window >> (held - 8));
        }
        if (held > 0) packed += static_cast<char>(window << (8 - held));
    }
    return packed;
}

/// The entries with those of the same tags replaced.
inline Entries WithAll(Entries entries, const Entries& changed) {
    return std::accumulate(changed.begin(), changed.end(), std::move(entries), With);
}

/// A file of these samples in two strips, the second shorter than the first.
inline void WriteSamples(const std::string& path, const Samples& samples) {
    TiffMaker tiff;
    TiffMaker::Shape shape{kWidth, kHeight, {}, {}, samples.compression, samples.perPixel, samples.planar, 3};
    const std::string all = Packed(samples);
    const std::size_t size = samples.planar == 1 ? all.size() : all.size() / samples.perPixel,
                      first = size / kHeight * 3;
    for (std::size_t at = 0; at < all.size(); at += size) {
        for (const std::string& strip : {all.substr(at, first), all.substr(at + first, size - first)}) {
            const std::string coded = samples.compression == 8 ? Deflated(strip) : strip;
            shape.offsets.push_back(tiff.Put(coded));
            shape.counts.push_back(coded.size());
        }
    }
    const std::vector<std::uint64_t> depths(samples.perPixel, samples.bits);
    Entries entries = WithAll(TiffMaker::Rgb(shape), {{258, 3, samples.perPixel, 0, Little(depths, 2)},
                                                      TiffMaker::Short(262, samples.photometric)});
    tiff.Page(WithAll(entries, samples.more));
    tiff.Save(path);
}

/// The colours of the pixels as floats of Little CMS: grey, CMYK or Lab by the photometric interpretation.
inline std::vector<float> Colours(const Samples& samples) {
    const unsigned photometric = samples.photometric, channels = photometric == 5 ? 4 : photometric > 5 ? 3 : 1;
    const auto top = static_cast<float>((1U << samples.bits) - 1);
    const float steps = samples.bits == 8 ? 1 : 256, half = 128 * steps;  // of a colour in Lab
    std::vector<float> colours;
    for (std::size_t i = 0; i < samples.values.size(); ++i) {
        const std::size_t c = i % samples.perPixel;
        const auto value = static_cast<float>(samples.values[i]);
        if (c >= channels) continue;
        if (channels == 1) {
            colours.push_back((photometric == 0 ? top - value : value) / top);
        } else if (channels == 4) {
            colours.push_back(value / top * 100);
        } else if (c == 0) {
            colours.push_back(value * 100 / (photometric == 9 ? 255 * steps : top));
        } else {
            colours.push_back((value - (photometric == 9 ? half : value < half ? 0 : 2 * half)) / steps);
        }
    }
    return colours;
}

/// The same pixels converted by Little CMS in floating point with the perceptual intent, from one profile to another,
/// as samples of 8 or 16 bits; extra samples stay.
inline std::vector<std::uint16_t> Judged(const Samples& samples, const Profile& source, const std::string& target) {
    const Profile output = ProfileOf(target);
    const cmsUInt32Number from = cmsFormatterForColorspaceOfProfile(source.get(), sizeof(float), TRUE);
    const cmsUInt32Number to = cmsFormatterForColorspaceOfProfile(output.get(), sizeof(float), TRUE);
    const Transform transform(cmsCreateTransform(source.get(), from, output.get(), to, INTENT_PERCEPTUAL,
                                                 cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
    const std::vector<float> colours = Colours(samples);
    const std::size_t pixels = colours.size() / T_CHANNELS(from), channels = T_CHANNELS(to);
    std::vector<float> reached(pixels * channels);
    cmsDoTransform(transform.get(), colours.data(), reached.data(), static_cast<cmsUInt32Number>(pixels));
    const float top = samples.bits == 16 ? 65535.0F : 255.0F;
    std::vector<std::uint16_t> judged;
    for (std::size_t p = 0; p < pixels; ++p) {
        for (std::size_t c = p * channels; c < (p + 1) * channels; ++c) {
            judged.push_back(static_cast<std::uint16_t>(std::clamp(reached[c], 0.0F, 1.0F) * top + 0.5F));
        }
        for (std::size_t c = T_CHANNELS(from); c < samples.perPixel; ++c) {
            judged.push_back(static_cast<std::uint16_t>(samples.values[p * samples.perPixel + c]));
        }
    }
    return judged;
}

/// A file as the rewriter of its format writes it with the same colours and this many bytes of memory.
template <typename Structure>
std::string Rewritten(const std::string& path, std::uint64_t memory, unsigned bits, const auto& rewrite) {
    const Folder folder;
    const tool::FileAccess file = tool::FileAccess::OpenInput(path);
    const tool::FileAccess target = tool::FileAccess::Scratch(folder.path(), "out");
    const auto copy = std::make_shared<const colour::Transform>(LcmsSrgb(), LcmsSrgb(), colour::TransformOptions{});
    const colour::PixelConverter converter(std::make_unique<colour::ExactConverter>(copy, bits));
    tool::WriteSettings settings;
    settings.memory = memory;
    tool::Measured measured;
    rewrite(Structure(file), &converter, target, settings, measured);
    const tool::Bytes bytes = target.Read({0, target.Size()});
    return {bytes.begin(), bytes.end()};
}

/// Converts files of other kinds than RGB of 8 or 16 bits with the exact precision.
class KindTest : public FileTest {
protected:
    explicit KindTest(const std::string& end = "tif") {
        in_ = folder_ / "in." + end;
        out_ = folder_ / "out." + end;
        WriteGreyProfile(grey_);
        WriteCmykProfile(ink_);
    }
    Outcome ConvertByEmbedded(const Words& more = {}) const {
        return Hueweave(Words{"convert", "--force", in_, "-o", out_} + more);
    }
    Outcome ConvertBy(const std::string& profile, const Words& more = {}) const {
        return ConvertByEmbedded(Words{"--profile", profile} + more);
    }
    Outcome ConvertKind(const Words& more = {}) const { return ConvertBy(Input("scanner.icc"), more); }
    /// Expects the conversion of `in_` to be that of the same picture as RGB.
    void ExpectLikeRgb(const std::string& rgb, const Words& more = {}) const {
        const std::string wanted = folder_ / "wanted.tif";
        ASSERT_THAT(Hueweave({"convert", "--force", "--profile", Input("scanner.icc"), rgb, "-o", wanted}), Succeeds());
        ASSERT_THAT(ConvertKind(more), Succeeds());
        EXPECT_EQ(ReadPictures(out_), ReadPictures(wanted));
        EXPECT_EQ(Tag(out_, "PhotometricInterpretation"), "RGB\n");
    }
    void ExpectLikeRgb(const Samples& rgb) const {
        WriteSamples(folder_ / "rgb.tif", rgb);
        ExpectLikeRgb(folder_ / "rgb.tif");
    }
    /// Expects the output to stay as it is when it is converted once more.
    void ExpectDone(const std::string& space = "srgb", const Words& more = {}) const {
        const std::string before = FileBytes(out_);
        EXPECT_THAT(Hueweave(Words{"convert", "--in-place", "--to", space, out_} + more),
                    Says(0, "is in " + space + " already"));
        EXPECT_EQ(FileBytes(out_), before);
    }
    /// Expects the output to be as libjpeg makes it of this picture with these settings. Returns the file that it
    /// makes.
    std::string ExpectJpeg(const Picture& picture, const std::function<void(jpeg_compress_struct*)>& set) const {
        const std::string wanted = profiles_ / "wanted.jpg", bytes = JpegOf(picture, set);
        WriteBytes(wanted, bytes);
        EXPECT_EQ(JpegSettings(out_), JpegSettings(wanted));
        EXPECT_EQ(ReadJpeg(out_) == ReadJpeg(wanted), true);
        return bytes;
    }
    /// Expects one run to refuse each of these files of the ending of `in_` for its reason, and to write nothing.
    void ExpectEachRefused(const std::vector<std::pair<std::string, std::string>>& files) const {
        const std::string scans = folder_ / "scans", to = folder_ / "converted";
        const auto name = [&](std::size_t n) {
            return scans + "/" + std::to_string(n) + fs::path(in_).extension().string();
        };
        for (std::size_t n = 0; n < files.size(); ++n) WriteBytes(name(n), files[n].first);
        const Outcome run = ConvertScan({scans, "-o", to, "--verbose"});
        EXPECT_EQ(run.status, 4);
        for (std::size_t n = 0; n < files.size(); ++n) {
            EXPECT_THAT(Lines(run.err), testing::Contains(AllOf(testing::StartsWith("hueweave: " + name(n) + ": "),
                                                                HasSubstr(files[n].second), HasSubstr("; "))));
        }
        EXPECT_FALSE(Exists(to));
    }
    /// The value of a tag as exiftool prints it; empty if the file does not have it.
    static std::string Tag(const std::string& path, const std::string& name) {
        return ExifTool({"-s3", "-" + name, path});
    }
    /// A file of any format as ImageMagick reads it.
    Picture ReadByPeer(const std::string& path, const std::string& options = "") const {
        const std::string read = profiles_ / "read.tif";
        Shell("convert-im6 " + Quoted(path) + " " + options + " -compress none " + Quoted(read));
        Picture picture = ReadPictures(read)[0];
        picture.icc.clear();
        return picture;
    }
    /// The profile that a file of any format embeds, as exiftool finds it.
    static std::string Embedded(const std::string& path) {
        const Folder found;
        ExifTool({"-b", "-ICC_Profile", "-w", "%0f" + (found / "icc"), path});
        return FileBytes(found / "icc");
    }
    Folder profiles_;
    const std::string grey_ = profiles_ / "grey.icc", ink_ = profiles_ / "ink.icc";
};

}  // namespace hueweave::test
