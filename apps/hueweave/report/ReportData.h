// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "colour/profile/ProfileCurves.h"
#include "report/measure/ChartVerdict.h"
#include "report/measure/Distribution.h"
#include "report/measure/GamutSolid.h"
#include "report/measure/PrecisionVerdict.h"
#include "report/measure/ToneResponse.h"
#include "report/picture/PictureSummary.h"

namespace hueweave::tool {

/// What a report is about.
struct ReportRequest {
    ConvertOptions convert;  ///< profile, target and intent
    std::vector<std::string> pictures;
    std::optional<std::string> chart;
    std::vector<std::string> words;  ///< the command line
};

/// A picture, and the output of `inspect` for it.
struct ReportedPicture {
    std::string name;
    nlohmann::ordered_json described;
    PictureSummary summary;
};

/// A chart, relative to its medium as `check` judges it, and by every guideline as measured.
struct ReportedChart {
    ChartQuestion question;
    ChartVerdict verdict;
    std::vector<colour::GuidelineVerdict> guidelines;  ///< in the order of `colour::Guidelines`
};

/// A sentence about a profile.
struct Judgement {
    std::string subject;  ///< "Precision"
    bool isGood;          ///< nothing that a user has to look at
    std::string verdict, figures;
};

/// Everything that a report shows.
struct ReportData {  // NOLINT(bugprone-exception-escape): moving JSON throws nothing
    ReportRequest request;
    DeviceProfile profile;
    nlohmann::ordered_json described;  ///< the profile, as by `inspect`
    PrecisionQuestion question;
    PrecisionVerdict precision;
    Distribution exact, library;
    colour::ProfileCurves curves;
    ToneResponse tone;
    Gamuts gamuts;
    std::vector<ReportedPicture> pictures;
    std::optional<ReportedChart> chart;
};

/// Describes a picture as `inspect` does.
using DescribePicture = std::function<nlohmann::ordered_json(const std::string& path)>;

/// Measures everything. Refuses the profile, picture or chart that cannot be used.
ReportData MeasureReport(const ReportRequest& request, const DescribePicture& describe);

/// The verdict in words.
std::vector<Judgement> JudgeProfile(const ReportData& data);

/// All numbers, as the page contains them.
nlohmann::ordered_json ReportJson(const ReportData& data);

}  // namespace hueweave::tool
