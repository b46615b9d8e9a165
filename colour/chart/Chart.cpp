// SPDX-License-Identifier: MIT
#include "colour/chart/Chart.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>

#include "colour/profile/Lcms.h"

namespace hueweave::colour {
namespace {

constexpr double kLargest = 300.0;    ///< of Lab and of XYZ in percent; more is no colour
constexpr double kTolerance = 0.001;  ///< of the device range, for rounded values
using Names = std::array<const char*, 3>;
constexpr Names kRgb{"RGB_R", "RGB_G", "RGB_B"}, kXyz{"XYZ_X", "XYZ_Y", "XYZ_Z"}, kLab{"LAB_L", "LAB_A", "LAB_B"};
constexpr Names kNames{"SAMPLE_ID", "SAMPLE_LOC", "SAMPLE_NAME"};
using Columns = std::array<std::size_t, 3>;

std::optional<Columns> FindColumns(const CgatsTable& table, const Names& names) {
    Columns columns{};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto column = table.Column(names[i]);
        if (!column) return std::nullopt;
        columns[i] = *column;
    }
    return columns;
}

double NumberAt(const CgatsTable& table, std::size_t row, std::size_t column) {
    const std::string_view text = table.At(row, column);
    const char* const end = text.data() + text.size();
    double value = 0;
    const char* const from = text.starts_with('+') ? text.data() + 1 : text.data();
    const auto [last, error] = std::from_chars(from, end, value);
    if (error == std::errc() && last == end && std::abs(value) <= kLargest) return value;
    throw ChartError("has " + std::string(text.substr(0, 40)) + " as " + std::string(table.fields[column]) +
                     " of patch " + std::to_string(row + 1) + ", which is not a number in its range");
}

std::vector<Triple> ReadTriples(const CgatsTable& table, const Columns& columns) {
    std::vector<Triple> triples(table.Rows());
    for (std::size_t row = 0; row < triples.size(); ++row) {
        for (std::size_t i = 0; i < 3; ++i) triples[row][i] = NumberAt(table, row, columns[i]);
    }
    return triples;
}

Triple XyzOfLab(const Triple& values) {
    const cmsCIELab lab{values[0], values[1], values[2]};
    cmsCIEXYZ xyz;
    cmsLab2XYZ(nullptr, &xyz, &lab);
    return {xyz.X, xyz.Y, xyz.Z};
}

/// A name without the leading zeros of its number.
std::string KeyOf(std::string_view name) {
    const std::size_t digits = name.find_last_not_of("0123456789") + 1;  // npos + 1 is 0
    const std::size_t number = name.find_first_not_of('0', digits);
    if (number == std::string_view::npos) return std::string(name.substr(0, digits + 1));  // no number, or 0
    return std::string(name.substr(0, digits)).append(name.substr(number));
}

/// The name of a row for messages: where it is in the chart, rather than a running number.
std::string NameOf(const CgatsTable& table, std::size_t row) {
    for (const char* field : {"SAMPLE_LOC", "SAMPLE_NAME", "SAMPLE_ID"}) {
        const auto column = table.Column(field);
        if (column && !table.At(row, *column).empty()) return std::string(table.At(row, *column).substr(0, 40));
    }
    return std::to_string(row + 1);
}

using Rows = std::map<std::string, std::size_t>;  ///< by the key of a name

/// Of a name that is given twice, the first row; `twice` is such a name.
Rows RowsBy(const CgatsTable& table, std::size_t column, std::string& twice) {
    Rows rows;
    for (std::size_t row = 0; row < table.Rows(); ++row) {
        const std::string_view name = table.At(row, column);
        if (!rows.emplace(KeyOf(name), row).second) twice = name.substr(0, 40);
    }
    return rows;
}

/// Pairs of rows with the same name.
struct Match {
    std::vector<std::array<std::size_t, 2>> rows;
    std::string twice;  ///< a name that is not unique; may be empty
};

Match MatchBy(const CgatsTable& reference, std::size_t by, const CgatsTable& scan, std::size_t scanBy) {
    Match match;
    const Rows known = RowsBy(reference, by, match.twice), scanned = RowsBy(scan, scanBy, match.twice);
    for (const auto& [name, row] : scanned) {
        const auto found = known.find(name);
        if (found != known.end()) match.rows.push_back({found->second, row});
    }
    std::sort(match.rows.begin(), match.rows.end());
    return match;
}

Match BestMatch(const CgatsTable& reference, const CgatsTable& scan) {
    Match best;
    for (const char* name : kNames) {
        for (const char* scanName : kNames) {
            const auto by = reference.Column(name), scanBy = scan.Column(scanName);
            if (!by || !scanBy) continue;
            Match match = MatchBy(reference, *by, scan, *scanBy);
            if (match.rows.size() > best.rows.size()) best = std::move(match);
        }
    }
    return best;
}

}  // namespace

std::vector<Triple> ReadDeviceColours(const CgatsTable& table) {
    const auto columns = FindColumns(table, kRgb);
    if (!columns) throw ChartError("has no device colours (RGB_R, RGB_G, RGB_B)");
    const double top = table.kind == "VALS" ? 255.0 : 100.0;
    std::vector<Triple> colours = ReadTriples(table, *columns);
    for (Triple& colour : colours) {
        for (double& value : colour) {
            value /= top;
            if (value < -kTolerance || value > 1.0 + kTolerance) {
                throw ChartError("has device colours that are not 0 to " + std::to_string(static_cast<int>(top)));
            }
            value = std::clamp(value, 0.0, 1.0);
        }
    }
    return colours;
}

std::vector<Triple> ReadReferenceColours(const CgatsTable& table) {
    const auto xyz = FindColumns(table, kXyz), lab = FindColumns(table, kLab);
    if (!xyz && !lab) throw ChartError("has no measured colours (XYZ_X, XYZ_Y, XYZ_Z or LAB_L, LAB_A, LAB_B)");
    const bool isLab = lab && (!xyz || table.colours.starts_with("LAB"));
    std::vector<Triple> colours = ReadTriples(table, isLab ? *lab : *xyz);
    for (Triple& colour : colours) {
        if (isLab) {
            colour = XyzOfLab(colour);
        } else {
            for (double& value : colour) value /= 100.0;
        }
    }
    return colours;
}

Chart MakeChart(const CgatsTable& table) {
    const std::vector<Triple> devices = ReadDeviceColours(table), colours = ReadReferenceColours(table);
    Chart chart;
    for (std::size_t row = 0; row < table.Rows(); ++row) {
        chart.patches.push_back({NameOf(table, row), devices[row], colours[row]});
    }
    if (chart.patches.empty()) throw ChartError("has no patches");
    return chart;
}

Chart JoinCharts(const CgatsTable& reference, const std::vector<Triple>& colours, const CgatsTable& scan) {
    const std::vector<Triple> devices = ReadDeviceColours(scan);
    const Match match = BestMatch(reference, scan);
    if (match.rows.empty()) throw ChartError("has no patch with the name of one of the reference");
    if (!match.twice.empty()) throw ChartError("has the patch " + match.twice + " twice, or the reference does");
    Chart chart;
    for (const auto& [row, scanned] : match.rows) {
        chart.patches.push_back({NameOf(reference, row), devices[scanned], colours[row]});
    }
    chart.left = reference.Rows() + scan.Rows() - 2 * chart.patches.size();
    return chart;
}

}  // namespace hueweave::colour
