// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <set>
#include <string>

namespace hueweave::tool {

/// A path that was tried.
struct TemporaryName {
    std::string path;
    int error = 0;  ///< why no file stands there; 0 where one does
};

/// Makes a file under a temporary name in the folder. `make` makes it and returns the error number, 0 for none; while
/// that is EEXIST, other names are tried.
TemporaryName WithTemporaryName(const std::string& folder, const std::function<int(const std::string&)>& make);
/// Tells other runs that this temporary file has an owner that is alive. False if another run is about to remove it.
bool LockTemporary(int descriptor);

/// The folders that a run has searched for files left by killed runs. Threads share it.
class SweptFolders {
public:
    /// The first time for a folder, removes temporary files of killed runs; returns their number.
    std::size_t Sweep(const std::string& folder);

private:
    std::mutex mutex_;
    std::set<std::string> done_;
};

}  // namespace hueweave::tool
