// SPDX-License-Identifier: MIT
#include "FuzzInput.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

/// Messages of the library about broken files would hide those of the fuzzer.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) dup2(nowhere, STDOUT_FILENO);
    if (nowhere > STDERR_FILENO) close(nowhere);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    hueweave::fuzz::FuzzInput input(data, size);
    hueweave::fuzz::RunTarget(input);
    return 0;
}

namespace hueweave::fuzz {

void Fail(const char* what, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    std::abort();
}

std::uint64_t FuzzInput::Number(unsigned bytes) {
    std::uint64_t number = 0;
    for (unsigned n = 0; n < bytes && left_ != 0; ++n, --left_) number |= std::uint64_t{*data_++} << 8 * n;
    return number;
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

double FuzzInput::Double() {
    static constexpr double kEdges[] = {0.0,   -0.0,   0.008856, 7.9996,   360.0,     720.5,
                                        1e300, -1e300, 5e-324,   INFINITY, -INFINITY, NAN};
    const unsigned how = U8();
    if (how < 80) return Between(-30000, 30000) / 100.0;
    if (how < 140) return Between(-400, 400);
    if (how < 170) return Int();
    if (how < 220) return kEdges[Below(std::size(kEdges))];
    return std::bit_cast<double>(Number(8));
}

FuzzInput FuzzInput::Split(std::size_t count) {
    const FuzzInput head(data_, std::min(count, left_));
    data_ += head.left_;
    left_ -= head.left_;
    return head;
}

Bytes FuzzInput::Take(std::size_t count) {
    const FuzzInput head = Split(count);
    Bytes bytes(head.data_, head.data_ + head.left_);
    bytes.resize(count);
    return bytes;
}

Bytes ScatteredBytes(std::size_t count, std::uint32_t seed) {
    Bytes bytes(count);
    Scatter scatter(seed);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(scatter.Next());
    return bytes;
}

ScratchFile::ScratchFile(const Bytes& bytes) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
    if (descriptor_ < 0) throw std::runtime_error("no file in memory");
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
    Put(bytes);
}

ScratchFile::~ScratchFile() { close(descriptor_); }

}  // namespace hueweave::fuzz
