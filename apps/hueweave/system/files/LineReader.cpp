// SPDX-License-Identifier: MIT
#include "system/files/LineReader.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "system/Signals.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kChunk = std::size_t{64} << 10;

}  // namespace

FileAccess LineReader::Open(const std::string& path) {
    return FileAccess(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC), path);
}

bool LineReader::Fill() {
    block_.resize(kChunk);
    ssize_t got = -1;
    do {
        WaitFor(descriptor_, POLLIN);
        ThrowIfInterrupted();
        got = ::read(descriptor_, block_.data(), block_.size());
    } while (got < 0 && (errno == EINTR || errno == EAGAIN));
    if (got < 0) error_ = errno;
    block_.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    at_ = 0;
    return got > 0;
}

bool LineReader::Next(std::string& line) {
    line.clear();
    for (;;) {
        if (at_ == block_.size() && !Fill()) return !line.empty() && error_ == 0;
        const auto from = block_.begin() + static_cast<std::ptrdiff_t>(at_);
        const auto end = std::find(from, block_.end(), static_cast<unsigned char>(end_));
        const bool whole = end != block_.end();
        at_ = static_cast<std::size_t>(end - block_.begin()) + whole;
        if (!passOver_) {
            const std::size_t room = longest_ + 1 - line.size();
            line.append(from, from + std::min(end - from, static_cast<std::ptrdiff_t>(room)));
        }
        if (!whole && !passOver_ && line.size() > longest_) return passOver_ = true;
        if (!whole) continue;
        if (!passOver_) return true;
        passOver_ = false;
    }
}

}  // namespace hueweave::tool
