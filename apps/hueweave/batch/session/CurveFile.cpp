// SPDX-License-Identifier: MIT
#include "batch/session/CurveFile.h"

#include <fmt/format.h>

#include <sstream>

#include "system/Refusal.h"
#include "system/files/LineReader.h"

namespace hueweave::tool {

colour::ToneCurves ReadCurves(const std::string& path) {
    const auto refuse = [&](const std::string& reason) {
        throw Refusal(Exit::Usage, path, reason, "give 256 rows of three whole numbers of 0 to 255");
    };
    const FileAccess file = LineReader::Open(path);
    if (file.descriptor() < 0) refuse("cannot be read");
    constexpr std::size_t kLongestRow = 4096;
    LineReader lines(file.descriptor(), '\n', kLongestRow);
    colour::ToneCurves curves{};
    std::string line;
    std::size_t row = 0;
    while (lines.Next(line)) {
        if (line.size() > kLongestRow) refuse(fmt::format("row {} does not have three values", row + 1));
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        if (row == 256) refuse("has more than 256 rows");
        std::istringstream words(line);
        for (char& c : line) c = c == ',' || c == ';' || c == '\t' || c == '\r' ? ' ' : c;
        words.str(line);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            int value = -1;
            if (!(words >> value) || value < 0 || value > 255)
                refuse(fmt::format("row {} does not have three values", row + 1));
            curves[channel][row] = static_cast<unsigned char>(value);
        }
        if (words >> line) refuse(fmt::format("row {} has more than three values", row + 1));
        ++row;
    }
    if (lines.error() != 0) refuse("cannot be read");
    if (row != 256) refuse(fmt::format("has {} rows", row));
    return curves;
}

}  // namespace hueweave::tool
