// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "batch/watch/WaitingFiles.h"
#include "system/WakeUp.h"

namespace hueweave::tool {

/// Converts files on several threads, in the order in which they are added. If fewer files wait than threads are free,
/// the surplus threads are divided among the files. `WorkUnits` does the same for a number of units that is known.
class FileQueue {
public:
    /// Converts a file on this number of threads. Returns the status if it was refused; throws `Interrupted` after a
    /// signal, and nothing else.
    using Convert = std::function<std::optional<Exit>(const Arrival&, unsigned threads)>;

    /// Starts `threads` threads, or as many as the system allows. `wakeUp` is set when a file has ended.
    FileQueue(unsigned threads, const WakeUp& wakeUp, Convert convert);
    ~FileQueue() { Stop(); }
    FileQueue(const FileQueue&) = delete;
    FileQueue& operator=(const FileQueue&) = delete;

    void Add(std::vector<Arrival> arrivals);
    /// The files that have ended since the last call.
    std::vector<Ended> TakeEnded();
    /// Waits for the files in conversion, which a signal ends, and drops the others.
    void Stop();

private:
    void Loop();
    /// Waits for the next file and takes it. Returns false after `Stop`.
    bool Take(Arrival& arrival, unsigned& threads);

    const WakeUp& wakeUp_;
    Convert convert_;
    unsigned threads_, used_ = 0;
    std::mutex mutex_;
    std::condition_variable added_;
    std::deque<Arrival> waiting_;
    std::vector<Ended> ended_;
    bool stopped_ = false;
    std::vector<std::thread> running_;
};

}  // namespace hueweave::tool
