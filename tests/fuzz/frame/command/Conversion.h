// SPDX-License-Identifier: MIT
#pragma once

#include "Scene.h"
#include "batch/session/ProfileCache.h"

namespace hueweave::fuzz {

/// Images of more pixels are only planned, since they would take too long.
inline constexpr std::uint64_t kMostPixels = std::uint64_t{1} << 18;

/// How a file is converted: with the library's precision, or exactly with a profile for RGB, grey or CMYK.
enum class Way { Library, Grey, GreyToRgb, Cmyk, Exact };

/// The options of one conversion.
struct Choice {
    Way way = Way::Library;
    std::optional<tool::Format> format{};  ///< of the output; else that of the source
    bool noTag = false, inPlace = false, dryRun = false;
    bool measures = true;
    unsigned threads = 1;

    static Choice Of(unsigned steering);
};

/// Converts any bytes as a file with a fixed profile, as the command does, and requires what holds for every format.
class Conversion {
public:
    /// `extension` is that of the format, with a dot.
    explicit Conversion(const std::string& extension);
    /// Returns the refusal, or nothing. Then there is an output, unless it was a dry run.
    std::optional<tool::Refusal> Run(const Choice& choice, const Bytes& file);

    /// Writes the source before `Run`, for looking into it, and returns its path.
    const std::string& PutSource(const Bytes& file) const;
    const std::string& source() const { return source_; }
    /// Also of a conversion in place, after which the source is as it was.
    const std::string& output() const { return output_; }
    Bytes Output() const { return test::ReadFile(output_); }
    std::string operator/(const std::string& name) const { return folder_ / name; }
    /// A converter with the library's precision.
    auto Ready(unsigned bits) { return settings_[0]->cache.Get(settings_[0]->profile, bits); }

private:
    /// The options of a run, and what is made of them.
    struct Setting {
        Setting(tool::DeviceProfile given, const tool::ConvertOptions& asked);
        tool::DeviceProfile profile;
        tool::ConvertOptions options;
        tool::Target target;
        tool::ProfileCache cache;  ///< borrows the options and the target
    };
    ScratchFolder folder_;
    std::array<std::unique_ptr<Setting>, 5> settings_;  ///< by `Way`
    std::string source_, output_;
};

}  // namespace hueweave::fuzz
