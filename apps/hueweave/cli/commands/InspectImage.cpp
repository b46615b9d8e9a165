// SPDX-License-Identifier: MIT
#include "cli/commands/InspectImage.h"

#include <fmt/format.h>

#include "batch/file/plan/JpegPlan.h"
#include "batch/file/plan/PngPlan.h"
#include "batch/file/plan/ProfileChoice.h"
#include "jpeg/JpegRewriter.h"
#include "png/ChunkRules.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

using Json = nlohmann::ordered_json;

/// The profile that `read` returns; nothing if that is empty.
template <typename Read>
void AddProfile(Json& json, const Read& read, const DescribeBytes& describe) {
    try {
        const Bytes profile = read();
        if (!profile.empty()) json["profile"] = describe(profile);
    } catch (const ReadFailure&) {
        throw;
    } catch (const Refusal& refusal) {
        json["profile"] = {{"unreadable", refusal.what()}};
    }
}

/// `kind` of pixels that need a profile of their own; empty for RGB.
template <typename Structure>
void AddConvertible(Json& json, const Structure& structure, colour::ColourModel model, const std::string& kind) {
    try {
        CheckConvertible(structure);
        if (model != colour::ColourModel::Rgb) {
            const auto profile = EmbeddedIn(structure);
            const std::string& name = structure.file().name();
            if (profile == nullptr || profile->model != model) throw NotRgb(name, "", kind, Precision::Exact);
        }
        json["convertible"] = true;
    } catch (const Refusal& refusal) {
        json["convertible"] = false;
        json["why"] = refusal.what();
    }
}

}  // namespace

Json DescribePng(const FileAccess& file, const DescribeBytes& describe) {
    const PngStructure structure(file);
    const PngHeader& header = structure.header();
    Json json{{"kind", "PNG"}, {"width", header.width}, {"height", header.height}};
    json["colours"] = header.IsGrey() ? "grey" : header.colours == PngHeader::Palette ? "palette" : "RGB";
    json["alpha"] = header.colours == PngHeader::GreyAlpha || header.colours == PngHeader::RgbAlpha;
    json["bits"] = header.depth;
    json["interlaced"] = header.interlaced;
    for (const PngChunk& chunk : structure.chunks()) json["chunks"].push_back(chunk.type);
    AddProfile(
        json, [&] { return structure.Find("iCCP") != nullptr ? structure.Profile() : Bytes(); }, describe);
    const bool isGrey = header.IsGrey();
    AddConvertible(json, structure, isGrey ? colour::ColourModel::Grey : colour::ColourModel::Rgb, "grey");
    return json;
}

Json DescribeJpeg(const FileAccess& file, const DescribeBytes& describe) {
    const JpegStructure structure(file);
    const JpegFrame& frame = structure.frame();
    Json json{{"kind", "JPEG"}, {"width", frame.width}, {"height", frame.height}};
    json["samples"] = frame.components.size();
    json["bits"] = frame.precision;
    json["progressive"] = frame.IsProgressive();
    json["arithmetic"] = frame.IsArithmetic();
    for (const JpegFrame::Component& component : frame.components) {
        json["sampling"].push_back(fmt::format("{}x{}", component.across, component.down));
    }
    AddProfile(
        json, [&] { return structure.Profile(); }, describe);
    AddConvertible(json, structure, ModelOf(frame), KindOf(frame));
    return json;
}

}  // namespace hueweave::tool
