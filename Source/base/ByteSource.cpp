// SPDX-License-Identifier: MIT
#include "base/ByteSource.h"

#include <algorithm>

#include "base/FileHandle.h"

ByteSource::ByteSource(std::FILE* stream) : stream_(stream), size_(FileSize(stream)) {}

void ByteSource::ReadAhead() {
    if (stream_ == nullptr || size_ == 0) return;
    const off_t place = ftello(stream_);
    if (!SeekTo(stream_, 0)) return;
    ahead_.resize(static_cast<std::size_t>(std::min(size_, kAhead)));
    ahead_.resize(std::fread(ahead_.data(), 1, ahead_.size(), stream_));
    held_ = ahead_;
    at_ = static_cast<std::uint64_t>(place);
    if (held_.size() == size_) {
        stream_ = nullptr;
    } else {
        SeekTo(stream_, at_);
    }
}

bool ByteSource::Seek(std::uint64_t offset) {
    if (stream_ != nullptr) return SeekTo(stream_, offset);
    at_ = offset;
    return true;
}

std::size_t ByteSource::Read(std::span<unsigned char> to) {
    std::size_t got = 0;
    if (stream_ != nullptr) {
        got = std::fread(to.data(), 1, to.size(), stream_);
    } else {
        const auto rest =
            held_.last(held_.size() - static_cast<std::size_t>(std::min<std::uint64_t>(at_, held_.size())));
        got = std::min(to.size(), rest.size());
        std::copy_n(rest.begin(), got, to.begin());
        at_ += got;
    }
    std::fill(to.begin() + static_cast<std::ptrdiff_t>(got), to.end(), static_cast<unsigned char>(0));
    return got;
}

void ByteSource::ReadAt(std::uint64_t start, std::span<unsigned char> to) {
    if (Seek(start)) {
        Read(to);
    } else {
        std::fill(to.begin(), to.end(), static_cast<unsigned char>(0));
    }
}

std::span<const unsigned char> ByteSource::Block(std::uint64_t start, std::uint64_t size) {
    if (start + size <= held_.size()) {
        return held_.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(size));
    }
    if (size > block_.capacity()) block_ = std::vector<unsigned char>();  // frees the old block first
    block_.resize(static_cast<std::size_t>(size));
    ReadAt(start, block_);
    return block_;
}
