// SPDX-License-Identifier: MIT
#include "system/WorkUnits.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "system/Signals.h"

namespace hueweave::tool {
namespace {

/// Starts `count` threads, or as many as the system allows.
std::vector<std::thread> StartThreads(std::uint64_t count, const std::function<void()>& what) {
    std::vector<std::thread> threads;
    threads.reserve(count);
    try {
        while (threads.size() < count) threads.emplace_back(what);
    } catch (const std::system_error&) {
        return threads;
    } catch (const std::bad_alloc&) {
        return threads;
    }
    return threads;
}

}  // namespace

bool WorkUnits::Take(Unit& unit) {
    const std::lock_guard lock(mutex_);
    used_ -= std::exchange(unit.threads, 0);
    if (failure_ || next_ == count_) return false;
    const std::uint64_t left = count_ - next_;
    unit.number = next_++;
    unit.threads = std::max(1U, static_cast<unsigned>((threads_ - std::min(used_, threads_)) / left));
    used_ += unit.threads;
    return true;
}

void WorkUnits::Loop(const MakeWorker& makeWorker) {
    try {
        const Work work = makeWorker();
        for (Unit unit{0, 0}; Take(unit);) {
            ThrowIfInterrupted();
            work(unit);
        }
    } catch (const Stopped&) {
        return;
    } catch (...) {
        const std::lock_guard lock(mutex_);
        if (!failure_) failure_ = std::current_exception();
    }
    turn_.notify_all();
}

void WorkUnits::InOrder(Part part, std::uint64_t unit, const std::function<void()>& what) {
    {
        std::unique_lock lock(mutex_);
        turn_.wait(lock, [&] { return failure_ || current_[part] == unit; });
        if (failure_) throw Stopped();
    }
    what();
    {
        const std::lock_guard lock(mutex_);
        ++current_[part];
    }
    turn_.notify_all();
}

void WorkUnits::Run(unsigned threads, const MakeWorker& makeWorker) {
    threads_ = threads;
    const std::uint64_t runners = std::clamp<std::uint64_t>(count_, 1, threads);
    std::vector<std::thread> helpers = StartThreads(runners - 1, [&] { Loop(makeWorker); });
    Loop(makeWorker);
    for (std::thread& helper : helpers) helper.join();
    if (failure_) std::rethrow_exception(failure_);
}

}  // namespace hueweave::tool
