// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <iostream>

namespace hueweave::test {

/// Runs `body` in a child process and returns its exit status, -1 if a signal ended it.
inline int StatusOfChild(const std::function<int()>& body) {
    std::cout.flush();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace hueweave::test
