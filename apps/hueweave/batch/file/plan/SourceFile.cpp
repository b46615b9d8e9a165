// SPDX-License-Identifier: MIT
#include "batch/file/plan/SourceFile.h"

#include <utility>

#include "system/Refusal.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {

SourceFile OpenSource(const Item& item) {
    const bool standard = item.source == "-";
    FileAccess file = standard ? SpoolStandardInput() : FileAccess::OpenInput(item.source);
    const FileState opened = file.State();
    return {standard ? "standard input" : item.source, std::move(file), opened};
}

void CheckUnchanged(const SourceFile& source) {
    if (source.file.State() == source.opened) return;
    throw Refusal(Exit::Input, source.name, "changed while it was being read",
                  "convert it again when nobody writes to it");
}

}  // namespace hueweave::tool
