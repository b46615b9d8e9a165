// SPDX-License-Identifier: MIT
// A file of another format is named by its first bytes, whatever its name is.
#include "system/files/FileKind.h"

#include "command/support/Command.h"

namespace hueweave::test {
namespace {

using std::string_view_literals::operator""sv;

TEST(FileKindTest, IsToldByTheFirstBytes) {
    struct Row {
        std::string_view bytes, kind;
    };
    const std::string dicom = std::string(128, '\0') + "DICM", icc = std::string(36, '\1') + "acsp";
    const Row rows[] = {{"\xff\xd8\xff\xe0"sv, "a JPEG file"},
                        {"%PDF-1.7\n"sv, "a PDF file"},
                        {"8BPS\0\1"sv, "a Photoshop file"},
                        {"\0\0\0\x18"
                         "ftypheic\0\0\0\0"sv,
                         "a HEIF file"},
                        {"\0\0\0\x18"
                         "ftypmif1\0\0\0\0"sv,
                         "a HEIF file"},
                        {"\0\0\0\x18"
                         "ftypavif\0\0\0\0"sv,
                         "an AVIF file"},
                        {"\0\0\0\x18"
                         "ftypisom\0\0\0\0"sv,
                         ""},
                        {"\0\0\0\x18"
                         "ftypcrx \0\0\0\0"sv,
                         "a raw camera file"},
                        {"FUJIFILMCCD-RAW 0201"sv, "a raw camera file"},
                        {"IIRO\x08\0\0\0"sv, "a raw camera file"},
                        {"IIU\0\x18\0\0\0"sv, "a raw camera file"},
                        {"II\x1a\0\0\0HEAPCCDR"sv, "a raw camera file"},
                        {"RIFF\0\1\0\0WEBPVP8 "sv, "a WebP file"},
                        {"RIFF\0\1\0\0WAVEfmt "sv, ""},
                        {"BM\x36\0\1\0\0\0\0\0"sv, "a BMP file"},
                        {"BMI of a patient"sv, ""},
                        {dicom, "a DICOM file"},
                        {icc, "an ICC profile"},
                        {"PK\x03\x04"sv, "a ZIP archive"},
                        {""sv, "empty"},
                        {"\xff"sv, ""},
                        {"II*\0\x08\0\0\0"sv, ""},
                        {"a text"sv, ""}};
    const Folder folder;
    for (const auto& [bytes, kind] : rows) {
        WriteBytes(folder / "x.tif", std::string(bytes));
        EXPECT_EQ(tool::FileKind(tool::FileAccess::OpenInput(folder / "x.tif")), kind) << bytes;
    }
}

TEST(FileKindTest, FilesByAnotherProgramAreNamed) {
    const Folder folder;
    for (const auto& [scheme, kind] : {std::pair{"gif", "a GIF"}, {"bmp", "a BMP"}}) {
        const std::string file = folder / "scan.tif";
        Shell("convert-im6 " + Quoted(Input("photo-8.tif")) + " " + scheme + ":" + Quoted(file));
        EXPECT_THAT(Hueweave({"convert", file, "-o", folder / "out.tif"}),
                    SaysOnly(4, file + ": is " + kind + " file, not a TIFF, PNG or JPEG file; give one of these"));
        EXPECT_THAT(
            Hueweave({"inspect", file}),
            SaysOnly(4, file + ": is " + kind + " file, not a profile or a TIFF, PNG or JPEG file; give one of them"));
    }
}

}  // namespace
}  // namespace hueweave::test
