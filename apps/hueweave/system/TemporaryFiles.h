// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace hueweave::tool {

/// A file under a temporary name in the folder. `make` makes it and returns a number below 0 where it cannot; names
/// may be taken. Returns that number and the path.
std::pair<int, std::string> WithTemporaryName(const std::string& folder,
                                              const std::function<int(const std::string&)>& make);
/// Tells other runs that this temporary file has an owner that is alive. False if another run is about to remove it.
bool LockTemporary(int descriptor);

/// The folders in which a run has looked for what killed runs left there. Threads share it.
class SweptFolders {
public:
    /// The first time for a folder, removes the temporary files of runs that were killed; returns how many.
    std::size_t Sweep(const std::string& folder);

private:
    std::mutex mutex_;
    std::set<std::string> done_;
};

}  // namespace hueweave::tool
