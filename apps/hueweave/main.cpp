// SPDX-License-Identifier: MIT
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <system_error>

#include "cli/CommandLine.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"

namespace {

using namespace hueweave::tool;

/// Many threads open many files, and the default limit is far below the allowed maximum.
void AllowManyFiles() {
    struct rlimit files {};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0) return;
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
}

int Fail(Exit status, const char* line) {
    try {
        PrintError("hueweave: " + OneLine(line));
    } catch (const std::bad_alloc&) {
        PrintNoMemory();
    }
    return static_cast<int>(status);
}

/// The error number of writing to standard output, or 0 if everything was written.
int OutputError() {
    const int error = ErrorOf(std::fflush(stdout));
    return error == 0 && std::ferror(stdout) != 0 ? EIO : error;
}

int Run(int count, const char* const* words) {
    if (count < 2) {
        WriteText(STDERR_FILENO, UsageText());
        return static_cast<int>(Exit::Usage);
    }
    try {
        const std::unique_ptr<Command> command = ParseCommandLine(count, words);
        const Exit status = command ? command->Run() : Exit::Done;
        if (const int error = OutputError()) RefuseStandardOutput(error);
        return static_cast<int>(status);
    } catch (const std::system_error& error) {
        // Printing throws this if standard output cannot be written, or if a signal ended the wait for its reader.
        ThrowIfInterrupted();
        if (OutputError() == 0) throw;
        RefuseStandardOutput(error.code().value());
    }
}

/// For failures that cannot be exceptions: memory that runs out in a destructor or in the JSON library.
[[noreturn]] void EndWithoutMemory() {
    PrintNoMemory();
    std::_Exit(static_cast<int>(Exit::Input));
}

}  // namespace

int main(int count, char** words) {
    TakeStandardStreams();  // before any file is opened
    // Returns pixel buffers to the system when they are freed, so that memory stays within its limit.
    mallopt(M_MMAP_THRESHOLD, 1 << 18);
    std::set_terminate(EndWithoutMemory);
    WatchSignals();
    AllowManyFiles();
    try {
        return Run(count, words);
    } catch (const Interrupted&) {
        EndBySignal();
    } catch (const Refusal& refusal) {
        return Fail(refusal.status(), refusal.what());
    } catch (const std::bad_alloc&) {
        PrintNoMemory();
        return static_cast<int>(Exit::Input);
    } catch (const std::exception& error) {
        return Fail(Exit::Input, error.what());
    }
}
