// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "batch/session/Session.h"
#include "system/Refusal.h"

namespace hueweave::tool {

/// Converts all files of a session on so many threads, and tells how it went. Whatever happens to a file, the others
/// are converted. The status is that of the only file, or whether all were converted.
Exit RunBatch(Session& session, unsigned threads);

}  // namespace hueweave::tool
