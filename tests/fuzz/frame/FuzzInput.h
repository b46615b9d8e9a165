// SPDX-License-Identifier: MIT
// What all fuzz targets include: numbers from the bytes of the input, files in memory, a measurement of the heap.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "support/ByteWriter.h"
#include "support/ProfileBuilder.h"
#include "support/TempDir.h"

namespace hueweave::fuzz {

using test::Bytes;
using test::OpenFiles;

/// A path that cannot be opened.
inline constexpr const char* kNoFile = "/proc/self/fd/none";

/// Reports the violated condition and ends the process.
[[noreturn]] void Fail(const char* what, const char* file, int line);
inline void Require(bool holds, const char* what, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (!holds) Fail(what, file, line);
}

/// What `call` returns, or nothing if it refuses its input with an `Error`.
template <typename Error, typename Call>
auto Accepted(const Call& call) -> std::optional<decltype(call())> {
    try {
        return call();
    } catch (const Error& error) {
        Require(error.what()[0] != '\0', "a refusal has a reason");
        return std::nullopt;
    }
}

/// Reads numbers from the input, front to back; after its end everything is 0.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    bool Empty() const { return left_ == 0; }
    unsigned U8() { return static_cast<unsigned>(Number(1)); }
    unsigned U16() { return static_cast<unsigned>(Number(2)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(Number(4)); }
    bool Bool() { return (U8() & 1U) != 0; }
    /// 0 to `limit` - 1; `limit` is at least 1.
    std::size_t Below(std::size_t limit) { return (limit <= 256 ? U8() : limit <= 65536 ? U16() : U32()) % limit; }
    /// `low` to `high`, inclusive.
    int Between(int low, int high) {
        return low + static_cast<int>(Below(static_cast<std::size_t>(static_cast<std::int64_t>(high) - low) + 1));
    }
    /// Any int: half of the time a small one, else one at or next to the limits of the usual widths.
    int Int();
    /// Any double: colours, limits, infinities and NaN.
    double Double();
    /// The next bytes, at most `count`, as a separate input.
    FuzzInput Split(std::size_t count);
    /// The next `count` bytes.
    Bytes Take(std::size_t count);
    Bytes Rest() { return Take(left_); }

private:
    std::uint64_t Number(unsigned bytes);

    const std::uint8_t* data_;
    std::size_t left_;
};

/// Runs the target on one input.
void RunTarget(FuzzInput& input);

/// For contents that are not taken from the input byte by byte.
class Scatter : public test::Lcg {
public:
    using Lcg::Lcg;
    std::size_t Below(std::size_t limit) { return Next() % limit; }
};

Bytes ScatteredBytes(std::size_t count, std::uint32_t seed);

/// A regular file in memory that has a path.
class ScratchFile {
public:
    explicit ScratchFile(const Bytes& bytes = {});
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile();
    Bytes Put(Bytes bytes) const {
        test::WriteFile(path_, bytes);
        return bytes;
    }
    Bytes Get() const { return test::ReadFile(path_); }
    const char* Path() const { return path_.c_str(); }

private:
    int descriptor_;
    std::string path_;
};

/// Measures the heap from its construction on: peak bytes above those in use then, and the number of allocations.
class HeapWatch {
public:
    HeapWatch();
    std::size_t Peak() const;
    std::size_t Count() const;

private:
    std::size_t liveBefore_, countBefore_;
};

/// A limit on the heap for reading a TIFF file: tag data, strips, and the same image as planes and pixels.
constexpr std::size_t TiffHeap(std::size_t size) { return 24 * (std::size_t{1} << 20) + 6 * size; }

/// Captures the standard output of the library during its lifetime.
class PrintWatch {
public:
    PrintWatch() : before_(std::cout.rdbuf(text_.rdbuf())) {}
    ~PrintWatch() { std::cout.rdbuf(before_); }
    std::string Text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::streambuf* before_;
};

}  // namespace hueweave::fuzz
