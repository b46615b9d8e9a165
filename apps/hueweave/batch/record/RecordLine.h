// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// SHA-256, cut to 128 bits: enough to tell any two conversions apart.
using Digest = std::array<std::uint64_t, 2>;
/// The digest of at least 32 hexadecimal digits; null for anything else.
std::optional<Digest> DigestOf(const std::string& hex);

/// A line of a record about an output that is complete.
struct DoneLine {
    std::string output;       ///< path below the folder
    std::string fingerprint;  ///< hexadecimal digits
    std::string settings;     ///< the same for the options and profiles alone
    FileVersion version, source;
    std::uint64_t pixels = 0;
};

/// About a file without an output.
struct FailedLine {
    std::string output, source;
    std::string reason;    ///< the same for files with the same cause
    bool leftOut = false;  ///< not an error: with --others skip
    long long at = 0;      ///< nanoseconds since 1970
};

/// The first line of a run.
struct RunLine {
    std::string inputs;       ///< the same for runs over the same inputs; empty in lines of earlier versions
    std::string base;         ///< that of runs over the folder which contains the files of a list; or empty
    std::uint64_t files = 0;  ///< of the part
    unsigned part = 1, parts = 1;
    long long at = 0;
};

using RecordLine = std::variant<std::monostate, DoneLine, FailedLine, RunLine>;
/// Reads a line. Anything else than a line of a record, such as one that was cut off by a crash, is `std::monostate`.
RecordLine ParseRecordLine(const std::string& line);

std::string FormatLine(const DoneLine& line);
std::string FormatLine(const FailedLine& line);
std::string FormatLine(const RunLine& line);

/// Nanoseconds since 1970.
long long Now();

}  // namespace hueweave::tool
