// SPDX-License-Identifier: MIT
#include "batch/watch/FileQueue.h"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

namespace hueweave::tool {

FileQueue::FileQueue(unsigned threads, const WakeUp& wakeUp, Convert convert)
    : wakeUp_(wakeUp), convert_(std::move(convert)), threads_(threads) {
    running_.reserve(threads);
    try {
        while (running_.size() < threads) running_.emplace_back([this] { Loop(); });
    } catch (const std::system_error&) {
        if (running_.empty()) throw Refusal(Exit::Input, "", "no thread can be started", "stop another program");
    }
}

void FileQueue::Add(std::vector<Arrival> arrivals) {
    const std::lock_guard lock(mutex_);
    std::move(arrivals.begin(), arrivals.end(), std::back_inserter(waiting_));
    added_.notify_all();
}

std::vector<Ended> FileQueue::TakeEnded() {
    const std::lock_guard lock(mutex_);
    return std::exchange(ended_, {});
}

void FileQueue::Stop() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        added_.notify_all();
    }
    for (std::thread& thread : running_) thread.join();
    running_.clear();
}

bool FileQueue::Take(Arrival& arrival, unsigned& threads) {
    std::unique_lock lock(mutex_);
    added_.wait(lock, [this] { return stopped_ || !waiting_.empty(); });
    if (stopped_) return false;
    const auto left = static_cast<unsigned>(std::min<std::size_t>(waiting_.size(), threads_));
    threads = std::max(1U, (threads_ - std::min(used_, threads_)) / left);
    used_ += threads;
    arrival = std::move(waiting_.front());
    waiting_.pop_front();
    return true;
}

void FileQueue::Loop() {
    try {
        unsigned threads = 0;
        for (Arrival arrival; Take(arrival, threads);) {
            const std::optional<Exit> refused = convert_(arrival, threads);
            const std::lock_guard lock(mutex_);
            used_ -= threads;
            ended_.push_back({std::move(arrival), refused});
            wakeUp_.Set();
        }
    } catch (const Interrupted&) {
        return;  // the thread that waits for files has been woken up too
    }
}

}  // namespace hueweave::tool
