// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

namespace hueweave::tool {

/// SIGINT, SIGTERM and SIGHUP are noted from now on and end the command at the next block; SIGPIPE and SIGXFSZ
/// become errors of the write that caused them.
void WatchSignals();
/// The noted signal, 0 for none.
int NotedSignal();
void ThrowIfInterrupted();
/// Ends the process by the noted signal itself, so that whoever started it sees the true cause.
[[noreturn]] void EndBySignal();

}  // namespace hueweave::tool
