// SPDX-License-Identifier: MIT
#include "report/ReportData.h"

#include <utility>

#include "report/measure/ProfileDescription.h"

namespace hueweave::tool {
namespace {

constexpr unsigned kGridPoints = 33;  ///< on each axis, as in `verify`

ReportedChart JudgeReportedChart(const ReportRequest& request) {
    ReportedChart reported;
    reported.question.reference = *request.chart;
    reported.question.convert = request.convert;
    reported.question.convert.acceptError = 100;  // the errors are what is asked for
    reported.question.measured = request.convert.rendering.intent == ICC40::ICCFILE::IntentAbsoluteColorimetric;
    const colour::Chart chart = ReadChart(reported.question);
    ChartQuestion measured = reported.question;
    measured.measured = true;
    const ChartVerdict asMeasured = JudgeConverted(measured, chart);
    for (const colour::Guideline& guideline : colour::Guidelines()) {
        reported.guidelines.push_back(colour::JudgeBy(guideline, asMeasured.chart.patches));
    }
    reported.verdict = JudgeConverted(reported.question, chart);
    return reported;
}

void MeasureProfile(ReportData& data) {
    const int intent = data.request.convert.rendering.intent;
    colour::TransformOptions how;
    how.intent = static_cast<colour::RenderingIntent>(intent);
    const Bytes& target = data.precision.target.profile;
    data.curves = colour::ReadProfileCurves(data.profile.data, intent);
    data.tone = MeasureTone(*data.precision.transform, target);
    data.gamuts = MeasureGamuts(data.profile.data, target, how);
}

}  // namespace

ReportData MeasureReport(const ReportRequest& request, const DescribePicture& describe) {
    ReportData data;
    data.request = request;
    data.profile = LoadProfile(*request.convert.profile);
    data.described = DescribeProfile(data.profile.name, data.profile.data, false);
    data.question = {request.convert.rendering, request.convert.targetFile, 16};
    const EachCompared each{[&](const auto& colour) { data.exact.Add(colour); },
                            [&](const auto& colour) { data.library.Add(colour); }};
    data.precision = ComparePrecisions(data.question, data.profile, colour::GridColours(kGridPoints), each);
    Named(data.profile.name, [&] { MeasureProfile(data); });
    ProfileCache cache(request.convert, data.precision.target);
    for (const std::string& name : request.pictures) {
        const FileAccess file = FileAccess::OpenInput(name);
        const auto reader = PictureReader::Open(file, request.convert.maxMemory);
        PictureSummary summary = SummarisePicture(*reader, data.profile, cache, data.precision.target.profile);
        data.pictures.push_back({name, describe(name), std::move(summary)});
    }
    if (request.chart) data.chart = JudgeReportedChart(request);
    return data;
}

}  // namespace hueweave::tool
