// SPDX-License-Identifier: MIT
#include "batch/record/RecordFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "system/Machine.h"
#include "system/Refusal.h"
#include "system/files/FolderNames.h"
#include "system/files/LineReader.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kLongestLine = std::size_t{64} << 10;  ///< bytes; the longest path takes half of it
constexpr std::size_t kMostRecords = 100000;                 ///< in a folder
constexpr std::string_view kFirst = ".hueweave.jsonl", kPrefix = ".hueweave-", kSuffix = ".jsonl";

bool IsRecordName(std::string_view name) {
    return name == kFirst || (name.starts_with(kPrefix) && name.ends_with(kSuffix));
}

}  // namespace

std::vector<std::string> RecordsIn(const std::string& folder) {
    std::vector<std::string> paths;
    bool tooMany = false;
    const int error = EachNameInFolder(folder, [&](std::string_view name, unsigned) {
        if (!IsRecordName(name)) return;
        if (paths.size() == kMostRecords) {
            tooMany = true;
        } else {
            paths.push_back(folder + "/" + std::string(name));
        }
    });
    if (error != 0 && error != ENOENT) {
        throw Refusal(Exit::Output, folder, "cannot be read (" + ErrorText(error) + ")", "check its permissions");
    }
    if (tooMany) throw Refusal(Exit::Output, folder, "has more than 100000 records", "remove those of old runs");
    std::sort(paths.begin(), paths.end());
    return paths;
}

void ReadRecord(const std::string& path, const std::function<void(const std::string& line)>& take,
                const std::string& effect, const std::string& remedy) {
    auto [file, problem, error] = FileAccess::OpenOwn(path, O_RDONLY);
    if (error == ENOENT) return;
    if (problem.empty() && file.Size() > kLargestRecord) problem = "is too large to be a record";
    std::string line;
    for (LineReader lines(file.descriptor(), '\n', kLongestLine); problem.empty();) {
        if (lines.Next(line)) {
            take(line);
            continue;
        }
        if (lines.error() == 0) return;
        problem = "cannot be read (" + ErrorText(lines.error()) + ")";
    }
    throw Refusal(Exit::Output, path, problem + effect, remedy);
}

OwnFile MakeRecord(const std::string& folder) {
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT;
    const std::string first = folder + "/" + std::string(kFirst);
    OwnFile record = FileAccess::OpenOwn(first, kFlags | O_EXCL);
    if (record.error != EEXIST) return record;
    // Anything else in its place was put there by somebody else, to prevent a record from being written.
    OwnFile existing = FileAccess::OpenOwn(first, O_RDONLY);
    if (!existing.problem.empty()) return existing;
    const std::string own = folder + "/" + std::string(kPrefix) + MachineName() + "-" + std::to_string(::getpid());
    for (int number = 0; record.error == EEXIST; ++number) {
        record = FileAccess::OpenOwn(own + "-" + std::to_string(number) + std::string(kSuffix), kFlags | O_EXCL);
    }
    return record;
}

}  // namespace hueweave::tool
