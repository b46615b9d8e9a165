// SPDX-License-Identifier: MIT
#include "batch/inputs/OutputFolder.h"

#include <filesystem>

#include "picture/Format.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

bool IsPictureName(const std::string& path) { return FormatOfName(path) != Format::Unknown; }

}  // namespace

std::string OutputFolder(const ConvertOptions& options, bool single) {
    const std::string& target = options.output;
    if (options.inPlace) return "";
    if (target == "-") {
        if (!single) throw Refusal(Exit::Usage, "", "-o - accepts only one input", "name an output folder");
        return "";
    }
    std::error_code ignored;
    const bool isFolder = fs::is_directory(target, ignored);
    if (isFolder) return target;
    if (single && !target.ends_with('/')) {
        if (IsPictureName(target)) return "";
        throw Refusal(Exit::Usage, target, "is neither a folder nor the name of a picture",
                      "name a file such as " + fs::path(target).replace_extension(".tif").string() +
                          ", or end it in / for a folder");
    }
    if (fs::exists(target, ignored)) {
        throw Refusal(Exit::Usage, target, "is not a folder", "name a folder for several outputs");
    }
    if (!target.ends_with('/') && IsPictureName(target)) {
        throw Refusal(Exit::Usage, target, "is the name of a picture, but several outputs need a folder",
                      "end it in / if it is to be a folder");
    }
    return target;
}

}  // namespace hueweave::tool
