// SPDX-License-Identifier: MIT
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
    int error = 0;  ///< why there is no file; 0 if there is one
};

/// Creates a file with a temporary name in the folder. `make` creates it and returns the error number, or 0; after
/// EEXIST, other names are tried.
TemporaryName WithTemporaryName(const std::string& folder, const std::function<int(const std::string&)>& make);
/// Marks this temporary file as in use by a running process. Returns false if another run is about to remove it.
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
