// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "abi/Library.h"

namespace hueweave::test {
namespace {

const std::string kLoad = "[Source/DllMain] initializer()\n";
const std::string kUnload = "[Source/DllMain] finalizer()\n";

void* Open() {
    void* const handle = dlopen(HUEWEAVE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) std::printf("%s\n", dlerror());
    return handle;
}

int CallFunc1(void* handle) { return reinterpret_cast<decltype(&func1)>(dlsym(handle, "func1"))(); }

TEST(LifecycleTest, LoadingAndUnloadingPrintOneLineEach) {
    const std::string output = OutputOfChild([] {
        std::puts("before");
        void* const handle = Open();
        std::puts("loaded");
        dlclose(handle);
        std::puts("unloaded");
    });
    EXPECT_EQ(output, "before\n" + kLoad + "loaded\n" + kUnload + "unloaded\n");
}

TEST(LifecycleTest, AtTheEndOfTheProcessTheLibraryIsUnloaded) {
    const std::string output = OutputOfChild([] {
        CallFunc1(Open());
        std::puts("leaving");
    });
    EXPECT_EQ(output, kLoad + "func1\nleaving\n" + kUnload);
}

TEST(LifecycleTest, TheUnloadLineComesAfterThatOfAnyExitHandlerOfTheProgram) {
    const std::string output = OutputOfChild([] {
        Open();
        std::atexit([] { std::puts("exit handler"); });
    });
    EXPECT_EQ(output, kLoad + "exit handler\n" + kUnload);
}

TEST(LifecycleTest, EachLoadingStartsAnew) {
    const std::string output = OutputOfChild([] {
        for (int i = 0; i < 3; ++i) {
            void* const handle = Open();
            const auto convert = reinterpret_cast<decltype(&Orvix_Icc_Convert2)>(dlsym(handle, "Orvix_Icc_Convert2"));
            const auto intent = reinterpret_cast<decltype(&Orvix_Icc_SetIntent)>(dlsym(handle, "Orvix_Icc_SetIntent"));
            unsigned char pixel[3] = {};
            const int before = convert(pixel, pixel, 1);
            const int stored = intent(0, 0, 8);
            std::printf("%d %d %d\n", before, stored, convert(pixel, pixel, 1));
            dlclose(handle);
        }
    });
    const std::string once = kLoad + "-1 8 0\n" + kUnload;
    EXPECT_EQ(output, once + once + once);
}

TEST(LifecycleTest, ASecondHandleLoadsNothingAgain) {
    const std::string output = OutputOfChild([] {
        void* const first = Open();
        void* const second = Open();
        dlclose(first);
        std::puts("one left");
        dlclose(second);
        std::puts("none left");
    });
    EXPECT_EQ(output, kLoad + "one left\n" + kUnload + "none left\n");
}

TEST(LifecycleTest, LazyBindingPrintsTheSame) {
    const std::string output = OutputOfChild([] {
        void* const handle = dlopen(HUEWEAVE_LIBRARY, RTLD_LAZY | RTLD_GLOBAL);
        CallFunc1(handle);
        dlclose(handle);
    });
    EXPECT_EQ(output, kLoad + "func1\n" + kUnload);
}

TEST(LifecycleTest, Func1PrintsItsNameAndReturnsZero) {
    const std::string output = OutputOfChild([] {
        void* const handle = Open();
        const int first = CallFunc1(handle);
        const int second = CallFunc1(handle);
        std::printf("%d %d\n", first, second);
        dlclose(handle);
    });
    EXPECT_EQ(output, kLoad + "func1\nfunc1\n0 0\n" + kUnload);
}

}  // namespace
}  // namespace hueweave::test
