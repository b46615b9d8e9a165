// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "batch/inputs/InputList.h"
#include "batch/record/RecordLine.h"

namespace hueweave::tool {

/// How far the runs into a folder are. Counts are numbers of files.
struct Progress {
    std::uint64_t done = 0, failed = 0, leftOut = 0;
    std::uint64_t bytes = 0, pixels = 0;  ///< of the outputs
    std::optional<std::uint64_t> total;   ///< null if no run tells
    bool estimated = false;               ///< the total, from some of the parts
    double rate = 0;                      ///< files a second
    double window = 0;                    ///< seconds in which the rate was measured, at most 600
    std::optional<double> sinceLast;      ///< seconds since the last output was written
    std::uint64_t Left() const { return total ? *total - std::min(*total, done + failed + leftOut) : 0; }
};

/// What the records of a folder tell. It may be read while runs write them: an incomplete last line counts for nothing.
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
    void Take(const DoneLine& line);
    void Take(const FailedLine& line);
    void Take(const RunLine& line);
    void CountAnnounced(Progress& progress) const;
    void Measure(Progress& progress) const;

    std::string folder_;
    std::unordered_set<std::uint64_t> done_;  ///< by a hash of the output
    std::map<std::string, FailedLine> failed_;
    std::map<std::string, RunLine> runs_;  ///< the last one by list
    long long begun_ = 0;                  ///< by the first run; nanoseconds since 1970
    std::vector<long long> times_;         ///< of the outputs
    std::uint64_t bytes_ = 0, pixels_ = 0;
};

}  // namespace hueweave::tool
