// SPDX-License-Identifier: MIT
// Grey and CMYK JPEG files with a profile for their colours: the image is that which libjpeg makes, with the settings
// of the source, of the pixels that Little CMS converts in floating point.
#include <cstdio>

#include <jpeglib.h>

#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

using SetJpeg = std::function<void(jpeg_compress_struct*)>;

class DeviceJpegTest : public KindTest {
protected:
    DeviceJpegTest() : KindTest("jpg") {}
    /// A photograph with so many samples a pixel, which have nothing to do with its colours.
    static Picture Photo(unsigned samples) {
        const Picture photo = ReadPictures(Input("photo-8.tif"))[0];
        Picture picture{41, 37, samples, 8, {}, ""};
        for (std::size_t i = 0; i < std::size_t{41} * 37 * samples; ++i) {
            const std::size_t pixel = 3 * (i / samples % 41 + i / samples / 41 * photo.width), c = i % samples;
            const unsigned sample = c == 3 ? 255U - photo.values[pixel] / 3U : photo.values[pixel + c];
            picture.values.push_back(static_cast<std::uint16_t>(sample));
        }
        return picture;
    }
    /// Expects the output to be what libjpeg makes, with these settings, of the source's pixels after Little CMS has
    /// converted them. Ink of 255 is none.
    void ExpectConverted(const std::string& profile, unsigned channels, const SetJpeg& set) const {
        Picture picture = ReadJpeg(in_);
        Samples samples{picture.samples == 4 ? 5U : 1U, picture.samples};
        for (const std::uint16_t value : picture.values) {
            samples.values.push_back(picture.samples == 4 ? 255U - value : value);
        }
        picture.samples = channels;
        picture.values = Judged(samples, OpenProfile(profile), Embedded(out_));
        ASSERT_EQ(picture.values.size(), samples.values.size() / samples.perPixel * channels);
        ExpectJpeg(picture, set);
    }
};

/// The only table and factors of grey, also for all colours of RGB or CMYK.
void AsGrey(jpeg_compress_struct* info) {
    for (int c = 0; c < info->num_components; ++c) {
        info->comp_info[c].quant_tbl_no = 0;
        info->comp_info[c].h_samp_factor = info->comp_info[c].v_samp_factor = 1;
    }
}

/// CMYK as YCCK, whose settings apply to YCbCr as well.
void AsYcck(jpeg_compress_struct* info) {
    if (info->num_components == 4) jpeg_set_colorspace(info, JCS_YCCK);
}

TEST_F(DeviceJpegTest, GreyStaysGreyOrBecomesRgb) {
    const std::pair<const char*, SetJpeg> kinds[] = {
        {"usual", [](jpeg_compress_struct* info) { jpeg_set_quality(info, 90, TRUE); }},
        {"progressive",
         [](jpeg_compress_struct* info) {
             jpeg_simple_progression(info);
             info->restart_interval = 5;
         }},
        {"arithmetic", [](jpeg_compress_struct* info) { info->arith_code = TRUE; }}};
    for (const auto& [name, setKind] : kinds) {
        SCOPED_TRACE(name);
        const SetJpeg set = [&setKind = setKind](jpeg_compress_struct* info) {
            setKind(info);
            AsGrey(info);
        };
        WriteBytes(in_, JpegOf(Photo(1), set));
        ASSERT_THAT(ConvertBy(grey_), Says(0, "its JPEG data are compressed once more, with the same settings\n"));
        ExpectConverted(grey_, 1, set);
        ASSERT_THAT(ConvertBy(grey_, {"--grey-to-rgb"}), Says(0, "its grey pixels are written as RGB of 8 bits\n"));
        ExpectConverted(grey_, 3, set);
    }
    ASSERT_THAT(ConvertBy(grey_, {"-j", "1"}), Succeeds());
    ExpectDone();
}

TEST_F(DeviceJpegTest, InkBecomesRgb) {
    constexpr const char* kRgb = "its CMYK pixels are written as RGB of 8 bits\n";
    const std::tuple<const char*, SetJpeg, const char*> kinds[] = {
        {"CMYK",
         [](jpeg_compress_struct* info) {
             jpeg_set_quality(info, 85, TRUE);
             AsGrey(info);
         },
         kRgb},
        {"YCCK with halved colours", AsYcck,
         "its JPEG data are compressed once more, with the settings that apply to RGB as well\n"},
        {"progressive YCCK",
         [](jpeg_compress_struct* info) {
             AsYcck(info);
             for (int c = 0; c < info->num_components; ++c) {
                 info->comp_info[c].h_samp_factor = info->comp_info[c].v_samp_factor = 1;
             }
             jpeg_simple_progression(info);
         },
         kRgb}};
    for (const auto& [name, set, note] : kinds) {
        SCOPED_TRACE(name);
        WriteBytes(in_, JpegOf(Photo(4), set));
        ASSERT_THAT(ConvertBy(ink_), Says(0, note));
        ExpectConverted(ink_, 3, set);
        // The marker of Adobe tells YCbCr now.
        const std::vector<Segment> before = AttachedSegments(in_), after = AttachedSegments(out_);
        ASSERT_EQ(after.size(), 1U);
        EXPECT_EQ(after[0].data, before[0].data.substr(0, 11) + '\1');
    }
    ExpectDone();
}

TEST_F(DeviceJpegTest, EmbeddedProfilesAreUsedAndMissingOnesNamed) {
    for (const auto& [samples, kind, profile] :
         {std::tuple{1U, std::string("grey"), grey_}, std::tuple{4U, std::string("CMYK"), ink_}}) {
        SCOPED_TRACE(kind);
        const std::string bytes = JpegOf(Photo(samples), [](jpeg_compress_struct*) {});
        WriteBytes(in_, bytes);
        EXPECT_THAT(ConvertByEmbedded(),
                    Refuses(4, "in.jpg: holds " + kind + " pixels without a profile for them; give a " +
                                   "profile for " + kind + " with --profile"));
        EXPECT_THAT(ConvertByEmbedded({"--others", "skip"}), Says(0, "is left out (" + kind + ")"));
        EXPECT_THAT(Convert({"--force"}), Refuses(4, "holds " + kind + " pixels, not RGB"));
        EXPECT_EQ(Told({"inspect", in_})["convertible"], false);
        ASSERT_THAT(ConvertBy(profile), Succeeds());
        const Picture given = ReadJpeg(out_);
        const std::string data = std::string("ICC_PROFILE\0\1\1", 14) + FileBytes(profile);
        WriteBytes(in_, WithAtStart(bytes, SegmentBytes({0xe2, data})));
        ASSERT_THAT(ConvertByEmbedded(), Succeeds());
        EXPECT_EQ(ReadJpeg(out_) == given, true);
        EXPECT_EQ(Told({"inspect", in_})["convertible"], true);
    }
    WriteBytes(in_, JpegOf(Photo(4), [](jpeg_compress_struct* info) { info->write_Adobe_marker = FALSE; }));
    EXPECT_THAT(ConvertBy(ink_),
                Refuses(4, "holds CMYK pixels without the marker of Adobe, which tells how they are encoded"));
}

}  // namespace
}  // namespace hueweave::test
