// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "colour/EngineProfile.h"

#include "colour/Bake.h"
#include "colour/Lcms.h"
#include "colour/TagTable.h"

namespace hueweave::tool {

namespace {

std::optional<std::string> WhyBakeWhite(const Bytes& profile, const TagTable& table) {
    const auto white = table.Find("wtpt");
    if (!white || white->size < 20) return "it does not tell its white point";
    LcmsWork work;
    const cmsHPROFILE opened = work.Open(profile);
    if (opened != nullptr && IsOldScreen(opened)) return "its white is that of a screen";
    return std::nullopt;
}

}  // namespace

std::optional<std::string> WhyBake(const Bytes& profile, ICC40::ICCFILE::Intent intent) {
    const TagTable table(profile);
    if (table.Word(20) != Sig("Lab ")) return "its connection space is " + SignatureText(table.Word(20));
    const char* wanted = intent == ICC40::ICCFILE::IntentPerceptual   ? "A2B0"
                         : intent == ICC40::ICCFILE::IntentSaturation ? "A2B2"
                                                                      : "A2B1";
    const auto lut = table.Find(wanted);
    if (!lut) return "it has no table " + std::string(wanted);
    const std::size_t at = static_cast<std::size_t>(lut->offset);
    if (lut->size < 52) return "its table " + std::string(wanted) + " is cut";
    if (table.Word(at) != Sig("mft2")) return "its table is of type " + SignatureText(table.Word(at));
    const unsigned in = profile[at + 8], out = profile[at + 9], points = profile[at + 10];
    if (in != 3 || out != 3) return "its table has other channels than three";
    if (points != 9 && points != 17 && points != 33) return "its grid has " + std::to_string(points) + " points";
    const std::size_t inputs = table.Half(at + 48), outputs = table.Half(at + 50);
    if (inputs < 2 || inputs > 4096 || outputs < 2 || outputs > 4096) return std::string("its curves are too long");
    const std::size_t nodes = std::size_t{points} * points * points * 3;
    if (52 + 2 * (3 * inputs + nodes + 3 * outputs) > lut->size) return std::string("its table is cut");
    // Of two entries, the engine makes a straight line whatever they are.
    const auto straight = [&](std::size_t curve) { return table.Half(curve) == 0 && table.Half(curve + 2) == 65535; };
    for (std::size_t c = 0; c < 3; ++c) {
        const bool input = inputs > 2 || straight(at + 52 + 4 * c);
        const bool output = outputs > 2 || straight(at + 52 + 2 * (3 * inputs + nodes) + 4 * c);
        if (!input || !output) return std::string("it has curves of two points that are no straight lines");
    }
    if (intent == ICC40::ICCFILE::IntentAbsoluteColorimetric) return WhyBakeWhite(profile, table);
    return std::nullopt;
}

EngineProfile PrepareProfile(const DeviceProfile& profile, ICC40::ICCFILE::Intent intent) {
    const auto reason = WhyBake(profile.data, intent);
    if (!reason) return {profile.data, {}};
    return {BakeProfile(profile).data, *reason};
}

}  // namespace hueweave::tool
