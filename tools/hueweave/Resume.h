// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <map>
#include <mutex>
#include <string>

namespace hueweave::tool {

/// What earlier runs wrote to a folder: a line of JSON a file, in ".hueweave.jsonl" in that folder. Several runs may
/// add to it at once. A line that was cut off by a crash does not count.
class ResumeRecord {
public:
    explicit ResumeRecord(std::string folder);

    /// Whether this output was written under this fingerprint and is still as it was then.
    bool IsDone(const std::string& relative, const std::string& fingerprint) const;
    void Add(const std::string& relative, const std::string& fingerprint);

private:
    struct Entry {
        std::string fingerprint;
        long long size = 0, modified = 0;  ///< bytes; nanoseconds since 1970
    };
    bool Look(const std::string& relative, Entry& entry) const;

    std::string folder_;
    std::map<std::string, Entry> entries_;
    std::mutex mutex_;
};

}  // namespace hueweave::tool
