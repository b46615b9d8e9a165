// SPDX-License-Identifier: MIT
#pragma once

#include "batch/session/Session.h"
#include "system/Refusal.h"

namespace hueweave::tool {

/// Converts all files of a session on `threads` threads and, if there are several, prints a summary. An error in one
/// file does not stop the others. Returns the status of the file if only one was named, otherwise whether all were
/// converted.
Exit RunBatch(Session& session, unsigned threads);

}  // namespace hueweave::tool
