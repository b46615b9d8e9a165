// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "Scene.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <stdexcept>

#include "base/ByteOrder.h"
#include "support/MiniProfile.h"
#include "system/Sha256.h"

namespace hueweave::fuzz {

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() {
    path_ = (fs::is_directory("/dev/shm") ? std::string("/dev/shm") : fs::temp_directory_path().string()) +
            "/hueweave-fuzz-XXXXXX";
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder for scratch files");
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::vector<std::string> ScratchFolder::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void ScratchFolder::Clear() const {
    for (const auto& entry : fs::directory_iterator(path_)) fs::remove_all(entry.path());
}

namespace {

double ProcessorSeconds() {
    std::timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

TimeWatch::TimeWatch() : begin_(ProcessorSeconds()) {}

double TimeWatch::Seconds() const { return ProcessorSeconds() - begin_; }

Bytes AsDeviceProfile(Bytes profile, const char* connection) {
    constexpr std::uint32_t kVersion = 0x02400000, kD50[] = {0xf6d6, 0x10000, 0xd32d};
    StoreBig32(profile.data(), static_cast<std::uint32_t>(profile.size()));
    StoreBig32(&profile[8], kVersion);
    std::memcpy(&profile[12], "scnrRGB ", 8);
    std::memcpy(&profile[20], connection, 4);
    std::memcpy(&profile[36], "acsp", 4);
    for (std::size_t i = 0; i < 3; ++i) StoreBig32(&profile[68 + 4 * i], kD50[i]);
    return profile;
}

Bytes PlainDeviceProfile() {
    const test::Curve in = test::RampCurve(5), out = test::RampCurve(9);
    const Bytes block = test::Mft2({{in, in, in}, 9, test::LabGrid(9), {out, out, out}});
    return AsDeviceProfile(test::MiniProfile({{"A2B0", block}, {"wtpt", test::XyzBlock(0xf6d6, 0x10000, 0xd32d)}}),
                           "Lab ");
}

tool::DeviceProfile AsLoaded(const Bytes& profile) {
    tool::Sha256 hash;
    hash.Add(profile.data(), profile.size());
    return {"profile.icc", false, profile, hash.Hex(), {}};
}

std::optional<tool::Refusal> RefusalOf(const std::function<void()>& work) {
    const TimeWatch time;
    const HeapWatch heap;
    std::optional<tool::Refusal> refusal;
    try {
        work();
    } catch (const tool::Refusal& caught) {
        refusal = caught;
    } catch (const std::exception& caught) {
        std::fprintf(stderr, "%s\n", caught.what());
        Require(false, "what is thrown is a refusal");
    }
    const std::size_t peak = heap.Peak();
    Require(time.Seconds() <= kFileSeconds, "the time of one file");
    Require(peak <= kFileHeap, "the heap of one file");
    if (refusal) {
        const std::string line = refusal->what();
        Require(!refusal->reason().empty() && line.find('\n') == std::string::npos, "a refusal is one line");
    }
    return refusal;
}

}  // namespace hueweave::fuzz
