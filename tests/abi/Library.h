// SPDX-License-Identifier: MIT
#pragma once

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>

#include "hueweave/hueweave.h"

namespace hueweave::test {

/// The shared library, loaded as long as the object lives; its functions are found by symbol name only.
class Library {
public:
    Library() : handle_(dlopen(HUEWEAVE_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) throw std::runtime_error(dlerror());
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { dlclose(handle_); }

    template <class Function>
    Function Get(const std::string& name) const {
        void* const symbol = dlsym(handle_, name.c_str());
        if (symbol == nullptr) throw std::runtime_error("no symbol " + name);
        return reinterpret_cast<Function>(symbol);
    }

private:
    void* handle_;
};

/// The five functions of one engine.
struct EngineApi {
    EngineApi(const Library& library, const std::string& suffix)
        : SetProfile(library.Get<decltype(SetProfile)>("Orvix_Icc_SetProfile" + suffix)),
          SetIntent(library.Get<decltype(SetIntent)>("Orvix_Icc_SetIntent" + suffix)),
          Adjust(library.Get<decltype(Adjust)>("Orvix_Icc_Adjust" + suffix)),
          Convert2(library.Get<decltype(Convert2)>("Orvix_Icc_Convert2" + suffix)),
          ConvertFile(library.Get<decltype(ConvertFile)>("Orvix_Icc_ConvertFile" + suffix)) {}

    decltype(&Orvix_Icc_SetProfile) SetProfile;
    decltype(&Orvix_Icc_SetIntent) SetIntent;
    decltype(&Orvix_Icc_Adjust) Adjust;
    decltype(&Orvix_Icc_Convert2) Convert2;
    decltype(&Orvix_Icc_ConvertFile) ConvertFile;
};

inline constexpr std::array<const char*, 3> kSuffixes = {"", "_2nd", "_3rd"};

/// The output of ConvertFile.
inline const std::string kConversionLog =
    "Start Conversion(Start) : New ID\n"
    "Start Conversion(Pause) : End Conversion(count : 0)\n"
    "Start Conversion(Stop) :  End Conversion(count : 0)\n";

inline constexpr const char* kFailed = "<child failed>";

/// Runs `body` in a child process that ends with `exit`, and returns the child's standard output.
inline std::string OutputOfChild(const std::function<void()>& body) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no child");
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        body();
        std::exit(0);
    }
    close(ends[1]);
    std::string output;
    char buffer[4096];
    for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof buffer)) > 0;) {
        output.append(buffer, static_cast<std::size_t>(got));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) output += kFailed;
    return output;
}

/// The output of a tool; its exit status must be 0.
inline std::string OutputOfTool(const std::string& command) {
    const std::string output = OutputOfChild([&] { execl("/bin/sh", "sh", "-c", command.c_str(), nullptr); });
    EXPECT_THAT(output, testing::Not(testing::HasSubstr(kFailed))) << command;
    return output;
}

}  // namespace hueweave::test
