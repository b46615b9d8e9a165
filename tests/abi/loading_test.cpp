// SPDX-License-Identifier: MIT
// The output of loading and unloading, and the destruction of the engines when the library is unloaded. The operators
// new and delete of this program replace those of the C++ library and record the sizes of the freed blocks.
#include <malloc.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "abi/CheckedEngines.h"

namespace {

/// A block, and the length of the standard output when it was freed.
struct Freed {
    std::size_t size;
    off_t printed;
};
bool watching = false;
std::vector<Freed> freed;  ///< does not grow while it is filled

/// Bytes in the file to which standard output is redirected.
off_t PrintedBytes() {
    struct stat status {};
    std::fflush(stdout);
    fstat(STDOUT_FILENO, &status);
    return status.st_size;
}

void* Take(std::size_t bytes) noexcept { return std::malloc(bytes == 0 ? 1 : bytes); }
void* TakeOrThrow(std::size_t bytes) {
    void* const block = Take(bytes);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void Give(void* block) noexcept {
    if (watching && block != nullptr && freed.size() < freed.capacity()) {
        freed.push_back({malloc_usable_size(block), PrintedBytes()});
    }
    std::free(block);
}

}  // namespace

void* operator new(std::size_t bytes) { return TakeOrThrow(bytes); }
void* operator new[](std::size_t bytes) { return TakeOrThrow(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return Take(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return Take(bytes); }
void operator delete(void* block) noexcept { Give(block); }
void operator delete[](void* block) noexcept { Give(block); }
void operator delete(void* block, std::size_t) noexcept { Give(block); }
void operator delete[](void* block, std::size_t) noexcept { Give(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Give(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { Give(block); }

namespace hueweave::test {
namespace {

constexpr std::size_t kWideTable = 4 * 65536;

/// A profile with a tag of `bytes` bytes besides its table.
std::string PutSized(const TempDir& dir, std::size_t bytes) {
    const std::string path = dir.File(std::to_string(bytes) + ".icc");
    WriteFile(path, MiniProfile({{"A2B0", Mft2(SmoothLut(3))}, {"mark", Bytes(bytes, 1)}}));
    return path;
}

const std::string kLoad = "[Source/DllMain] initializer()\n";
const std::string kUnload = "[Source/DllMain] finalizer()\n";

void* Open() {
    void* const handle = dlopen(HUEWEAVE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) std::printf("%s\n", dlerror());
    return handle;
}

TEST(DllMain, PrintsOneLineOnLoadAndUnload) {
    for (const int mode : {RTLD_NOW | RTLD_LOCAL, RTLD_LAZY | RTLD_GLOBAL}) {
        const std::string output = OutputOfChild([mode] {
            std::puts("before");
            void* const handle = dlopen(HUEWEAVE_LIBRARY, mode);
            std::puts("loaded");
            void* const second = Open();
            dlclose(second);
            std::puts("one handle left");
            dlclose(handle);
            std::puts("unloaded");
        });
        EXPECT_EQ(output, "before\n" + kLoad + "loaded\none handle left\n" + kUnload + "unloaded\n");
    }
}

TEST(DllMain, UnloadsAfterTheExitHandlersOfTheProgram) {
    const std::string output = OutputOfChild([] {
        Open();
        std::atexit([] { std::puts("exit handler"); });
    });
    EXPECT_EQ(output, kLoad + "exit handler\n" + kUnload);
}

TEST(DllMain, StartsWithEmptyEnginesOnEachLoad) {
    const std::string output = OutputOfChild([] {
        const TempDir dir;
        const std::string path = PutSized(dir, 100);
        for (int i = 0; i < 3; ++i) {
            const Library library;
            for (const char* suffix : kSuffixes) {
                const EngineApi api(library, suffix);
                unsigned char pixel[3] = {};
                const int before = api.Convert2(pixel, pixel, 1);
                const int bound = api.SetProfile(path.c_str(), nullptr, 0, 0, 8);
                std::printf("%d %d %d\n", before, bound, api.Convert2(pixel, pixel, 1));
            }
        }
    });
    const std::string once = kLoad + "-1 8 0\n-1 8 0\n-1 8 0\n" + kUnload;
    EXPECT_EQ(output, once + once + once);
}

TEST(ExportedFunc1, PrintsItsNameAndReturnsZero) {
    const std::string output = OutputOfChild([] {
        const Library library;
        const auto function = library.Get<decltype(&func1)>("func1");
        const int first = function();
        const int second = function();
        std::printf("%d %d\n", first, second);
    });
    EXPECT_EQ(output, kLoad + "func1\nfunc1\n0 0\n" + kUnload);
}

/// Watches the library being unloaded. Engine n has a profile with a tag of `marks[n]` bytes, or no profile for 0.
void Unload(const std::array<std::size_t, 3>& marks) {
    const TempDir dir;
    testing::internal::CaptureStdout();
    {
        const Library library;
        for (std::size_t n = 0; n < 3; ++n) {
            if (marks[n] == 0) continue;
            EXPECT_EQ(EngineApi(library, kSuffixes[n]).SetProfile(PutSized(dir, marks[n]).c_str(), nullptr, 0, 1, 9),
                      9);
        }
        freed.clear();
        freed.reserve(4096);
        watching = true;
    }
    watching = false;
    testing::internal::GetCapturedStdout();
}

TEST(DllMain, DestroysTheEnginesInReverseOrderBeforeTheLastLine) {
    for (const auto& marks : {std::array<std::size_t, 3>{40000, 60000, 80000},
                              {80000, 40000, 60000},
                              {40000, 0, 0},
                              {0, 40000, 0},
                              {0, 0, 40000},
                              {0, 0, 0}}) {
        SCOPED_TRACE(testing::PrintToString(marks));
        std::vector<std::size_t> expected(marks.rbegin(), marks.rend());
        std::erase(expected, 0U);
        Unload(marks);
        std::vector<std::size_t> found;
        std::size_t tables = 0;
        for (const Freed& block : freed) {
            if (block.size < 40000) continue;
            if (block.size >= kWideTable) ++tables;
            // The heap may round a block up slightly.
            std::ranges::copy_if(marks, std::back_inserter(found), [&](std::size_t mark) {
                return mark != 0 && block.size >= mark && block.size < mark + 64;
            });
            EXPECT_EQ(block.printed, static_cast<off_t>(kLoad.size())) << "block of " << block.size;
        }
        EXPECT_EQ(found, expected);
        EXPECT_GE(tables, 3 * expected.size()) << "three tables of each engine";
        EXPECT_TRUE(tables == 0 || !expected.empty());
    }
}

}  // namespace
}  // namespace hueweave::test
