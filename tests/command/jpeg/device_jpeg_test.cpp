// SPDX-License-Identifier: MIT
// Grey and CMYK JPEG files with a profile for their colours: the image is that which libjpeg makes, with the settings
// of the source, of the pixels that Little CMS converts in floating point.
#include <cstdio>

#include <jpeglib.h>

#include <nlohmann/json.hpp>

#include "command/support/JpegMaker.h"
#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

using SetJpeg = std::function<void(jpeg_compress_struct*)>;

class DeviceJpegTest : public FileTest {
protected:
    DeviceJpegTest() {
        in_ = folder_ / "in.jpg";
        out_ = folder_ / "out.jpg";
        WriteGreyProfile(grey_);
        WriteCmykProfile(ink_);
    }
    /// A photograph with so many samples a pixel, which have nothing to do with its colours.
    static Picture Photo(unsigned samples) {
        const Picture photo = ReadPictures(Input("photo-8.tif"))[0];
        Picture picture{41, 37, samples, 8, {}, ""};
        for (std::size_t i = 0; i < std::size_t{41} * 37 * samples; ++i) {
            const std::size_t pixel = i / samples % 41 + i / samples / 41 * photo.width;
            const int value = i % samples == 3 ? 255 - photo.values[3 * pixel] / 3 : photo.values[3 * pixel + i % samples];
            picture.values.push_back(static_cast<std::uint16_t>(value));
        }
        return picture;
    }
    Outcome ConvertWith(const std::string& profile, const Words& more = {}) const {
        return Hueweave(Words{"convert", "--force", "--profile", profile, in_, "-o", out_} + more);
    }
    /// Expects the output to be what libjpeg makes, with these settings, of the source's pixels after Little CMS has
    /// converted them. Ink of 255 is none.
    void ExpectConverted(const std::string& profile, unsigned channels, const SetJpeg& set) const {
        const Picture read = ReadJpeg(in_);
        std::vector<float> colours;
        for (const std::uint16_t value : read.values) {
            colours.push_back(read.samples == 4 ? static_cast<float>(255 - value) / 2.55F
                                                : static_cast<float>(value) / 255.0F);
        }
        const std::string bytes = FileBytes(out_), start("ICC_PROFILE\0\1\1", 14);
        const std::size_t at = bytes.find(start);
        ASSERT_NE(at, bytes.npos);
        const auto byte = [&](std::size_t from) { return std::size_t{static_cast<unsigned char>(bytes[from])}; };
        const std::string icc = bytes.substr(at + start.size(), (byte(at - 2) << 8 | byte(at - 1)) - 16);
        Picture converted = read;
        converted.samples = channels;
        converted.values = Judged(OpenProfile(profile), read.samples == 4 ? TYPE_CMYK_FLT : TYPE_GRAY_FLT, icc,
                                  channels == 1 ? TYPE_GRAY_FLT : TYPE_RGB_FLT, colours, 8);
        WriteBytes(folder_ / "wanted.jpg", JpegOf(converted, set));
        EXPECT_EQ(JpegSettings(out_), JpegSettings(folder_ / "wanted.jpg"));
        EXPECT_EQ(ReadJpeg(out_) == ReadJpeg(folder_ / "wanted.jpg"), true);
    }
    const std::string grey_ = folder_ / "grey.icc", ink_ = folder_ / "ink.icc";
};

/// The only table and factors of grey for all of YCbCr.
void AsGrey(jpeg_compress_struct* info) {
    for (int c = 0; c < info->num_components; ++c) {
        info->comp_info[c].quant_tbl_no = 0;
        info->comp_info[c].h_samp_factor = info->comp_info[c].v_samp_factor = 1;
    }
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
    for (const auto& [name, set] : kinds) {
        SCOPED_TRACE(name);
        WriteBytes(in_, JpegOf(Photo(1), set));
        ASSERT_THAT(ConvertWith(grey_), Says(0, "its JPEG data are compressed once more, with the same settings\n"));
        EXPECT_EQ(JpegSettings(out_), JpegSettings(in_));
        ExpectConverted(grey_, 1, set);
        ASSERT_THAT(ConvertWith(grey_, {"--grey-to-rgb"}), Says(0, "its grey pixels are written as RGB of 8 bits\n"));
        ExpectConverted(grey_, 3, [&set = set](jpeg_compress_struct* info) {
            set(info);
            AsGrey(info);
        });
    }
    ASSERT_THAT(ConvertWith(grey_, {"-j", "1"}), Succeeds());
    const std::string once = FileBytes(out_);
    EXPECT_THAT(Hueweave({"convert", "--in-place", out_}), Says(0, "is in srgb already"));
    EXPECT_EQ(FileBytes(out_), once);
}

TEST_F(DeviceJpegTest, InkBecomesRgb) {
    struct Row {
        const char* name;
        SetJpeg set, wanted;
        const char* note;
    };
    const Row rows[] = {{"CMYK", [](jpeg_compress_struct* info) { jpeg_set_quality(info, 85, TRUE); },
                         [](jpeg_compress_struct* info) {
                             jpeg_set_quality(info, 85, TRUE);
                             AsGrey(info);
                         },
                         "its CMYK pixels are written as RGB of 8 bits\n"},
                        {"YCCK with halved colours",
                         [](jpeg_compress_struct* info) {
                             jpeg_set_colorspace(info, JCS_YCCK);
                             info->comp_info[3].h_samp_factor = info->comp_info[3].v_samp_factor = 2;
                         },
                         [](jpeg_compress_struct*) {},
                         "its JPEG data are compressed once more, with the settings that apply to RGB as well\n"},
                        {"progressive YCCK",
                         [](jpeg_compress_struct* info) {
                             jpeg_set_colorspace(info, JCS_YCCK);
                             info->comp_info[0].h_samp_factor = info->comp_info[0].v_samp_factor = 1;
                             info->comp_info[3].h_samp_factor = info->comp_info[3].v_samp_factor = 1;
                             jpeg_simple_progression(info);
                         },
                         [](jpeg_compress_struct* info) {
                             info->comp_info[0].h_samp_factor = info->comp_info[0].v_samp_factor = 1;
                             jpeg_simple_progression(info);
                         },
                         "its CMYK pixels are written as RGB of 8 bits\n"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        WriteBytes(in_, JpegOf(Photo(4), row.set));
        ASSERT_THAT(ConvertWith(ink_), Says(0, row.note));
        ExpectConverted(ink_, 3, row.wanted);
        // The marker of Adobe tells YCbCr now.
        const std::vector<Segment> before = AttachedSegments(in_), after = AttachedSegments(out_);
        ASSERT_EQ(after.size(), 1U);
        EXPECT_EQ(after[0].data, before[0].data.substr(0, 11) + '\1');
    }
    const std::string once = FileBytes(out_);
    EXPECT_THAT(Hueweave({"convert", "--in-place", out_}), Says(0, "is in srgb already"));
    EXPECT_EQ(FileBytes(out_), once);
}

TEST_F(DeviceJpegTest, EmbeddedProfilesAreUsedAndMissingOnesNamed) {
    const Words plain{"convert", "--force", in_, "-o", out_};
    for (const auto& [samples, kind, profile] :
         {std::tuple{1U, std::string("grey"), grey_}, std::tuple{4U, std::string("CMYK"), ink_}}) {
        SCOPED_TRACE(kind);
        const std::string bytes = JpegOf(Photo(samples), [](jpeg_compress_struct*) {});
        WriteBytes(in_, bytes);
        EXPECT_THAT(Hueweave(plain),
                    Refuses(4, "in.jpg: holds " + kind + " pixels without a profile for them; give a " +
                                   "profile for " + kind + " with --profile"));
        EXPECT_THAT(Hueweave(plain + Words{"--others", "skip"}), Says(0, "is left out (" + kind + ")"));
        EXPECT_THAT(ConvertScan({in_, "-o", out_, "--force"}), Refuses(4, "holds " + kind + " pixels, not RGB"));
        EXPECT_EQ(nlohmann::json::parse(Hueweave({"inspect", "--json", in_}).out)["convertible"], false);
        ASSERT_THAT(ConvertWith(profile), Succeeds());
        const Picture given = ReadJpeg(out_);
        const std::string data = std::string("ICC_PROFILE\0\1\1", 14) + FileBytes(profile);
        WriteBytes(in_, WithAtStart(bytes, SegmentBytes({0xe2, data})));
        ASSERT_THAT(Hueweave(plain), Succeeds());
        EXPECT_EQ(ReadJpeg(out_) == given, true);
        EXPECT_EQ(nlohmann::json::parse(Hueweave({"inspect", "--json", in_}).out)["convertible"], true);
    }
    WriteBytes(in_, JpegOf(Photo(4), [](jpeg_compress_struct* info) { info->write_Adobe_marker = FALSE; }));
    EXPECT_THAT(ConvertWith(ink_),
                Refuses(4, "holds CMYK pixels without the marker of Adobe, which tells how they are encoded"));
}

}  // namespace
}  // namespace hueweave::test
