// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "system/WorkUnits.h"

#include <algorithm>
#include <new>
#include <system_error>

#include "system/Signals.h"

namespace hueweave::tool {

void StartThreads(std::vector<std::thread>& threads, unsigned count, const std::function<void()>& what) {
    threads.reserve(threads.size() + count);
    for (unsigned i = 0; i < count; ++i) {
        try {
            threads.emplace_back(what);
        } catch (const std::system_error&) {
            return;
        } catch (const std::bad_alloc&) {
            return;
        }
    }
}

void WorkUnits::Loop(const MakeWorker& makeWorker) {
    try {
        const Work work = makeWorker();
        for (;;) {
            std::uint64_t unit = 0;
            {
                const std::lock_guard lock(mutex_);
                if (failure_ || next_ == count_) return;
                unit = next_++;
            }
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
    if (threads > count_) threads = std::max(1U, static_cast<unsigned>(count_));
    std::vector<std::thread> helpers;
    StartThreads(helpers, threads - 1, [&] { Loop(makeWorker); });
    Loop(makeWorker);
    for (std::thread& helper : helpers) helper.join();
    if (failure_) std::rethrow_exception(failure_);
}

}  // namespace hueweave::tool
