// SPDX-License-Identifier: MIT
#include "system/files/FileKind.h"

#include <algorithm>
#include <iterator>

namespace hueweave::tool {
namespace {

using namespace std::string_view_literals;

struct Mark {
    std::size_t offset = 0;
    std::string_view bytes{};

    bool IsIn(std::string_view head) const { return head.size() >= offset && head.substr(offset).starts_with(bytes); }
};

struct Kind {
    std::string_view what;
    Mark mark, other{};  ///< both must be there
};

constexpr Kind kKinds[] = {
    {"a JPEG file", {0, "\xff\xd8\xff"sv}},
    {"a PNG file", {0, "\x89PNG\r\n\x1a\n"sv}},
    {"a GIF file", {0, "GIF8"sv}},
    {"a BMP file", {0, "BM"sv}, {6, "\0\0\0\0"sv}},
    {"a WebP file", {0, "RIFF"sv}, {8, "WEBP"sv}},
    {"a PDF file", {0, "%PDF-"sv}},
    {"a PostScript file", {0, "%!PS"sv}},
    {"a PostScript file", {0, "\xc5\xd0\xd3\xc6"sv}},
    {"a Photoshop file", {0, "8BPS"sv}},
    {"a HEIF file", {4, "ftyphei"sv}},
    {"a HEIF file", {4, "ftyphev"sv}},
    {"a HEIF file", {4, "ftypmif1"sv}},
    {"a HEIF file", {4, "ftypmsf1"sv}},
    {"an AVIF file", {4, "ftypavi"sv}},
    {"a JPEG 2000 file", {0, "\0\0\0\x0cjP  \r\n\x87\n"sv}},
    {"a JPEG 2000 file", {0, "\xff\x4f\xff\x51"sv}},
    {"a JPEG XL file", {0, "\0\0\0\x0cJXL \r\n\x87\n"sv}},
    {"a JPEG XL file", {0, "\xff\x0a"sv}},
    {"a JPEG XR file", {0, "II\xbc"sv}},
    {"an OpenEXR file", {0, "\x76\x2f\x31\x01"sv}},
    {"a DICOM file", {128, "DICM"sv}},
    {"a raw camera file", {4, "ftypcrx "sv}},
    {"a raw camera file", {6, "HEAPCCDR"sv}},
    {"a raw camera file", {0, "FUJIFILMCCD-RAW"sv}},
    {"a raw camera file", {0, "IIRO"sv}},
    {"a raw camera file", {0, "IIRS"sv}},
    {"a raw camera file", {0, "MMOR"sv}},
    {"a raw camera file", {0, "IIU\0"sv}},
    {"a raw camera file", {0, "FOVb"sv}},
    {"a raw camera file", {0, "\0MRM"sv}},
    {kProfileKind, {36, "acsp"sv}},
    {"a ZIP archive", {0, "PK\x03\x04"sv}},
    {"a gzip file", {0, "\x1f\x8b"sv}},
};
constexpr std::size_t kHead = 132;  ///< bytes, up to the end of the last mark

static_assert(std::all_of(std::begin(kKinds), std::end(kKinds), [](const Kind& kind) {
    return kind.mark.offset + kind.mark.bytes.size() <= kHead && kind.other.offset + kind.other.bytes.size() <= kHead;
}));

}  // namespace

std::string_view FileKind(const FileAccess& file) {
    const Bytes bytes = file.Read({0, std::min<std::uint64_t>(kHead, file.Size())});
    if (bytes.empty()) return "empty";
    const std::string_view head(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto* found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                     [&](const Kind& kind) { return kind.mark.IsIn(head) && kind.other.IsIn(head); });
    return found == std::end(kKinds) ? std::string_view() : found->what;
}

std::string NotA(std::string_view wanted, const FileAccess& file) {
    const std::string_view kind = FileKind(file);
    return "is " + (kind.empty() ? "" : std::string(kind) + ", ") + "not " + std::string(wanted);
}

}  // namespace hueweave::tool
