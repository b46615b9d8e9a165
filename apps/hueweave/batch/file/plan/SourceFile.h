// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "batch/inputs/InputList.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// The open source of a conversion. Its path may refer to another file in the meantime; `file` is the one that was
/// opened.
struct SourceFile {
    std::string name;  ///< for messages
    FileAccess file;
    FileState opened;  ///< state when it was opened
};

/// Opens a file, or copies standard input to a temporary file.
SourceFile OpenSource(const Item& item);
/// Refuses a source that was modified after it was opened, because the output might mix two states of it.
void CheckUnchanged(const SourceFile& source);

}  // namespace hueweave::tool
