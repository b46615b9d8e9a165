// SPDX-License-Identifier: MIT
#include "system/StandardStreams.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>

#include "system/Refusal.h"
#include "system/Signals.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kBlock = std::size_t{256} << 10;
constexpr int kSignalsMs = 100;  ///< interval of checks for signals, which another thread may receive

/// Bytes written at once. After `WaitFor`, a pipe or terminal accepts this number without blocking.
std::size_t PieceFor(int stream) {
    struct stat status {};
    return ::fstat(stream, &status) == 0 && S_ISREG(status.st_mode) ? kBlock : PIPE_BUF;
}

}  // namespace

void TakeStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) >= 0) continue;
        // open() returns the lowest free number. Reading and writing a descriptor opened with O_PATH fails as with a
        // closed one.
        if (::open("/", O_PATH) != stream) std::_Exit(static_cast<int>(Exit::Output));
    }
}

bool IsClosed(int stream) {
    const int flags = ::fcntl(stream, F_GETFL);
    return flags < 0 || (flags & O_PATH) != 0;
}

bool WaitFor(int stream, short events) {
    if (stream < 0) return true;  // the following call reports the error; poll() would wait forever
    for (;;) {
        struct pollfd wanted {
            stream, events, 0
        };
        const bool ending = NotedSignal() != 0;
        const int ready = ::poll(&wanted, 1, ending ? 0 : kSignalsMs);
        if (ready > 0 || (ready < 0 && errno != EINTR)) return true;
        if (ending) return false;
    }
}

int WriteText(int stream, std::string_view text) {
    const std::size_t piece = PieceFor(stream);
    while (!text.empty()) {
        if (!WaitFor(stream, POLLOUT)) return EINTR;
        const ssize_t put = ::write(stream, text.data(), std::min(piece, text.size()));
        if (put < 0 && errno != EINTR && errno != EAGAIN) return errno;
        if (put > 0) text.remove_prefix(static_cast<std::size_t>(put));
    }
    return 0;
}

void PrintError(const std::string& line) { WriteText(STDERR_FILENO, line + "\n"); }

void PrintNoMemory() noexcept { WriteText(STDERR_FILENO, "hueweave: not enough memory; lower -j\n"); }

std::string TemporaryFolder() {
    std::error_code ignored;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(ignored);
    return folder.empty() ? "/tmp" : folder.string();
}

void RefuseStandardInput(int error) {
    const std::string why = IsClosed(STDIN_FILENO) ? "is closed" : "cannot be read (" + ErrorText(error) + ")";
    throw Refusal(Exit::Input, "standard input", why, "name a file instead of -");
}

void RefuseStandardOutput(int error) {
    const std::string why = IsClosed(STDOUT_FILENO) ? "is closed" : "cannot be written (" + ErrorText(error) + ")";
    throw Refusal(Exit::Output, "standard output", why, "write to a file");
}

FileAccess SpoolStandardInput() {
    FileAccess file = FileAccess::Scratch(TemporaryFolder(), "standard input");
    Bytes block(kBlock);
    std::uint64_t size = 0;
    for (;;) {
        WaitFor(STDIN_FILENO, POLLIN);
        ThrowIfInterrupted();
        const ssize_t got = ::read(STDIN_FILENO, block.data(), block.size());
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (got < 0) RefuseStandardInput(errno);
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
        if (const int error = WriteText(STDOUT_FILENO, {reinterpret_cast<const char*>(block.data()), part})) {
            ThrowIfInterrupted();
            RefuseStandardOutput(error);
        }
        at += part;
    }
}

}  // namespace hueweave::tool
