// SPDX-License-Identifier: MIT
// The library's use of process resources: descriptors, memory, stack, and loading and unloading.
#include <malloc.h>
#include <pthread.h>

#include "hostile/EveryCall.h"

namespace hueweave::test {
namespace {

/// Bytes in use on the heap of the C library. A sanitizer has its own, and looks for leaks itself.
std::size_t HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

using ResourceTest = HostileTest;

TEST_F(ResourceTest, TwoThousandFailingCallsLeakNothing) {
    Bytes cut = MiniProfile(EveryKindOfTag());
    cut.pop_back();
    const std::string good = Good(), broken = Put("broken.icc", cut), absent = dir_.File("absent"),
                      byteTable = Put("bytes.icc", MiniProfile({{"A2B0", Mft1()}})),
                      noTable = Put("none.icc", MiniProfile({{"wtpt", XyzBlock(1, 2, 3)}})), folder = dir_.Path(),
                      dest = dir_.File("dest.tif"),
                      image = Put("image.tif", MiniTiff{4, 4, 3, 8, Bytes(48, 1), {}}.Build()),
                      foreign = Put("foreign.tif", Bytes(5000, 0x4d));
    const auto file = [](const std::string& from, const std::string& to) {
        return Orvix_Icc_ConvertFile(from.c_str(), to.c_str());
    };
    // Every call fails, or has nothing to do, for a different reason.
    const std::pair<std::int32_t, std::function<std::int32_t()>> calls[] = {
        {kNone, [&] { return Bind(absent); }},
        {8, [&] { return Bind(broken); }},
        {kNone, [&] { return Bind(byteTable); }},
        {kNone, [&] { return Bind(good, 0, 7, 8); }},
        {kNone, [&] { return Bind(good, 0, 0, 14); }},
        {8, [&] { return Bind(noTable); }},
        {8, [&] { return file(absent, dest); }},
        {8, [&] { return Bind(folder); }},
        {8, [&] { return file(foreign, dest); }},
        {8, [&] { return Orvix_Icc_SetIntent(2, 0, 8); }},
        {8, [&] { return file(image, folder); }},
        {8, [&] { return file(folder, dest); }},
        {8, [] { return Orvix_Icc_ConvertFile(nullptr, nullptr); }},
    };
    const auto run = [&](int rounds) {
        for (int round = 0; round < rounds; ++round) {
            for (const auto& [answer, call] : calls) EXPECT_EQ(call(), answer);
        }
    };
    testing::internal::CaptureStdout();
    run(2);
    const std::ptrdiff_t descriptors = OpenFiles();
    const std::size_t heap = HeapInUse();
    run(static_cast<int>(2000 / std::size(calls)) + 1);
    EXPECT_EQ(OpenFiles(), descriptors);
    EXPECT_LE(HeapInUse(), heap + 65536);
    testing::internal::GetCapturedStdout();
    // A valid call still works.
    EXPECT_EQ(Bind(good), 8);
    EXPECT_EQ(EffectOfConversion(), "changed");
}

/// Runs `body` on a thread with a stack of 64 KiB.
void OnSmallStack(std::function<void()> body) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 65536), 0);
    pthread_t thread;
    const auto start = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &body), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

TEST_F(EveryCallTest, WorksOnAStackOf64KiB) {
    for (const char* engine : kSuffixes) {
        Bytes small;
        testing::internal::CaptureStdout();
        OnSmallStack([&] { small = Everything(engine, dir_.File("dest.tif")); });
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kProgress + "func1\n");
        testing::internal::CaptureStdout();
        EXPECT_EQ(small, Everything(engine, dir_.File("dest.tif"))) << "as on a large one";
        testing::internal::GetCapturedStdout();
    }
}

/// The shared library is loaded, used and unloaded repeatedly: nothing of it remains.
TEST_F(ResourceTest, AThousandLoadsLeaveNothingBehind) {
    const std::string good = Good();
    const auto round = [&](bool use) {
        if (const Library library; use) {
            EXPECT_EQ(EngineApi(library, "_2nd").SetProfile(good.c_str(), nullptr, 0, 0, 8), 8);
        }
        EXPECT_EQ(dlopen(HUEWEAVE_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
    };
    testing::internal::CaptureStdout();
    for (int i = 0; i < 10; ++i) round(true);
    const std::ptrdiff_t descriptors = OpenFiles();
    const std::size_t heap = HeapInUse();
    for (int i = 0; i < 1000; ++i) round(i % 10 == 0);
    EXPECT_EQ(OpenFiles(), descriptors);
    EXPECT_LE(HeapInUse(), heap + 65536);
    std::string expected;
    for (int i = 0; i < 1010; ++i) expected += "[Source/DllMain] initializer()\n[Source/DllMain] finalizer()\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

}  // namespace
}  // namespace hueweave::test
