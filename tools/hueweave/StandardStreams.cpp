// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "StandardStreams.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "Refusal.h"
#include "Signals.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kBlock = std::size_t{256} << 10;

}  // namespace

std::string TemporaryFolder() {
    std::error_code ignored;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(ignored);
    return folder.empty() ? "/tmp" : folder.string();
}

FileAccess SpoolStandardInput() {
    FileAccess file = FileAccess::Scratch(TemporaryFolder(), "standard input");
    Bytes block(kBlock);
    std::uint64_t size = 0;
    for (;;) {
        ThrowIfInterrupted();
        const ssize_t got = ::read(STDIN_FILENO, block.data(), block.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw Refusal(Exit::Input, "standard input", "cannot be read (" + ErrorText(errno) + ")", "");
        if (got == 0) return file;
        file.Write(size, block.data(), static_cast<std::size_t>(got));
        size += static_cast<std::uint64_t>(got);
    }
}

void WriteStandardOutput(const FileAccess& file) {
    Bytes block(kBlock);
    const std::uint64_t size = file.Size();
    for (std::uint64_t at = 0; at < size;) {
        ThrowIfInterrupted();
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), size - at));
        file.Read(at, block.data(), part);
        for (std::size_t done = 0; done < part;) {
            const ssize_t put = ::write(STDOUT_FILENO, block.data() + done, part - done);
            if (put < 0 && errno == EINTR) {
                ThrowIfInterrupted();
                continue;
            }
            if (put < 0) {
                throw Refusal(Exit::Output, "standard output", "cannot be written (" + ErrorText(errno) + ")",
                              "write to a file with -o");
            }
            done += static_cast<std::size_t>(put);
        }
        at += part;
    }
}

}  // namespace hueweave::tool
