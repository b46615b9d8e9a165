// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "FuzzInput.h"
#include "Scene.h"
#include "batch/session/ProfileCache.h"

namespace hueweave::fuzz {

/// Converts any bytes as a file with a fixed profile by the library's precision, as the command does. Requires what
/// holds for every format: a refusal is one of the input and leaves no file; files are closed; time and heap stay
/// within their limits.
class Conversion {
public:
    /// `extension` is that of the format, with a dot.
    explicit Conversion(const std::string& extension);
    /// Returns whether there is an output. With `dryRun`, there never is. The steering is one byte.
    bool Run(unsigned steering, const Bytes& file, bool dryRun);

    Bytes Output() const;
    const Bytes& profile() const { return profile_.data; }
    /// The source before `Run`, for looking into it.
    const std::string& PutSource(const Bytes& file) const;

private:
    ScratchFolder folder_;
    tool::DeviceProfile profile_;
    tool::ConvertOptions options_;
    tool::Target target_;
    std::unique_ptr<tool::ProfileCache> cache_;
    std::string source_, output_;
};

}  // namespace hueweave::fuzz
