// SPDX-License-Identifier: MIT
#include "colour/library/EngineProfile.h"

#include "colour/library/Bake.h"
#include "colour/profile/Lcms.h"
#include "colour/profile/TagTable.h"

namespace hueweave::colour {

namespace {

std::optional<std::string> WhyBakeWhite(const Bytes& profile, const TagTable& table) {
    const TagReader* const white = table.Find(Signature("wtpt"));
    if (white == nullptr || white->Size() < 20) return "it has no white point";
    LcmsWork work;
    const cmsHPROFILE opened = work.Open(profile);
    if (opened != nullptr && IsOldScreen(opened)) return "its white is that of a screen";
    return std::nullopt;
}

}  // namespace

std::optional<std::string> WhyBake(const Bytes& profile, ICC40::ICCFILE::Intent intent) {
    const TagTable table(profile);
    const std::uint32_t connection = table.profile().U32(20);
    if (connection != Signature("Lab ")) return "its connection space is " + SignatureText(connection);
    const std::uint32_t wanted = intent == ICC40::ICCFILE::IntentPerceptual   ? Signature("A2B0")
                                 : intent == ICC40::ICCFILE::IntentSaturation ? Signature("A2B2")
                                                                              : Signature("A2B1");
    const TagReader* const lut = table.Find(wanted);
    if (lut == nullptr) return "it has no table " + SignatureText(wanted);
    if (lut->Size() < 52) return "its table " + SignatureText(wanted) + " is cut";
    if (lut->U32(0) != Signature("mft2")) return "its table is of type " + SignatureText(lut->U32(0));
    const unsigned in = lut->U8(8), out = lut->U8(9), points = lut->U8(10);
    if (in != 3 || out != 3) return "its table has other channels than three";
    if (points != 9 && points != 17 && points != 33) return "its grid has " + std::to_string(points) + " points";
    const std::size_t inputs = lut->U16(48), outputs = lut->U16(50);
    if (inputs < 2 || inputs > 4096 || outputs < 2 || outputs > 4096) return std::string("its curves are too long");
    const std::size_t nodes = std::size_t{points} * points * points * 3;
    if (52 + 2 * (3 * inputs + nodes + 3 * outputs) > lut->Size()) return std::string("its table is cut");
    // The engine treats two entries as a straight line, whatever their values.
    const auto straight = [&](std::size_t curve) { return lut->U16(curve) == 0 && lut->U16(curve + 2) == 65535; };
    for (std::size_t c = 0; c < 3; ++c) {
        const bool input = inputs > 2 || straight(52 + 4 * c);
        const bool output = outputs > 2 || straight(52 + 2 * (3 * inputs + nodes) + 4 * c);
        if (!input || !output) return std::string("it has curves of two points that are no straight lines");
    }
    if (intent == ICC40::ICCFILE::IntentAbsoluteColorimetric) return WhyBakeWhite(profile, table);
    return std::nullopt;
}

EngineProfile PrepareProfile(const Bytes& profile, ICC40::ICCFILE::Intent intent, const Poll& poll) {
    const auto reason = WhyBake(profile, intent);
    if (!reason) return {profile, {}};
    return {BakeProfile(profile, poll).data, *reason};
}

}  // namespace hueweave::colour
