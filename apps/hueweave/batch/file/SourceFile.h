// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "batch/session/InputList.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// The source of a conversion, open. What stands under its name may change meanwhile; `file` is what was opened.
struct SourceFile {
    std::string name;  ///< for messages
    FileAccess file;
    FileState opened;  ///< when it was opened
};

/// Opens a file, or takes standard input as a whole.
SourceFile OpenSource(const Item& item);
/// Refuses a source that somebody wrote to: what was converted must be one state of it.
void CheckUnchanged(const SourceFile& source);

}  // namespace hueweave::tool
