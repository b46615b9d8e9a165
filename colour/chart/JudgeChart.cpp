// SPDX-License-Identifier: MIT
#include "colour/chart/JudgeChart.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "colour/base/ProfileError.h"
#include "colour/profile/Connection.h"
#include "colour/profile/OpenProfile.h"

namespace hueweave::colour {
namespace {

constexpr Triple kD50{cmsD50X, cmsD50Y, cmsD50Z};
constexpr double kUndefined = 100.0;  ///< the difference from a colour that is not defined

/// XYZ as CIELAB for D50, after its white `from` has become `to`.
cmsCIELab LabOf(const Triple& xyz, const Triple& from, const Triple& to) {
    const cmsCIEXYZ moved{xyz[0] * to[0] / from[0], xyz[1] * to[1] / from[1], xyz[2] * to[2] / from[2]};
    cmsCIELab lab;
    cmsXYZ2Lab(nullptr, &lab, &moved);
    return lab;
}

cmsCIELab Moved(const cmsCIELab& lab, const Triple& from, const Triple& to) {
    cmsCIEXYZ xyz;
    cmsLab2XYZ(nullptr, &xyz, &lab);
    return LabOf({xyz.X, xyz.Y, xyz.Z}, from, to);
}

double Difference(const cmsCIELab& one, const cmsCIELab& other) {
    const double difference = cmsCIE2000DeltaE(&one, &other, 1, 1, 1);
    return std::isfinite(difference) ? difference : kUndefined;
}

/// The white of a profile; D50 in place of one that is no colour.
Triple WhiteOf(LcmsWork& work, cmsHPROFILE profile) {
    const Triple white = MediaWhite(work, profile);
    const bool sound = std::all_of(white.begin(), white.end(), [](double v) { return v > 0.01 && v < 2.0; });
    return sound ? white : kD50;
}

/// The parts of the two profiles that are needed to evaluate their colours.
class Viewer {
public:
    Viewer(const Bytes& source, const Bytes& target, ChartView view) {
        const cmsHPROFILE from = OpenRgb(work_, source).handle, to = OpenRgb(work_, target).handle;
        sourceWhite_ = WhiteOf(work_, from);
        targetWhite_ = view == ChartView::Measured ? WhiteOf(work_, to) : kD50;
        referenceWhite_ = view == ChartView::Measured ? kD50 : sourceWhite_;
        toLab_ = work_.DeviceToLab(to, INTENT_RELATIVE_COLORIMETRIC);
        fromLab_ = work_.LabToDevice(to, INTENT_RELATIVE_COLORIMETRIC);
        if (toLab_ == nullptr || fromLab_ == nullptr) throw ProfileError("does not describe the colours of a target");
    }

    JudgedPatch Judge(const Patch& patch, const DeviceColour& converted) const {
        JudgedPatch judged{patch.name, patch.device, LabOf(patch.reference, referenceWhite_, kD50), {}, 0, false};
        judged.converted = Seen({converted[0] / 65535.0, converted[1] / 65535.0, converted[2] / 65535.0});
        judged.difference = Difference(judged.reference, judged.converted);
        judged.outside = Difference(judged.reference, Seen(Nearest(judged.reference))) > kReachable;
        return judged;
    }

    bool IsNeutral(const Patch& patch) const {
        const cmsCIELab lab = LabOf(patch.reference, sourceWhite_, kD50);
        return std::hypot(lab.a, lab.b) <= kNeutral;
    }

private:
    /// A colour of the target.
    cmsCIELab Seen(const Triple& rgb) const {
        cmsCIELab lab;
        cmsDoTransform(toLab_, rgb.data(), &lab, 1);
        return Moved(lab, kD50, targetWhite_);
    }
    /// The target's colour for a colour as it is seen, clipped to the gamut.
    Triple Nearest(const cmsCIELab& seen) const {
        const cmsCIELab lab = Moved(seen, targetWhite_, kD50);
        Triple rgb;
        cmsDoTransform(fromLab_, &lab, rgb.data(), 1);
        for (double& value : rgb) value = value > 0 ? std::min(1.0, value) : 0.0;
        return rgb;
    }

    LcmsWork work_;
    Triple sourceWhite_, targetWhite_, referenceWhite_;
    cmsHTRANSFORM toLab_, fromLab_;
};

void Add(NeutralFigures& figures, const JudgedPatch& patch) {
    const double lightness = std::abs(patch.converted.L - patch.reference.L);
    const double a = patch.converted.a - patch.reference.a, b = patch.converted.b - patch.reference.b;
    const auto count = static_cast<double>(++figures.patches);
    figures.lightness += (lightness - figures.lightness) / count;
    figures.largestLightness = std::max(figures.largestLightness, lightness);
    figures.a += (a - figures.a) / count;
    figures.b += (b - figures.b) / count;
    figures.largestTint = std::max(figures.largestTint, std::hypot(a, b));
}

}  // namespace

ChartFigures Summarise(std::vector<double> differences) {
    ChartFigures figures;
    const std::size_t count = figures.patches = differences.size();
    if (count == 0) return figures;
    std::sort(differences.begin(), differences.end());
    const auto within = [&](std::size_t percent) { return differences[(percent * count + 99) / 100 - 1]; };
    figures.mean = std::accumulate(differences.begin(), differences.end(), 0.0) / static_cast<double>(count);
    figures.median = (differences[(count - 1) / 2] + differences[count / 2]) / 2;
    figures.p90 = within(90);
    figures.p95 = within(95);
    figures.largest = differences.back();
    return figures;
}

JudgedChart JudgeChart(const Chart& chart, const std::vector<DeviceColour>& converted, const Bytes& source,
                       const Bytes& target, ChartView view) {
    const Viewer viewer(source, target, view);
    JudgedChart judged;
    std::vector<double> all, inside;
    for (std::size_t i = 0; i < chart.patches.size(); ++i) {
        const JudgedPatch patch = viewer.Judge(chart.patches[i], converted[i]);
        if (viewer.IsNeutral(chart.patches[i])) Add(judged.neutral, patch);
        all.push_back(patch.difference);
        if (!patch.outside) inside.push_back(patch.difference);
        judged.patches.push_back(patch);
    }
    judged.all = Summarise(std::move(all));
    judged.inside = Summarise(std::move(inside));
    std::stable_sort(judged.patches.begin(), judged.patches.end(),
                     [](const auto& one, const auto& other) { return one.difference > other.difference; });
    return judged;
}

}  // namespace hueweave::colour
