// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "FuzzInput.h"
#include "Scene.h"
#include "batch/session/ProfileCache.h"

namespace hueweave::fuzz {

/// Converts any bytes as a file with a fixed profile, as the command does: by the library's precision or, for grey and
/// CMYK, by the exact one. Requires what
/// holds for every format: a refusal is one of the input and leaves no file; files are closed; time and heap stay
/// within their limits.
class Conversion {
public:
    /// `extension` is that of the format, with a dot.
    explicit Conversion(const std::string& extension);
    /// Returns whether there is an output. With `dryRun`, there never is. The steering is one byte.
    bool Run(unsigned steering, const Bytes& file, bool dryRun);
    /// Whether the pixels are grey or CMYK, for which no engine exists: two bits of the steering choose between RGB,
    /// grey, grey that becomes RGB, and CMYK.
    static bool IsOfDevice(unsigned steering) { return (steering & 48U) != 0; }
    /// Whether the output has another format than these files, as two bits of the steering say. Then `Run` requires
    /// that its structure is sound.
    static bool ChangesFormat(unsigned steering, tool::Format own) { return FormatOf(steering).value_or(own) != own; }

    Bytes Output() const;
    const Bytes& profile() const { return profile_.data; }
    /// The source before `Run`, for looking into it.
    const std::string& PutSource(const Bytes& file) const;

private:
    static std::optional<tool::Format> FormatOf(unsigned steering);
    /// The options of a run, and what is made of them.
    struct Setting {
        Setting(tool::DeviceProfile given, const tool::ConvertOptions& asked);
        tool::DeviceProfile profile;
        tool::ConvertOptions options;
        tool::Target target;
        tool::ProfileCache cache;  ///< borrows the options and the target
    };
    ScratchFolder folder_;
    tool::DeviceProfile profile_;
    std::unique_ptr<Setting> settings_[4];  ///< by the steering
    std::string source_, output_;
};

}  // namespace hueweave::fuzz
