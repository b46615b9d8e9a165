// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>

namespace hueweave::tool {

/// Numbered units of work on several threads: the files of a run, or the blocks of an image. Parts of a unit can be
/// done in the order of the numbers, so that the outcome does not depend on the number of threads.
class WorkUnits {
public:
    /// A unit by its number, and the threads that it may use itself: where fewer units are left than threads, those
    /// that are over are divided among them.
    struct Unit {
        std::uint64_t number = 0;
        unsigned threads = 1;
        operator std::uint64_t() const { return number; }  // NOLINT(google-explicit-constructor): see `Work`
    };
    /// Does a unit; may take its number alone. A worker is made on each thread and owns what that thread needs.
    using Work = std::function<void(Unit unit)>;
    using MakeWorker = std::function<Work()>;

    explicit WorkUnits(std::uint64_t count) : count_(count) {}
    /// Does all units on `threads` threads, or as many as the system allows. After an exception or a signal no further
    /// unit is begun; the first exception is passed on after all threads have ended.
    void Run(unsigned threads, const MakeWorker& makeWorker);
    /// Parts of a unit, each of which waits only for the same part of the previous units.
    enum Part { Measuring, Placing };
    /// Called by a worker once for each unit and part: runs `what` when it is the turn of that unit.
    void InOrder(Part part, std::uint64_t unit, const std::function<void()>& what);

private:
    struct Stopped {};
    void Loop(const MakeWorker& makeWorker);
    /// Gives back the threads of the unit before and takes the next one. False where there is none, or after a failure.
    bool Take(Unit& unit);

    std::uint64_t count_;
    std::mutex mutex_;
    std::condition_variable turn_;
    unsigned threads_ = 1, used_ = 0;  ///< in all; by units that were taken
    std::uint64_t next_ = 0;           ///< unit that nobody has taken
    std::uint64_t current_[2] = {};    ///< by part: unit whose turn it is
    std::exception_ptr failure_;
};

}  // namespace hueweave::tool
