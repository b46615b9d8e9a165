// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>

namespace hueweave::tool {

/// Runs numbered units of work on several threads: the files of a run, or the blocks of an image. Parts of a unit can
/// run in the order of the numbers, so that the result does not depend on the number of threads.
class WorkUnits {
public:
    /// The number of a unit, and the number of threads that it may use: if there are fewer remaining units than
    /// threads, the surplus threads are divided among them.
    struct Unit {
        std::uint64_t number = 0;
        unsigned threads = 1;
        operator std::uint64_t() const { return number; }  // NOLINT(google-explicit-constructor): see `Work`
    };
    /// Processes a unit; may accept its number only. One worker is created per thread and owns what that thread needs.
    using Work = std::function<void(Unit unit)>;
    using MakeWorker = std::function<Work()>;

    explicit WorkUnits(std::uint64_t count) : count_(count) {}
    /// Processes all units on `threads` threads, or as many as the system allows. After an exception or a signal no
    /// further unit is started; the first exception is rethrown after all threads have ended.
    void Run(unsigned threads, const MakeWorker& makeWorker);
    /// Parts of a unit, each of which waits only for the same part of the previous units.
    enum Part { Measuring, Placing };
    /// Called by a worker once for each unit and part: runs `what` when it is the turn of that unit.
    void InOrder(Part part, std::uint64_t unit, const std::function<void()>& what);

private:
    struct Stopped {};
    void Loop(const MakeWorker& makeWorker);
    /// Releases the threads of the previous unit and takes the next one. Returns false if there is none, or after a
    /// failure.
    bool Take(Unit& unit);

    std::uint64_t count_;
    std::mutex mutex_;
    std::condition_variable turn_;
    unsigned threads_ = 1, used_ = 0;  ///< total; used by units already taken
    std::uint64_t next_ = 0;           ///< next unit to be taken
    std::uint64_t current_[2] = {};    ///< for each part, the unit whose turn it is
    std::exception_ptr failure_;
};

}  // namespace hueweave::tool
