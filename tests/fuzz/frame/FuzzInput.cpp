// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "FuzzInput.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <limits>
#include <sstream>
#include <stdexcept>

/// What the library prints about broken files would drown what the fuzzer says.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) dup2(nowhere, STDOUT_FILENO);
    if (nowhere > STDERR_FILENO) close(nowhere);
    return 0;
}

namespace hueweave::fuzz {

void Fail(const char* what, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    std::abort();
}

int FuzzInput::Int() {
    static constexpr std::int64_t kEdges[] = {0, 255, 256, 4095, 4096, 65535, 65536, 1 << 20, 2147483647, -2147483648};
    const unsigned how = U8();
    if (how < 96) return Between(-8, 40);
    if (how < 160) return Between(-70000, 70000);
    if (how < 224) return static_cast<int>(U32());
    const std::int64_t edge = kEdges[Below(std::size(kEdges))] + Between(-1, 1);
    return static_cast<int>(static_cast<std::uint32_t>(edge));
}

std::uint64_t FuzzInput::Length() {
    static constexpr std::uint64_t kEdges[] = {0xffffffffU, 0x100000000U, std::uint64_t{1} << 63,
                                               std::numeric_limits<std::uint64_t>::max()};
    const unsigned how = U8();
    if (how < 200) return Below(17);
    if (how < 240) return Below(300);
    return kEdges[Below(std::size(kEdges))] - Below(3);
}

double FuzzInput::Double() {
    const unsigned how = U8();
    if (how < 80) return Between(-30000, 30000) / 100.0;
    if (how < 140) return static_cast<double>(Between(-400, 400));
    if (how < 170) return static_cast<double>(Int());
    static constexpr double kEdges[] = {0.0,
                                        -0.0,
                                        0.008856,
                                        7.9996,
                                        360.0,
                                        720.5,
                                        1e300,
                                        -1e300,
                                        5e-324,
                                        std::numeric_limits<double>::infinity(),
                                        -std::numeric_limits<double>::infinity(),
                                        std::numeric_limits<double>::quiet_NaN()};
    if (how < 220) return kEdges[Below(std::size(kEdges))];
    return std::bit_cast<double>(U64());
}

Bytes FuzzInput::Take(std::size_t count) {
    Bytes bytes(count);
    const std::size_t there = count < left_ ? count : left_;
    if (there != 0) std::memcpy(bytes.data(), data_, there);
    data_ += there;
    left_ -= there;
    return bytes;
}

ScratchFile::ScratchFile() : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
    if (descriptor_ < 0) throw std::runtime_error("no file in memory");
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
}

ScratchFile::~ScratchFile() { close(descriptor_); }

void ScratchFile::Put(std::span<const std::uint8_t> bytes) const {
    if (ftruncate(descriptor_, 0) != 0) throw std::runtime_error("cannot empty a file");
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t part = pwrite(descriptor_, &bytes[done], bytes.size() - done, static_cast<off_t>(done));
        if (part <= 0) throw std::runtime_error("cannot write a file");
        done += static_cast<std::size_t>(part);
    }
}

std::size_t ScratchFile::Size() const {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) throw std::runtime_error("cannot ask for a file's size");
    return static_cast<std::size_t>(status.st_size);
}

Bytes ScratchFile::Get() const {
    Bytes bytes(Size());
    if (!bytes.empty() && pread(descriptor_, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("cannot read a file");
    }
    return bytes;
}

struct PrintWatch::State {
    std::ostringstream text;
    std::streambuf* before = nullptr;
};

PrintWatch::PrintWatch() : state_(new State) { state_->before = std::cout.rdbuf(state_->text.rdbuf()); }

PrintWatch::~PrintWatch() {
    std::cout.rdbuf(state_->before);
    delete state_;
}

std::string PrintWatch::Text() const { return state_->text.str(); }

std::size_t OpenDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

}  // namespace hueweave::fuzz
