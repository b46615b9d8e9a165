// SPDX-License-Identifier: MIT
#pragma once

namespace hueweave::tool {

/// From now on, SIGINT, SIGTERM and SIGHUP are recorded and end the command at the next block; SIGPIPE and SIGXFSZ
/// become errors of the write that caused them.
void WatchSignals();
/// The recorded signal, or 0.
int NotedSignal();
void ThrowIfInterrupted();
/// From now on, a recorded signal also sets this event descriptor; -1 for none.
void WakeOnSignal(int descriptor);
/// Ends the process by the recorded signal itself, so that the parent process sees the true cause.
[[noreturn]] void EndBySignal();

}  // namespace hueweave::tool
