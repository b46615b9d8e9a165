// SPDX-License-Identifier: MIT
// Runs a fuzz target without a fuzzing engine: on every file of the given folders and files, sorted by name, and with
// --inputs=N also on mutated forms of them, the same ones every time, N inputs in all or a few more. An input that ends
// the process, or takes longer than 20 seconds, is saved in the file given by --keep=FILE.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <span>

#include "Mutation.h"

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                                                     std::size_t maxSize, unsigned seed);

namespace {

namespace fs = std::filesystem;
using hueweave::fuzz::Bytes;

hueweave::fuzz::Scatter scatter(1);

constexpr unsigned kMostSeconds = 20;  ///< for one input

std::string keepAs;              ///< where an input that ends the process is saved
const Bytes* current = nullptr;  ///< the current input

/// Makes only calls that are allowed in a signal handler.
extern "C" void KeepAndEnd(int number) {
    const int handle = open(keepAs.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (handle >= 0 && current != nullptr) {
        [[maybe_unused]] const ssize_t done = write(handle, current->data(), current->size());
    }
    std::signal(number, SIG_DFL);
    std::raise(number);
}

/// In a separate block, so that a sanitizer detects access to the first byte past the end.
void Run(const Bytes& input) {
    current = &input;
    alarm(kMostSeconds);
    LLVMFuzzerTestOneInput(input.data(), input.size());
    current = nullptr;
}

void RunChanged(const Bytes& input, std::size_t times) {
    const std::size_t size = input.size(), most = 2 * size + 64;
    for (std::size_t n = 0; n < times; ++n) {
        Bytes changed = input;
        changed.resize(most);
        const unsigned seed = scatter.Next();
        changed.resize(LLVMFuzzerCustomMutator != nullptr ? LLVMFuzzerCustomMutator(changed.data(), size, most, seed)
                                                          : LLVMFuzzerMutate(changed.data(), size, most));
        changed.shrink_to_fit();
        Run(changed);
    }
}

}  // namespace

/// The simplest mutations: bytes set, removed and inserted.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize) {
    hueweave::fuzz::Block block{data, size, maxSize, scatter};
    const std::size_t changes = 1 + scatter.Below(4);
    for (std::size_t n = 0; n < changes; ++n) {
        const std::size_t how = scatter.Below(5), at = scatter.Below(block.size + 1);
        const std::uint32_t value = scatter.Next();
        if (how == 0) block.Stretch(at, 1);
        if (how == 1 && block.size > 1) {
            block.Shorten(at, 1);
        } else {
            block.Put(at, 1, how < 3 ? value : block.Get(at, 1) ^ 1U << value % 8);
        }
    }
    return block.size;
}

int main(int count, char** arguments) {
    LLVMFuzzerInitialize(&count, &arguments);
    std::size_t inputs = 0;
    std::vector<fs::path> files;
    for (const std::string argument : std::span(arguments, static_cast<std::size_t>(count)).subspan(1)) {
        if (argument.starts_with("--inputs=")) {
            inputs = std::stoul(argument.substr(std::strlen("--inputs=")));
        } else if (argument.starts_with("--keep=")) {
            keepAs = argument.substr(std::strlen("--keep="));
        } else if (fs::is_directory(argument)) {
            const std::set<fs::path> sorted(fs::directory_iterator(argument), fs::directory_iterator{});
            files.insert(files.end(), sorted.begin(), sorted.end());
        } else if (fs::exists(argument)) {
            files.emplace_back(argument);
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "no input\n");
        return EXIT_FAILURE;
    }
    for (const int number : {SIGABRT, SIGALRM, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
        if (!keepAs.empty()) std::signal(number, KeepAndEnd);  // else a sanitizer's own handler stays
    }
    const std::size_t changes = inputs > files.size() ? (inputs - 1) / files.size() : 0;
    for (const fs::path& file : files) {
        std::fprintf(stderr, "%s\n", file.c_str());
        const Bytes input = hueweave::test::ReadFile(file.string());
        Run(input);
        RunChanged(input, changes);
    }
    std::fprintf(stderr, "%zu files, %zu inputs\n", files.size(), files.size() * (1 + changes));
    return EXIT_SUCCESS;
}
