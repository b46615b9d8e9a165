// SPDX-License-Identifier: MIT
#include "report/measure/ProfileDescription.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "batch/session/ProfileFile.h"
#include "colour/library/EngineProfile.h"
#include "colour/profile/Lcms.h"
#include "colour/profile/Spaces.h"
#include "colour/profile/TagTable.h"

namespace hueweave::tool {
namespace {

using Json = nlohmann::ordered_json;

double Fixed(std::uint32_t word) { return static_cast<std::int32_t>(word) / 65536.0; }

/// Channels, grid and curves of a table.
Json TableShape(const colour::TagReader& block) {
    Json shape;
    if (block.Size() < 32) return shape;
    const std::uint32_t type = block.U32(0);
    const bool words = type == colour::Signature("mft2"), lut = words || type == colour::Signature("mft1");
    if (!lut && type != colour::Signature("mAB ") && type != colour::Signature("mBA ")) return shape;
    shape["inputs"] = block.U8(8);
    shape["outputs"] = block.U8(9);
    if (lut) {
        shape["grid"] = block.U8(10);
        shape["input entries"] = words && block.Size() >= 52 ? block.U16(48) : 256;
        shape["output entries"] = words && block.Size() >= 52 ? block.U16(50) : 256;
        return shape;
    }
    constexpr std::pair<const char*, std::size_t> kParts[] = {
        {"B", 12}, {"matrix", 16}, {"M", 20}, {"grid", 24}, {"A", 28}};
    Json parts = Json::array();
    for (const auto& [name, place] : kParts) {
        if (block.U32(place) != 0) parts.push_back(name);
    }
    shape["parts"] = parts;
    const std::uint64_t grid = block.U32(24);
    if (grid != 0 && block.Holds(grid, 20)) {
        Json points = Json::array();
        for (unsigned i = 0; i < std::min<unsigned>(block.U8(8), 16); ++i) points.push_back(block.U8(grid + i));
        shape["grid"] = points;
        shape["bytes a value"] = block.U8(grid + 16);
    }
    return shape;
}

}  // namespace

Json DescribeProfile(const std::string& name, const Bytes& bytes, bool embedded) {
    colour::LcmsWork work;
    const cmsHPROFILE opened = work.Open(bytes);
    if (opened == nullptr) {
        throw Refusal(Exit::Profile, name, "is not a readable ICC profile",
                      "give an ICC profile, or a TIFF, PNG or JPEG file");
    }
    const colour::TagTable table(bytes);
    Json json{{"kind", "profile"}, {"description", work.Text(opened, cmsInfoDescription)}};
    const colour::TagReader& header = table.profile();
    json["version"] = fmt::format("{}.{}", header.U8(8), header.U8(9) >> 4);
    json["class"] = colour::SignatureText(header.U32(12));
    json["colours"] = colour::SignatureText(header.U32(16));
    json["connection"] = colour::SignatureText(header.U32(20));
    json["bytes"] = bytes.size();
    if (const colour::TagReader* white = table.Find(colour::Signature("wtpt"));
        white != nullptr && white->Size() >= 20) {
        json["white"] = {Fixed(white->U32(8)), Fixed(white->U32(12)), Fixed(white->U32(16))};
    }
    for (const colour::TagTable::Tag& tag : table.tags()) {
        Json entry{{"name", colour::SignatureText(tag.name)},
                   {"type", colour::SignatureText(tag.block.U32(0))},
                   {"bytes", tag.block.Size()}};
        const Json shape = TableShape(tag.block);
        if (!shape.empty()) entry["table"] = shape;
        json["tags"].push_back(entry);
    }
    std::string refused;
    try {
        embedded ? TakeEmbedded(name, bytes) : TakeProfile(name, bytes);
    } catch (const Refusal& refusal) {
        refused = std::string(refusal.what());
    }
    for (const colour::NamedIntent& intent : colour::Intents()) {
        Json entry{{"name", intent.name}};
        if (!refused.empty()) {
            entry["served"] = "no";
            entry["why"] = refused;
        } else if (const auto why = colour::WhyBake(bytes, intent.intent)) {
            entry["served"] = "baked";
            entry["why"] = *why;
        } else {
            entry["served"] = "yes";
        }
        json["intents"].push_back(entry);
    }
    return json;
}

}  // namespace hueweave::tool
