// SPDX-License-Identifier: MIT
#include "picture/Format.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string>

namespace hueweave::tool {
namespace {

struct Extension {
    std::string_view text;
    Format format;
};
constexpr Extension kExtensions[] = {{".tif", Format::Tiff},  {".tiff", Format::Tiff}, {".tf8", Format::Tiff},
                                     {".btf", Format::Tiff},  {".png", Format::Png},   {".jpg", Format::Jpeg},
                                     {".jpeg", Format::Jpeg}, {".jpe", Format::Jpeg}};

}  // namespace

Format FormatOf(const FileAccess& file) {
    unsigned char head[4] = {};
    file.Read(0, head, static_cast<std::size_t>(std::min<std::uint64_t>(sizeof head, file.Size())));
    if (head[0] == head[1] && (head[0] == 'I' || head[0] == 'M')) return Format::Tiff;
    if (head[0] == 0x89 && head[1] == 'P' && head[2] == 'N' && head[3] == 'G') return Format::Png;
    if (head[0] == 0xff && head[1] == 0xd8 && head[2] == 0xff) return Format::Jpeg;
    return Format::Unknown;
}

Format FormatOfName(std::string_view path) {
    const std::size_t dot = path.find_last_of("./");
    if (dot == path.npos) return Format::Unknown;
    std::string end(path.substr(dot));
    std::transform(end.begin(), end.end(), end.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto* found = std::find_if(std::begin(kExtensions), std::end(kExtensions),
                                     [&](const Extension& known) { return known.text == end; });
    return found == std::end(kExtensions) ? Format::Unknown : found->format;
}

std::string_view FormatName(Format format) {
    return format == Format::Tiff ? "TIFF" : format == Format::Png ? "PNG" : "JPEG";
}

std::string_view FormatWord(Format format) {
    return format == Format::Tiff ? "tiff" : format == Format::Png ? "png" : "jpeg";
}

std::string_view FormatExtension(Format format) {
    return format == Format::Tiff ? ".tif" : format == Format::Png ? ".png" : ".jpg";
}

}  // namespace hueweave::tool
