// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "system/Refusal.h"
#include "tiff/TiffPage.h"

namespace hueweave::test {

/// A file as the command reads it.
struct OpenedTiff {
    explicit OpenedTiff(const std::string& path) : file(tool::FileAccess::OpenInput(path)), structure(file) {}
    OpenedTiff(const OpenedTiff&) = delete;
    OpenedTiff& operator=(const OpenedTiff&) = delete;

    tool::FileAccess file;
    tool::TiffStructure structure;
};

/// The reason for which `what` is refused, without the file name and the remedy; empty if it is not.
template <typename What>
std::string ReasonOf(const What& what) {
    try {
        what();
    } catch (const tool::Refusal& refusal) {
        return refusal.reason();
    }
    return {};
}

}  // namespace hueweave::test
