// SPDX-License-Identifier: MIT
// The files that a call opens: those passed to it and no others. The functions fopen and open of this program replace
// those of the C library and record what they are asked to open.
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdarg>

#include "abi/CheckedEngines.h"

namespace {

struct OpenWatch {
    bool on = false;
    std::vector<std::string> opened;  ///< "r" or "w", a space and the path
};
OpenWatch openWatch;

void Note(bool reads, const char* path) {
    if (!openWatch.on) return;
    const std::string name = path;
    // Coverage measurement adds code that opens its own files.
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

int OpenDescriptor(const char* name, const char* path, int flags, std::va_list arguments) {
    Note((flags & O_ACCMODE) == O_RDONLY, path);
    const bool makes = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return Next<int (*)(const char*, int, ...)>(name)(path, flags, makes ? va_arg(arguments, mode_t) : 0);
}

}  // namespace

extern "C" {
std::FILE* fopen(const char* path, const char* mode) { return OpenStream("fopen", path, mode); }
std::FILE* fopen64(const char* path, const char* mode) { return OpenStream("fopen64", path, mode); }
int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const int descriptor = OpenDescriptor("open", path, flags, arguments);
    va_end(arguments);
    return descriptor;
}
int open64(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const int descriptor = OpenDescriptor("open64", path, flags, arguments);
    va_end(arguments);
    return descriptor;
}
}

namespace hueweave::test {
namespace {

using Paths = std::vector<std::string>;

/// The files opened during a call.
Paths Opened(const std::function<void()>& call) {
    testing::internal::CaptureStdout();
    openWatch = {true, {}};
    call();
    openWatch.on = false;
    testing::internal::GetCapturedStdout();
    return openWatch.opened;
}

class ExportedFileAccess : public ExportTest {
protected:
    const std::string plain_ = engines_.Path("plain.icc");
};

TEST_F(ExportedFileAccess, SetProfileOpensOnlyTheProfileAndOnlyOnce) {
    const std::string second = engines_.Path("none.icc"), absent = engines_.Path("absent.icc");
    for (const EngineApi& api : engines_.Apis()) {
        for (const std::string& first : {plain_, absent}) {
            const auto bind = [&] { api.SetProfile(first.c_str(), second.c_str(), 0, 0, 8); };
            EXPECT_EQ(Opened(bind), Paths{"r " + first});
            EXPECT_EQ(Opened(bind), first == plain_ ? Paths() : Paths{"r " + first}) << "no change, or tried again";
        }
    }
}

TEST_F(ExportedFileAccess, CallsWithoutAPathOpenNothing) {
    const auto calls = [&] {
        engines_.SetIntent(1, 1, 9);
        engines_.Adjust(5.0, 6.0, 7.0, SomeCurves(256));
        engines_.Convert();
        engines_.SetIntent(3, 0, 22);
        engines_.Adjust(0.0, 0.0, 0.0);
        engines_.Convert();
        library_.Get<decltype(&func1)>("func1")();
    };
    EXPECT_EQ(Opened(calls), Paths()) << "empty engines";
    for (const int input : {0, 1}) {
        engines_.SetProfile("plain.icc", 0, input, 8);
        EXPECT_EQ(Opened(calls), Paths());
    }
    engines_.SetProfile("absent.icc", 0, 0, 8);
    EXPECT_EQ(Opened(calls), Paths()) << "after a failure";
}

TEST_F(ExportedFileAccess, ConvertFileOpensTheSourceAndTheDestination) {
    const std::string source = engines_.Path("in.tif"), dest = engines_.Path("out.tif");
    WriteFile(source, MiniTiff{10, 10, 3, 8, SomePixels(), Bytes(64, 1)}.Build());
    for (const EngineApi& api : engines_.Apis()) {
        const auto convert = [&] { api.ConvertFile(source.c_str(), dest.c_str()); };
        EXPECT_EQ(Opened(convert), Paths()) << "no output space";
        ASSERT_EQ(api.SetProfile(plain_.c_str(), nullptr, 0, 0, 8), 8);
        EXPECT_EQ(Opened(convert), (Paths{"r " + source, "w " + dest}));
        // A pipe without a reader is opened in another way, which does not block.
        ASSERT_EQ(std::remove(dest.c_str()), 0);
        ASSERT_EQ(mkfifo(dest.c_str(), 0600), 0);
        EXPECT_EQ(Opened(convert), (Paths{"r " + source, "w " + dest}));
        ASSERT_EQ(std::remove(dest.c_str()), 0);
    }
}

TEST_F(ExportedFileAccess, LoadingAndUnloadingOpenNothing) {
    // The loader itself does not go through fopen.
    EXPECT_EQ(Opened([] { Library(); }), Paths());
}

}  // namespace
}  // namespace hueweave::test
