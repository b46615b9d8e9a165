// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "batch/inputs/InputList.h"
#include "batch/record/RecordLine.h"

namespace hueweave::tool {

/// The progress of the runs into a folder. Counts are numbers of files.
struct Progress {
    std::uint64_t done = 0, failed = 0, leftOut = 0;
    std::uint64_t bytes = 0, pixels = 0;  ///< of the outputs
    std::uint64_t damaged = 0;            ///< lines of the records that cannot be read
    std::optional<std::uint64_t> total;   ///< null if no run announced it
    bool estimated = false;               ///< the total, from some of the parts
    double rate = 0;                      ///< files a second
    double window = 0;                    ///< seconds in which the rate was measured, at most 600
    std::optional<double> sinceLast;      ///< seconds since the last output was written
    std::uint64_t Left() const { return total ? *total - std::min(*total, done + failed + leftOut) : 0; }
};

/// What the records of a folder contain. They may be read while runs write them: an incomplete last line is ignored.
class Status {
public:
    /// Reads the records in a folder, and asks the file system for each recorded output: a file is done if its output
    /// exists with the size and time in the record.
    explicit Status(std::string folder);

    /// With a list of the inputs, the total is their number. Otherwise it is what the runs announced.
    Progress Count(const InputList* inputs) const;
    /// The files that failed, with their sources, by output.
    const std::map<std::string, FailedLine>& failed() const { return failed_; }
    /// Whether nothing is known about the file with this output.
    bool IsLeft(std::string_view relative) const;

private:
    /// The runs over the same inputs: the last one of each part, by the number of parts.
    using Runs = std::map<unsigned, std::map<unsigned, RunLine>>;
    void Take(const std::monostate&) { ++damaged_; }
    void Take(const DoneLine& line);
    void Take(const FailedLine& line);
    void Take(const RunLine& line);
    void CountAnnounced(Progress& progress) const;
    void Measure(Progress& progress) const;

    std::string folder_;
    std::unordered_set<std::uint64_t> done_;  ///< by a hash of the output
    std::map<std::string, FailedLine> failed_;
    std::map<std::string, Runs> runs_;  ///< by their inputs
    std::vector<long long> begun_;      ///< when the runs began; nanoseconds since 1970
    std::vector<long long> times_;      ///< of the outputs
    std::uint64_t damaged_ = 0;         ///< lines
    std::uint64_t bytes_ = 0, pixels_ = 0;
};

}  // namespace hueweave::tool
