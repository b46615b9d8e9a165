// SPDX-License-Identifier: MIT
// Any bytes as a chart's text, or as the texts of a reference and a scan: each is refused with a reason, or gives
// patches within their range; a table that is written again is read as the same one.
#include <cmath>

#include "FuzzInput.h"
#include "colour/chart/Chart.h"
#include "colour/chart/JudgeChart.h"

namespace hueweave::fuzz {
namespace {

using namespace colour;
using fuzz::Bytes;

/// Values in quotes; nothing if one has a quote inside, which no text can hold.
std::optional<std::string> Quoted(const std::vector<std::string_view>& words, std::size_t columns) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i].find('"') != std::string_view::npos) return std::nullopt;
        text.append("\"").append(words[i]).append(i % columns == columns - 1 ? "\"\n" : "\" ");
    }
    return text;
}

void CheckWrittenAgain(const CgatsTable& table) {
    const auto fields = Quoted(table.fields, table.fields.size()), values = Quoted(table.values, table.fields.size());
    if (!fields || !values) return;
    const std::string text = "CTI3\nNUMBER_OF_FIELDS " + std::to_string(table.fields.size()) + "\nNUMBER_OF_SETS " +
                             std::to_string(table.Rows()) + "\nBEGIN_DATA_FORMAT\n" + *fields +
                             "END_DATA_FORMAT\n# a comment\nBEGIN_DATA\n" + *values + "END_DATA\n";
    if (text.size() > kMostCgats) return;
    const auto again = Accepted<ChartError>([&] { return ReadCgats(text); });
    Require(again && again->fields == table.fields && again->values == table.values, "the same table");
}

void CheckPatches(const Chart& chart, std::size_t most) {
    Require(!chart.patches.empty() && chart.patches.size() <= most, "as many patches as rows");
    for (const Patch& patch : chart.patches) {
        for (const double value : patch.device) Require(value >= 0 && value <= 1, "device colours in their range");
        for (const double value : patch.reference) Require(std::isfinite(value), "a colour");
    }
}

std::optional<CgatsTable> CheckTable(const Bytes& bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    auto table = Accepted<ChartError>([&] { return ReadCgats(text); });
    if (!table) return table;
    Require(!table->fields.empty() && table->values.size() == table->Rows() * table->fields.size(), "whole rows");
    for (const std::string_view value : table->values) {
        Require(value.data() >= text.data() && value.data() + value.size() <= text.data() + text.size(), "of the text");
    }
    CheckWrittenAgain(*table);
    if (const auto chart = Accepted<ChartError>([&] { return MakeChart(*table); })) CheckPatches(*chart, table->Rows());
    return table;
}

void CheckFigures(FuzzInput& input) {
    std::vector<double> differences(input.U8());
    for (double& difference : differences) difference = input.U16() / 655.0;
    const ChartFigures figures = Summarise(differences);
    Require(figures.patches == differences.size(), "all are counted");
    Require(figures.median <= figures.p90 && figures.p90 <= figures.p95 && figures.p95 <= figures.largest, "an order");
    Require(figures.mean <= figures.largest * 1.000001, "a mean");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    FuzzInput steering = input.Split(2);
    const std::size_t split = steering.U16();
    const Bytes first = input.Take(split == 0 ? kMostCgats : split), second = input.Rest();
    const auto reference = CheckTable(first);
    if (second.empty()) return;
    const auto scan = CheckTable(second);
    FuzzInput numbers(second.data(), second.size());
    CheckFigures(numbers);
    if (!reference || !scan) return;
    const auto colours = Accepted<ChartError>([&] { return ReadReferenceColours(*reference); });
    if (!colours) return;
    const auto chart = Accepted<ChartError>([&] { return JoinCharts(*reference, *colours, *scan); });
    if (!chart) return;
    CheckPatches(*chart, std::min(reference->Rows(), scan->Rows()));
    Require(chart->left + 2 * chart->patches.size() == reference->Rows() + scan->Rows(), "none is lost");
}

}  // namespace hueweave::fuzz
