// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Which files a call opens: those that it is given, and none besides. This program's own fopen and open stand in front
// of the C library's and write down what they are asked for.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdarg>
#include <set>
#include <sstream>

#include "abi/ExportsFixture.h"
#include "support/MiniTiff.h"

namespace {

struct OpenWatch {
    bool on = false;
    std::vector<std::string> opened;  ///< "r" or "w", a blank and the path
};
OpenWatch openWatch;

void Note(bool reads, const char* path) {
    if (!openWatch.on) return;
    const std::string name = path;
    // Measuring coverage brings code along that opens its own files.
    if (name.find(".gcda") == std::string::npos) openWatch.opened.push_back((reads ? "r " : "w ") + name);
}

template <class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

std::FILE* OpenStream(const char* name, const char* path, const char* mode) {
    Note(std::string(mode) == "r" || std::string(mode) == "rb", path);
    return Next<std::FILE* (*)(const char*, const char*)>(name)(path, mode);
}

int OpenDescriptor(const char* name, const char* path, int flags, mode_t mode) {
    Note((flags & O_ACCMODE) == O_RDONLY, path);
    return Next<int (*)(const char*, int, ...)>(name)(path, flags, mode);
}

mode_t ModeAmong(int flags, std::va_list arguments) {
    const bool given = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return given ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {
std::FILE* fopen(const char* path, const char* mode) { return OpenStream("fopen", path, mode); }
std::FILE* fopen64(const char* path, const char* mode) { return OpenStream("fopen64", path, mode); }
int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeAmong(flags, arguments);
    va_end(arguments);
    return OpenDescriptor("open", path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeAmong(flags, arguments);
    va_end(arguments);
    return OpenDescriptor("open64", path, flags, mode);
}
}

namespace hueweave::test {
namespace {

using Paths = std::vector<std::string>;

/// What is opened during a call.
Paths Opened(const std::function<void()>& call) {
    testing::internal::CaptureStdout();
    openWatch = {true, {}};
    call();
    openWatch.on = false;
    testing::internal::GetCapturedStdout();
    return openWatch.opened;
}

class OpenedFilesTest : public ExportsFixture, public testing::WithParamInterface<const char*> {
protected:
    EngineApi api_{library_, GetParam()};
};

TEST_P(OpenedFilesTest, SetProfileOpensTheProfileAloneAndOnce) {
    const std::string path = Good(), second = None();
    const auto bind = [&](const std::string& first, int intent, int input) {
        return Opened([&] { api_.SetProfile(first.c_str(), second.c_str(), intent, input, 8); });
    };
    EXPECT_EQ(bind(path, 0, 0), Paths{"r " + path});
    EXPECT_EQ(bind(path, 0, 0), Paths()) << "nothing changed";
    EXPECT_EQ(bind(path, 1, 0), Paths{"r " + path});
    EXPECT_EQ(bind(path, 1, 2), Paths()) << "refused before it is opened";
    EXPECT_EQ(bind(dir_.File("absent.icc"), 1, 0), Paths{"r " + dir_.File("absent.icc")});
    EXPECT_EQ(bind(dir_.File("absent.icc"), 1, 0), Paths{"r " + dir_.File("absent.icc")}) << "tried again";
}

TEST_P(OpenedFilesTest, CallsWithoutAPathOpenNothing) {
    for (const int input : {0, 1}) {
        EXPECT_EQ(Opened([&] {
                      api_.SetIntent(1, input, 9);
                      AdjustFlat(api_, 1, 2, 3);
                  }),
                  Paths());
        ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, input, 8), 8);
        EXPECT_EQ(Opened([&] {
                      api_.SetIntent(3, 1 - input, 22);
                      api_.Adjust(5.0, 6.0, 7.0, nullptr, nullptr, nullptr, 0);
                      AdjustFlat(api_, 1, 2, 3);
                      Bytes pixels = SomePixels();
                      api_.Convert2(pixels.data(), pixels.data(), 50);
                      library_.Get<decltype(&func1)>("func1")();
                  }),
                  Paths());
        ASSERT_EQ(api_.SetProfile(dir_.File("absent.icc").c_str(), nullptr, 0, 0, 8), 65535);
    }
}

TEST_P(OpenedFilesTest, ConvertFileReadsTheSourceAndWritesTheDestination) {
    const std::string source = dir_.File("source.tif"), dest = dir_.File("dest.tif");
    WriteFile(source, MiniTiff{10, 10, 3, 8, SomePixels(), Bytes(64, 1)}.Build());
    const auto convert = [&] { api_.ConvertFile(source.c_str(), dest.c_str()); };
    EXPECT_EQ(Opened(convert), Paths()) << "no output space";
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 8), 8);
    EXPECT_EQ(Opened(convert), (Paths{"r " + source, "w " + dest}));
    // A pipe that nobody reads is opened in another way, which does not wait.
    ASSERT_EQ(std::remove(dest.c_str()), 0);
    ASSERT_EQ(mkfifo(dest.c_str(), 0600), 0);
    EXPECT_EQ(Opened(convert), (Paths{"r " + source, "w " + dest}));
}

INSTANTIATE_TEST_SUITE_P(EveryEngine, OpenedFilesTest, testing::ValuesIn(kSuffixes),
                         [](const auto& param) { return "Engine" + std::string(param.param); });

TEST(OpenedFiles, LoadingAndUnloadingOpenNothing) {
    // The loader itself does not go through fopen.
    EXPECT_EQ(Opened([] { Library(); }), Paths());
}

TEST(OpenedFiles, ThereIsNoOtherWayToOpenOne) {
    const std::set<std::string> others = {"openat", "openat64", "creat", "creat64", "freopen", "freopen64", "opendir"};
    std::istringstream lines(OutputOfTool("nm -D --undefined-only '" HUEWEAVE_LIBRARY "'"));
    int opens = 0;
    for (std::string kind, symbol; lines >> kind >> symbol;) {
        const std::string name = symbol.substr(0, symbol.find('@'));
        if (name == "fopen" || name == "fopen64") ++opens;
        EXPECT_EQ(others.count(name), 0U) << name;
        EXPECT_THAT(name, testing::Not(testing::HasSubstr("filebuf"))) << "a stream of the C++ library";
        EXPECT_THAT(name, testing::Not(testing::HasSubstr("fstream"))) << "a stream of the C++ library";
    }
    EXPECT_GT(opens, 0);
}

}  // namespace
}  // namespace hueweave::test
