// SPDX-License-Identifier: MIT
#include "png/ChunkRules.h"

#include <algorithm>
#include <iterator>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::string_view kCritical[] = {"IHDR", "PLTE", "IDAT", "IEND"};

/// A reader would take the colours from these.
constexpr std::string_view kDescribe[] = {"iCCP", "sRGB", "gAMA", "cHRM"};

/// Not safe to copy for a program that does not know them. These say nothing about the values of samples: counts for
/// the entries of a palette, the size of a pixel, the arrangement of two
/// images side by side, and the time of the last change.
constexpr std::string_view kIndependent[] = {"hIST", "sCAL", "sTER", "tIME"};

/// Marked as safe to copy, but valid for the old colours only: drafts of mDCV and cLLI.
constexpr std::string_view kUntrue[] = {"mDCv", "cLLi"};

}  // namespace

ChunkFate FateOf(const PngChunk& chunk, const PngHeader& header, bool samplesChange) {
    const std::string_view type = chunk.type;
    const auto isIn = [type](const auto& list) {
        return std::find(std::begin(list), std::end(list), type) != std::end(list);
    };
    const bool hasPalette = header.colours == PngHeader::Palette;
    if (type == "IDAT") return ChunkFate::Image;
    if (isIn(kDescribe)) return ChunkFate::Describe;
    // cICP takes precedence over the profile; dSIG signs the file as it was.
    if (type == "cICP" || type == "dSIG") return ChunkFate::Drop;
    if (!samplesChange) return ChunkFate::Keep;
    if (type == "IHDR") return ChunkFate::Convert;
    // A grey image has no palette; readers ignore it, but it would be one of an image that became RGB.
    if (type == "PLTE") return header.IsGrey() ? ChunkFate::Drop : ChunkFate::Convert;
    // With a palette, tRNS contains its alpha and bKGD an index.
    if (type == "tRNS" || type == "bKGD") return hasPalette ? ChunkFate::Keep : ChunkFate::Convert;
    if (isIn(kUntrue)) return ChunkFate::Drop;
    // Among those that are removed: sBIT counts the bits of the old samples, and sPLT contains colours.
    const bool keeps = isIn(kCritical) || isIn(kIndependent) || chunk.IsSafeToCopy();
    return keeps ? ChunkFate::Keep : ChunkFate::Drop;
}

void CheckConvertible(const PngStructure& structure) {
    const std::string& name = structure.file().name();
    for (const PngChunk& chunk : structure.chunks()) {
        const auto is = [&](std::string_view type) { return type == chunk.type; };
        if (!chunk.IsCritical() || std::any_of(std::begin(kCritical), std::end(kCritical), is)) continue;
        throw Refusal(Exit::Input, name, "contains a critical chunk " + chunk.type + " that is not known",
                      "rewrite it with a program that supports it");
    }
    if (structure.Find("acTL") != nullptr) {
        throw Refusal(Exit::Input, name, "is an animated PNG, of which only the first image could be converted",
                      "write each of its images to a file of its own");
    }
}

}  // namespace hueweave::tool
