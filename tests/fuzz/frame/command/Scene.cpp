// SPDX-License-Identifier: MIT
#include "Scene.h"

#include <zlib.h>

#include <ctime>

#include "Files.h"
#include "support/ReferenceProfile.h"

namespace hueweave::fuzz {

namespace fs = std::filesystem;

std::vector<std::string> ScratchFolder::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path())) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void ScratchFolder::Clear() const {
    for (const auto& entry : fs::directory_iterator(path())) fs::remove_all(entry.path());
}

tool::DeviceProfile PlainProfile() {
    test::ProfileBuilder profile;
    profile.Raw("A2B0", Mft2(ShortLut(9, 0))).Xyz("wtpt", 0xf6d6, 0x10000, 0xd32d);
    return tool::TakeProfile("profile.icc", profile.Build());
}

void SealPng(Bytes& file) {
    if (test::Big32At(file, 0) != 0x89504e47) return;
    for (std::size_t at = 8; at + 12 <= file.size();) {
        const std::uint64_t size = test::Big32At(file, at);
        if (size > file.size() - at - 12) return;
        const auto sum = crc32(0, &file[at + 4], static_cast<uInt>(size + 4));
        for (unsigned n = 0; n < 4; ++n) file[at + 8 + size + n] = static_cast<unsigned char>(sum >> (24 - 8 * n));
        at += size + 12;
    }
}

std::optional<tool::Refusal> RefusalOf(const std::function<void()>& work) {
    // Whatever the file announces. The sanitizers of a search also count the allocations of other libraries.
    constexpr std::size_t kMostHeap = std::size_t{256} << 20;
    constexpr std::clock_t kMostTime = 10 * CLOCKS_PER_SEC;
    const std::clock_t begin = std::clock();
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
    Require(heap.Peak() <= kMostHeap, "the heap of one file");
    Require(std::clock() - begin <= kMostTime, "the time of one file");
    const std::string_view line = refusal ? refusal->what() : "";
    Require(line.find('\n') == line.npos, "a refusal is one line");
    Require(!refusal || !refusal->reason().empty(), "a refusal has a reason");
    return refusal;
}

void MustSucceed(const std::function<void()>& work, const char* what) {
    const auto refusal = RefusalOf(work);
    if (refusal) std::fprintf(stderr, "%s\n", refusal->what());
    Require(!refusal, what);
}

}  // namespace hueweave::fuzz
