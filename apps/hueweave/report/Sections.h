// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "report/ReportData.h"

namespace hueweave::tool {

/// The parts of the page, each an element section.
std::string GlanceSection(const ReportData& data);
std::string CurvesSection(const ReportData& data);
std::string GamutSection(const ReportData& data);
std::string DifferencesSection(const ReportData& data);
std::string PictureSections(const ReportData& data);
std::string ChartSection(const ReportData& data);
std::string NumbersSection(const ReportData& data);

/// "<figure>" with a plot, which a script may replace: `plot` is its name.
std::string Figure(const std::string& plot, const std::string& caption, const std::string& content);
/// A cell with a colour; `name` says which one, for screen readers.
std::string Swatch(const std::string& hex, const std::string& name);
/// A table of names and values; the values are HTML.
std::string Facts(const std::vector<std::pair<std::string, std::string>>& facts);
/// A small table that scrolls on its own in a narrow window; `rows` is the HTML of its head and body.
std::string SmallTable(const std::string& caption, const std::string& rows);
/// A heading of a column by which a script can sort. Numbers are aligned to the right.
std::string Column(const std::string& text, bool isNumber);
/// A path without its folder.
std::string FileName(const std::string& path);
/// A number of pixels or colours, with spaces between thousands.
std::string Grouped(std::uint64_t number);

}  // namespace hueweave::tool
