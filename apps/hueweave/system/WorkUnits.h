// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace hueweave::tool {

/// Starts `count` threads more, or as many as the system allows.
void StartThreads(std::vector<std::thread>& threads, unsigned count, const std::function<void()>& what);

/// Numbered units of work on several threads, with a part of each that is done in the order of the numbers. So the
/// outcome does not depend on the number of threads.
class WorkUnits {
public:
    /// Runs `work(unit)`. A worker is made on each thread and owns what that thread needs.
    using Work = std::function<void(std::uint64_t unit)>;
    using MakeWorker = std::function<Work()>;

    explicit WorkUnits(std::uint64_t count) : count_(count) {}
    /// Passes on the first exception, after all threads have ended.
    void Run(unsigned threads, const MakeWorker& makeWorker);
    /// Parts of a unit that each wait for the same part of the units before, and for nothing else.
    enum Part { Measuring, Placing };
    /// Called by a worker once for each unit and part that it has: runs `what` when it is that unit's turn.
    void InOrder(Part part, std::uint64_t unit, const std::function<void()>& what);

private:
    struct Stopped {};
    void Loop(const MakeWorker& makeWorker);

    std::uint64_t count_;
    std::mutex mutex_;
    std::condition_variable turn_;
    std::uint64_t next_ = 0;         ///< unit that nobody has taken
    std::uint64_t current_[2] = {};  ///< by part: unit whose turn it is
    std::exception_ptr failure_;
};

}  // namespace hueweave::tool
