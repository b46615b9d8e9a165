// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A process that has no file descriptor left. Not for builds with sanitizers, which need some for their own checks.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "hostile/Hostile.h"

namespace hueweave::test {
namespace {

using DescriptorsTest = HostileTest;

/// With as many descriptors open as the process may have, calls fail; when there is room again, they work.
TEST_F(DescriptorsTest, WithoutOneLeftNothingIsLost) {
    const std::string good = Good();
    const MiniTiff image{4, 4, 3, 8, SamplePixels(48), {}};
    const std::string source = Put("image.tif", image.Build());
    const std::string dest = dir_.File("dest.tif");
    ASSERT_EQ(Bind(good), 8);
    const Bytes pixels = ConvertedPixels(SamplePixels(48));

    testing::internal::CaptureStdout();
    // Some hosts allow a process a million descriptors, more than this test should take.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{std::min<rlim_t>(before.rlim_cur, 64), before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<int> taken;
    for (int handle = 0; (handle = open("/dev/null", O_RDONLY)) >= 0;) taken.push_back(handle);
    const std::int32_t file = Orvix_Icc_ConvertFile(source.c_str(), dest.c_str());
    const std::int32_t bound = Orvix_Icc_SetProfile(good.c_str(), nullptr, 1, 0, 8);
    const Effect effect = EffectOfConversion();
    for (const int handle : taken) close(handle);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    const std::string printed = testing::internal::GetCapturedStdout();

    EXPECT_EQ(file, 8);
    EXPECT_EQ(printed, "*** " + source + " Open Error. ***\n" + kProgress + kNoEntries);
    EXPECT_FALSE(std::filesystem::exists(dest));
    EXPECT_EQ(bound, 65535);
    EXPECT_EQ(effect, Effect::Refused);

    ASSERT_EQ(Bind(good), 8);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()), 8); }), kProgress);
    MiniTiff expected = image;
    expected.pixels = pixels;
    EXPECT_EQ(ReadFile(dest), expected.Build());
}

}  // namespace
}  // namespace hueweave::test
