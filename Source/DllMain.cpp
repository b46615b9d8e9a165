// SPDX-License-Identifier: MIT
// The two lines that the library prints when it is loaded and unloaded.
#include <cstdio>

namespace {

// The lowest priority available: constructed before, and destroyed after, everything else in the library, including the
// engines. Only the C library may be used here.
constexpr int kFirst = 101;
constexpr char kModule[] = "Source/DllMain";

__attribute__((constructor(kFirst))) void initializer() { std::printf("[%s] initializer()\n", kModule); }

__attribute__((destructor(kFirst))) void finalizer() { std::printf("[%s] finalizer()\n", kModule); }

}  // namespace
