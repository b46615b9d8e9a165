// SPDX-License-Identifier: MIT
#include "colour/exact/ProfileStages.h"

#include <lcms2_plugin.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "colour/profile/TagTable.h"

namespace hueweave::colour {
namespace {

constexpr double kXyzScale = 1.0 + 32767.0 / 32768.0;  ///< XYZ of an encoded 1
constexpr double kOldLab = 65535.0 / 65280.0;          ///< from the Lab encoding of version 2 to that of version 4
constexpr std::size_t kMostNodes = std::size_t{129} * 129 * 129;  ///< of a grid; 34 MB as floats
constexpr std::size_t kSampledCurve = 4096;                       ///< entries for a curve that is not a table
constexpr Vector3 kWhite{cmsD50X, cmsD50Y, cmsD50Z};

/// From encoded XYZ to XYZ relative to the white.
AffineStage FromEncodedXyz() {
    return AffineStage::Diagonal({kXyzScale / kWhite[0], kXyzScale / kWhite[1], kXyzScale / kWhite[2]});
}
AffineStage ToEncodedXyz() {
    return AffineStage::Diagonal({kWhite[0] / kXyzScale, kWhite[1] / kXyzScale, kWhite[2] / kXyzScale});
}
/// From encoded Lab (version 4) to cube roots: L* / 116 + a* / 500, L* / 116, L* / 116 - b* / 200.
AffineStage FromEncodedLab() {
    AffineStage stage;
    stage.matrix = {{{100.0 / 116.0, 255.0 / 500.0, 0}, {100.0 / 116.0, 0, 0}, {100.0 / 116.0, 0, -255.0 / 200.0}}};
    stage.offset = {-128.0 / 500.0, 0, 128.0 / 200.0};
    return stage;
}
AffineStage ToEncodedLab() {
    AffineStage stage;
    stage.matrix = {{{0, 116.0 / 100.0, 0}, {500.0 / 255.0, -500.0 / 255.0, 0}, {0, 200.0 / 255.0, -200.0 / 255.0}}};
    stage.offset = {0, 128.0 / 255.0, 128.0 / 255.0};
    return stage;
}
AffineStage Scaled(double by) { return AffineStage::Diagonal({by, by, by}); }

/// Whether a curve has entries and no formula. Little CMS evaluates it in 16 bits.
bool IsTable(const cmsToneCurve* curve) { return cmsGetToneCurveParametricType(curve) == 0; }

std::vector<float> Sample(const cmsToneCurve* curve) {
    const std::size_t own = cmsGetToneCurveEstimatedTableEntries(curve);
    const std::size_t entries = IsTable(curve) && own >= 2 && own <= 65536 ? own : kSampledCurve;
    std::vector<float> values(entries);
    for (std::size_t i = 0; i < entries; ++i) {
        const float value =
            cmsEvalToneCurveFloat(curve, static_cast<float>(static_cast<double>(i) / static_cast<double>(entries - 1)));
        values[i] = std::isfinite(value) ? value : 0.0F;
    }
    return values;
}

bool IsStraight(const std::vector<float>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double line = static_cast<double>(i) / static_cast<double>(values.size() - 1);
        if (std::abs(values[i] - line) > 0.5 / 65535.0) return false;
    }
    return true;
}

/// The stages of a tag, as read by Little CMS.
class PipelineReader {
public:
    /// `rounds`: whether to reproduce the roundings of Little CMS. They show in dark colours if the connection space is
    /// XYZ.
    PipelineReader(const cmsPipeline* pipeline, bool rounds)
        : stage_(cmsPipelineGetPtrToFirstStage(pipeline)), rounds_(rounds) {}

    /// Curves at the beginning, which the caller evaluates.
    DeviceCurves TakeCurves() {
        if (stage_ == nullptr || cmsStageType(stage_) != cmsSigCurveSetElemType || !IsRgb()) return {};
        const DeviceCurves curves = CurvesOf();
        stage_ = cmsStageNext(stage_);
        return curves;
    }
    /// All stages up to curves at the end, if `curves` is given, or to the end.
    bool TakeStages(StageList& list, DeviceCurves* curves = nullptr) {
        for (; stage_ != nullptr; stage_ = cmsStageNext(stage_)) {
            if (!IsRgb()) return false;
            if (curves != nullptr && cmsStageNext(stage_) == nullptr &&
                cmsStageType(stage_) == cmsSigCurveSetElemType) {
                *curves = CurvesOf();
            } else if (!TakeStage(list)) {
                return false;
            }
        }
        return true;
    }

private:
    bool IsRgb() const { return cmsStageInputChannels(stage_) == 3 && cmsStageOutputChannels(stage_) == 3; }

    DeviceCurves CurvesOf() const {
        const auto* data = static_cast<const _cmsStageToneCurvesData*>(cmsStageData(stage_));
        return {data->TheCurves[0], data->TheCurves[1], data->TheCurves[2]};
    }
    bool TakeStage(StageList& list) const {
        switch (cmsStageType(stage_)) {
            case cmsSigIdentityElemType:
                return true;
            case cmsSigCurveSetElemType:
                TakeCurveStage(list);
                return true;
            case cmsSigMatrixElemType:
                TakeMatrix(list);
                return true;
            case cmsSigCLutElemType:
                return TakeGrid(list);
            default:
                return false;
        }
    }
    void TakeCurveStage(StageList& list) const {
        CurveStage stage;
        bool straight = true, tables = false;
        const DeviceCurves curves = CurvesOf();
        for (std::size_t c = 0; c < 3; ++c) {
            std::vector<float> values = Sample(curves[c]);
            if (IsStraight(values)) continue;
            straight = false;
            tables = tables || IsTable(curves[c]);
            stage.values[c] = std::move(values);
        }
        if (straight) return;
        list.Add(std::move(stage));
        if (rounds_ && tables) list.Add(RoundStage());
    }
    void TakeMatrix(StageList& list) const {
        const auto* data = static_cast<const _cmsStageMatrixData*>(cmsStageData(stage_));
        AffineStage stage;
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) stage.matrix[i][j] = data->Double[3 * i + j];
            stage.offset[i] = data->Offset != nullptr ? data->Offset[i] : 0.0;
        }
        list.Add(stage);
    }
    bool TakeGrid(StageList& list) const {
        const auto* data = static_cast<const _cmsStageCLutData*>(cmsStageData(stage_));
        GridStage stage;
        std::size_t nodes = 1;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            stage.points[axis] = data->Params->nSamples[axis];
            if (stage.points[axis] < 2) return false;
            nodes *= stage.points[axis];
        }
        if (nodes * 3 != data->nEntries || nodes > kMostNodes) return false;
        stage.nodes.resize(4 * nodes);
        for (std::size_t n = 0; n < nodes; ++n) {
            for (std::size_t c = 0; c < 3; ++c) {
                const std::size_t from = 3 * n + c;
                const float value =
                    data->HasFloatValues ? data->Tab.TFloat[from] : static_cast<float>(data->Tab.T[from] / 65535.0);
                stage.nodes[4 * n + c] = std::isfinite(value) ? value : 0.0F;
            }
        }
        list.Add(std::move(stage));
        if (rounds_ && !data->HasFloatValues) list.Add(RoundStage());
        return true;
    }

    const cmsStage* stage_;
    const bool rounds_;
};

/// The tag for an intent, or for the perceptual intent if there is none; 0 if there is neither.
cmsTagSignature TagFor(cmsHPROFILE profile, int intent, const std::array<cmsTagSignature, 4>& tags) {
    const cmsTagSignature wanted = tags[static_cast<std::size_t>(intent)];
    if (cmsIsTag(profile, wanted)) return wanted;
    return cmsIsTag(profile, tags[0]) ? tags[0] : static_cast<cmsTagSignature>(0);
}

constexpr std::array kToConnection{cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag, cmsSigAToB1Tag};
constexpr std::array kFromConnection{cmsSigBToA0Tag, cmsSigBToA1Tag, cmsSigBToA2Tag, cmsSigBToA1Tag};
constexpr std::array kFloatTo{cmsSigDToB0Tag, cmsSigDToB1Tag, cmsSigDToB2Tag, cmsSigDToB3Tag};
constexpr std::array kFloatFrom{cmsSigBToD0Tag, cmsSigBToD1Tag, cmsSigBToD2Tag, cmsSigBToD3Tag};

/// Whether a tag is of type "mft2", for which Lab has the encoding of version 2.
bool IsOldTable(const OpenProfile& profile, cmsTagSignature tag) {
    const TagTable table(profile.data);
    const auto* block = table.Find(tag);
    return block != nullptr && block->U32(0) == cmsSigLut16Type;
}

bool ReadColorants(LcmsWork& work, cmsHPROFILE profile, AffineStage& toXyz, DeviceCurves& curves) {
    constexpr cmsTagSignature kColorants[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    constexpr cmsTagSignature kCurves[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    for (std::size_t c = 0; c < 3; ++c) {
        const auto* xyz = static_cast<const cmsCIEXYZ*>(work.Read(profile, kColorants[c]));
        curves[c] = static_cast<const cmsToneCurve*>(work.Read(profile, kCurves[c]));
        if (xyz == nullptr || curves[c] == nullptr) return false;
        const Vector3 column{xyz->X, xyz->Y, xyz->Z};
        for (std::size_t i = 0; i < 3; ++i) toXyz.matrix[i][c] = column[i] / kWhite[i];
    }
    return true;
}

std::optional<AffineStage> Inverse(const AffineStage& stage) {
    const auto& m = stage.matrix;
    const auto minor = [&](std::size_t r, std::size_t c) {
        const std::size_t a = (r + 1) % 3, b = (r + 2) % 3, d = (c + 1) % 3, e = (c + 2) % 3;
        return m[a][d] * m[b][e] - m[a][e] * m[b][d];
    };
    const double determinant = m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    if (!(std::abs(determinant) > 1e-6)) return std::nullopt;
    AffineStage inverse;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) inverse.matrix[i][j] = minor(j, i) / determinant;
    }
    return inverse;
}

}  // namespace

std::optional<SourceStages> ReadSource(LcmsWork& work, const OpenProfile& opened, int intent) {
    const cmsHPROFILE profile = opened.handle;
    if (cmsIsTag(profile, kFloatTo[static_cast<std::size_t>(intent)])) return std::nullopt;
    SourceStages source;
    const cmsTagSignature tag = TagFor(profile, intent, kToConnection);
    if (tag == 0) {
        AffineStage matrix;
        if (!ReadColorants(work, profile, matrix, source.curves)) return std::nullopt;
        source.stages.Add(matrix);
        return source;
    }
    const auto* pipeline = static_cast<const cmsPipeline*>(work.Read(profile, tag));
    if (pipeline == nullptr) return std::nullopt;
    const bool lab = cmsGetPCS(profile) == cmsSigLabData;
    PipelineReader reader(pipeline, !lab);
    source.curves = reader.TakeCurves();
    if (!reader.TakeStages(source.stages)) return std::nullopt;
    if (lab) {
        source.connection = ConnectionForm::Roots;
        if (IsOldTable(opened, tag)) source.stages.Add(Scaled(kOldLab));
        source.stages.Add(FromEncodedLab());
    } else {
        source.stages.Add(FromEncodedXyz());
    }
    return source;
}

std::optional<TargetStages> ReadTarget(LcmsWork& work, const OpenProfile& opened, int intent) {
    const cmsHPROFILE profile = opened.handle;
    if (cmsIsTag(profile, kFloatFrom[static_cast<std::size_t>(intent)])) return std::nullopt;
    TargetStages target;
    const cmsTagSignature tag = TagFor(profile, intent, kFromConnection);
    if (tag == 0) {
        AffineStage matrix;
        if (!ReadColorants(work, profile, matrix, target.curves)) return std::nullopt;
        const auto inverse = Inverse(matrix);
        if (!inverse) return std::nullopt;
        target.stages.Add(*inverse);
        for (const cmsToneCurve*& curve : target.curves) curve = work.Reverse(curve);
        return target;
    }
    const auto* pipeline = static_cast<const cmsPipeline*>(work.Read(profile, tag));
    if (pipeline == nullptr) return std::nullopt;
    const bool lab = cmsGetPCS(profile) == cmsSigLabData;
    if (lab) {
        target.connection = ConnectionForm::Roots;
        target.stages.Add(ToEncodedLab());
        if (IsOldTable(opened, tag)) target.stages.Add(Scaled(1 / kOldLab));
    } else {
        target.stages.Add(ToEncodedXyz());
    }
    StageList own;
    if (!PipelineReader(pipeline, !lab).TakeStages(own, &target.curves)) return std::nullopt;
    for (Stage stage : own.stages()) {
        if (auto* grid = std::get_if<GridStage>(&stage)) grid->trilinear = lab;  // as Little CMS does
        target.stages.Add(std::move(stage));
    }
    return target;
}

}  // namespace hueweave::colour
