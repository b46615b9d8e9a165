// SPDX-License-Identifier: MIT
#pragma once

#include "batch/session/Session.h"
#include "batch/watch/Inbox.h"

namespace hueweave::tool {

/// Converts the files that arrive in the inbox, on `threads` threads. Ends by an exception only: `Interrupted` after a
/// signal, or a `Refusal` if one of the folders no longer exists.
[[noreturn]] void RunWatch(Session& session, Inbox& inbox, unsigned threads);

}  // namespace hueweave::tool
