// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Runs a fuzz target without a fuzzing engine: every file of the folders and files named, in the order of their names,
// and with --inputs=N also changed forms of them, N inputs in all or a few more. Fails when there was no file. The
// changes are the same every time. An input that ends the process, or takes longer than 20 seconds, is kept in the file
// that --keep=FILE names.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "FuzzInput.h"

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
/// There if a sanitizer is: what it calls before it ends the process.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());
extern "C" __attribute__((weak)) std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                                                     std::size_t maxSize, unsigned seed);

namespace {

namespace fs = std::filesystem;
using hueweave::fuzz::Scatter;

Scatter scatter(1);

std::vector<fs::path> FilesOf(const fs::path& place) {
    if (!fs::is_directory(place)) return {place};
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(place)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

constexpr unsigned kMostSeconds = 20;  ///< for one input

const char* keepAs = nullptr;                    ///< where an input goes that ends the process
const hueweave::fuzz::Bytes* current = nullptr;  ///< the one that is running

/// Only calls that a signal handler may make.
void KeepInput() {
    if (keepAs == nullptr || current == nullptr) return;
    const int handle = open(keepAs, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (handle < 0) return;
    [[maybe_unused]] const ssize_t done = write(handle, current->data(), current->size());
    close(handle);
}

extern "C" void KeepAndEnd(int number) {
    KeepInput();
    std::signal(number, SIG_DFL);
    std::raise(number);
}

/// A sanitizer has handlers of its own for faults, and tells when it ends the process.
void WatchForTheEnd() {
    for (const int number : {SIGABRT, SIGALRM}) std::signal(number, KeepAndEnd);
    if (__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(KeepInput);
    } else {
        for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) std::signal(number, KeepAndEnd);
    }
}

/// In a block of its own, so that a sanitizer sees the first byte beyond it.
void Run(const hueweave::fuzz::Bytes& input) {
    current = &input;
    alarm(kMostSeconds);
    LLVMFuzzerTestOneInput(input.data(), input.size());
    current = nullptr;
}

void RunChanged(const hueweave::fuzz::Bytes& input, std::size_t times) {
    const std::size_t most = 2 * input.size() + 64;
    for (std::size_t n = 0; n < times; ++n) {
        hueweave::fuzz::Bytes changed = input;
        changed.resize(most);
        const unsigned seed = scatter.Next();
        const std::size_t size = LLVMFuzzerCustomMutator != nullptr
                                     ? LLVMFuzzerCustomMutator(changed.data(), input.size(), most, seed)
                                     : LLVMFuzzerMutate(changed.data(), input.size(), most);
        changed.resize(size);
        changed.shrink_to_fit();
        Run(changed);
    }
}

}  // namespace

/// The plainest changes: bytes set, taken out, and put in.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize) {
    const std::size_t changes = 1 + scatter.Below(4);
    for (std::size_t n = 0; n < changes; ++n) {
        const std::size_t how = scatter.Below(5);
        if (how == 0 && size < maxSize) {
            const std::size_t at = scatter.Below(size + 1);
            std::move_backward(data + at, data + size, data + size + 1);
            data[at] = static_cast<std::uint8_t>(scatter.Next());
            ++size;
        } else if (how == 1 && size > 1) {
            const std::size_t at = scatter.Below(size);
            std::move(data + at + 1, data + size, data + at);
            --size;
        } else if (size != 0) {
            const std::size_t at = scatter.Below(size);
            const auto value = static_cast<std::uint8_t>(scatter.Next());
            data[at] = how == 2 ? value : static_cast<std::uint8_t>(data[at] ^ 1U << value % 8);
        }
    }
    return size;
}

int main(int count, char** arguments) {
    LLVMFuzzerInitialize(&count, &arguments);
    const std::string wanted = "--inputs=", keep = "--keep=";
    std::size_t inputs = 0;
    std::vector<fs::path> files;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument.starts_with(wanted)) {
            inputs = std::strtoul(argument.c_str() + wanted.size(), nullptr, 10);
        } else if (argument.starts_with(keep)) {
            keepAs = arguments[i] + keep.size();
        } else if (fs::exists(argument)) {
            const std::vector<fs::path> more = FilesOf(argument);
            files.insert(files.end(), more.begin(), more.end());
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "no input\n");
        return EXIT_FAILURE;
    }
    WatchForTheEnd();
    const std::size_t changes = inputs > files.size() ? (inputs - 1) / files.size() : 0;
    for (const fs::path& file : files) {
        std::fprintf(stderr, "%s\n", file.c_str());
        const hueweave::fuzz::Bytes input = hueweave::test::ReadFile(file.string());
        Run(input);
        RunChanged(input, changes);
    }
    std::fprintf(stderr, "%zu files, %zu inputs\n", files.size(), files.size() * (1 + changes));
    return EXIT_SUCCESS;
}
