// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <malloc.h>
#include <sys/resource.h>

#include <cstdio>
#include <new>

#include "Arguments.h"
#include "Commands.h"
#include "Refusal.h"
#include "Signals.h"

namespace {

using namespace hueweave::tool;

Exit Dispatch(const Arguments& arguments) {
    if (arguments.convert) return Convert(*arguments.convert);
    if (arguments.inspect) return Inspect(*arguments.inspect);
    if (arguments.bake) return BakeCommand(*arguments.bake);
    if (arguments.verify) return Verify(*arguments.verify);
    if (arguments.spaces) return ListSpaces(*arguments.spaces);
    return Exit::Done;
}

/// Many threads have many files open; the limit that is usual is far below what is allowed.
void AllowManyFiles() {
    struct rlimit files {};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0) return;
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
}

int Fail(Exit status, const char* line) {
    std::fprintf(stderr, "hueweave: %s\n", line);
    return static_cast<int>(status);
}

}  // namespace

int main(int count, char** words) {
    // Buffers of pixels go back to the system when they are done with, so that memory stays within its limit.
    mallopt(M_MMAP_THRESHOLD, 1 << 18);
    WatchSignals();
    AllowManyFiles();
    try {
        Exit status = Dispatch(ParseArguments(count, words));
        if (std::fflush(stdout) != 0) {
            return Fail(Exit::Output, "standard output: cannot be written; write to another place");
        }
        return static_cast<int>(status);
    } catch (const Interrupted&) {
        EndBySignal();
    } catch (const Refusal& refusal) {
        return Fail(refusal.status(), refusal.what());
    } catch (const std::bad_alloc&) {
        return Fail(Exit::Input, "there is not enough memory; lower -j");
    } catch (const std::exception& error) {
        return Fail(Exit::Input, error.what());
    }
}
