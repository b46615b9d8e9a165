// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// The size of the largest record that is read, in bytes: nearly a million files. Then a run continues in a new one.
inline constexpr std::uint64_t kLargestRecord = std::uint64_t{256} << 20;

/// The paths of the records in a folder, sorted. Refuses a folder that cannot be listed, or has far too many.
std::vector<std::string> RecordsIn(const std::string& folder);

/// Calls `take` with each line of a record; of a line that is too long to be one, with its beginning. A record that was
/// removed in the meantime has no lines. Refuses one that cannot be used: `effect` and `remedy` are for the message.
void ReadRecord(const std::string& path, const std::function<void(const std::string& line)>& take,
                const std::string& effect, const std::string& remedy);

/// Creates a record that nobody else writes to: ".hueweave.jsonl", or if it exists, one whose name contains that of the
/// machine and the process. Two writers of one file would be safe on a local file system only: a network file system
/// determines the end of a file before it appends, and another machine may append in between.
OwnFile MakeRecord(const std::string& folder);

}  // namespace hueweave::tool
