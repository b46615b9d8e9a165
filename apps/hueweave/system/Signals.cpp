// SPDX-License-Identifier: MIT
#include "system/Signals.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "system/Refusal.h"
#include "system/WakeUp.h"

namespace hueweave::tool {
namespace {

volatile std::sig_atomic_t noted = 0;

volatile std::sig_atomic_t toWake = -1;  // a descriptor

void Note(int signal) {
    noted = signal;
    if (toWake < 0) return;
    const int before = errno;
    WakeUp::Set(toWake);
    errno = before;
}

}  // namespace

void WatchSignals() {
    struct sigaction action {};
    action.sa_handler = Note;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        // A command started in the background or under nohup ignores these signals.
        if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGIO, SIG_IGN);  // sent if another program opens a file for writing while `WritersOf` looks at it
}

int NotedSignal() { return noted; }

void ThrowIfInterrupted() {
    if (noted != 0) throw Interrupted();
}

void WakeOnSignal(int descriptor) { toWake = descriptor; }

void EndBySignal() {
    const int signal = noted;
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    std::_Exit(128 + signal);
}

}  // namespace hueweave::tool
