// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include "report/Sections.h"

namespace hueweave::tool {
namespace {

constexpr double kInvisible = 0.5;     ///< CIEDE2000 that is not visible, even side by side
constexpr double kFewClipped = 1;      ///< percent
constexpr double kVisibleFall = 0.05;  ///< of L*; less comes from rounding

Judgement JudgePrecision(const ReportData& data) {
    const colour::Comparison& exact = data.precision.exact;
    const bool isGood = exact.p999 <= kInvisible;
    std::string figures = fmt::format("CIEDE2000 from Little CMS in floating point: {:.3f} on average, {:.3f} at most",
                                      exact.mean, exact.maximum);
    if (data.precision.library) {
        figures += fmt::format("; with the library's precision {:.2f} and {:.2f}", data.precision.library->mean,
                               data.precision.library->maximum);
    }
    return {"Precision", isGood,
            isGood ? "Conversions give the colours that the profiles describe."
                   : "Conversions differ visibly from what the profiles describe.",
            figures + "."};
}

Judgement JudgeClipping(const ReportData& data) {
    const colour::Comparison& exact = data.precision.exact;
    const double percent = 100.0 * static_cast<double>(exact.clipped) / static_cast<double>(exact.colours);
    const bool isGood = percent <= kFewClipped;
    const std::string space = OneLine(data.precision.target.name);
    return {"Clipped colours", isGood,
            isGood
                ? fmt::format("Nearly all colours of the device fit into {}.", space)
                : fmt::format("Some colours of the device do not fit into {} and are clipped to it. A picture need not "
                              "contain them; a larger space may hold them.",
                              space),
            fmt::format("{} of {} colours of a regular grid ({:.1f} %).", Grouped(exact.clipped),
                        Grouped(exact.colours), percent)};
}

Judgement JudgeNeutral(const ReportData& data) {
    const ToneResponse& tone = data.tone;
    const bool isGood = tone.largestChroma <= colour::kNeutral;
    return {
        "Neutral balance", isGood,
        isGood ? "Equal red, green and blue become neutral."
               : "Equal red, green and blue get a tint. For a scanner or camera this is usual: its own greys need "
                 "not be equal.",
        fmt::format("C* of the {} greys: {:.2f} on average, {:.2f} at most, at {:.0f} of 255.", kGreySteps + 1,
                    tone.meanChroma, tone.largestChroma, 255.0 * static_cast<double>(tone.mostTinted) / kGreySteps)};
}

Judgement JudgeTones(const ReportData& data) {
    const ToneResponse& tone = data.tone;
    const bool isGood = tone.largestFall <= kVisibleFall;
    const std::string range = fmt::format("L* goes from {:.1f} to {:.1f}", tone.greys.front()[0], tone.greys.back()[0]);
    return {"Tones", isGood,
            isGood ? "A brighter grey of the device never becomes darker."
                   : "Some brighter greys of the device become darker. This can show as bands in smooth areas.",
            isGood ? range + "."
                   : range + fmt::format("; the largest fall is {:.2f}, at {:.0f} of 255.", tone.largestFall,
                                         255.0 * static_cast<double>(tone.fallsAt) / kGreySteps)};
}

}  // namespace

std::vector<Judgement> JudgeProfile(const ReportData& data) {
    return {JudgePrecision(data), JudgeClipping(data), JudgeNeutral(data), JudgeTones(data)};
}

}  // namespace hueweave::tool
