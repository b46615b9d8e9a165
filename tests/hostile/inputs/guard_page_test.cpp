// SPDX-License-Identifier: MIT
// Pixel buffers that end or begin at an inaccessible page: an access of one byte too far is a fault.
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "hostile/Hostile.h"

namespace hueweave::test {
namespace {

/// Accessible pages between two inaccessible ones.
class GuardedPages {
public:
    GuardedPages() {
        void* const all = mmap(nullptr, kAll, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED) throw std::runtime_error("no pages");
        base_ = static_cast<unsigned char*>(all);
        Unlock();
    }
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;
    ~GuardedPages() { munmap(base_, kAll); }

    /// The accessible bytes with `bytes` at their end or their start.
    static Bytes Around(const Bytes& bytes, bool end) {
        Bytes page(kInside, 0xa7);
        std::copy(bytes.begin(), bytes.end(),
                  page.begin() + (end ? static_cast<std::ptrdiff_t>(kInside - bytes.size()) : 0));
        return page;
    }
    /// Where these bytes are afterwards.
    unsigned char* Put(const Bytes& bytes, bool end) {
        std::memcpy(First(), Around(bytes, end).data(), kInside);
        return First() + (end ? kInside - bytes.size() : 0);
    }
    Bytes All() const { return {First(), First() + kInside}; }
    void Lock() { mprotect(First(), kInside, PROT_READ); }
    void Unlock() { mprotect(First(), kInside, PROT_READ | PROT_WRITE); }

private:
    static constexpr std::size_t kInside = 65536;  // a multiple of the size of any page
    static constexpr std::size_t kAll = 3 * kInside;

    unsigned char* First() const { return base_ + kInside; }

    unsigned char* base_;
};

class GuardPageTest : public HostileTest {
protected:
    GuardedPages first_, second_;
};

TEST_F(GuardPageTest, RunsOfEveryLengthAccessOnlyTheirPixels) {
    for (const int wide : {0, 1}) {
        ASSERT_EQ(Bind(Good(), 0, wide, 8 + wide), 8 + wide);
        const std::size_t pixelBytes = wide == 1 ? 6 : 3;
        Bytes source = SamplePixels(pixelBytes * 70), wanted = source;
        for (std::size_t at = 0; at < wanted.size(); at += pixelBytes) {
            EXPECT_EQ(Orvix_Icc_Convert2(&wanted[at], &wanted[at], 1), 0);
        }
        for (int pixels = 70; pixels >= 0; --pixels) {
            source.resize(pixelBytes * static_cast<std::size_t>(pixels));
            wanted.resize(source.size());
            for (const unsigned ends : {0U, 1U, 2U, 3U}) {
                SCOPED_TRACE(testing::Message() << pixels << " pixels, case " << ends);
                const bool fromEnd = (ends & 1U) != 0, toEnd = (ends & 2U) != 0;
                unsigned char* const from = first_.Put(source, fromEnd);
                if (wide == 1) {
                    unsigned char* const to = second_.Put(Bytes(source.size(), 0x11), toEnd);
                    first_.Lock();
                    ASSERT_EQ(Orvix_Icc_Convert2(from, to, pixels), 0);
                    first_.Unlock();
                    ASSERT_EQ(second_.All(), GuardedPages::Around(wanted, toEnd));
                }
                ASSERT_EQ(Orvix_Icc_Convert2(from, wide == 1 ? from : nullptr, pixels), 0) << "in place";
                ASSERT_EQ(first_.All(), GuardedPages::Around(wanted, fromEnd));
            }
        }
    }
}

TEST_F(GuardPageTest, AdjustReadsNoMoreOfACurveThanItsCount) {
    ASSERT_EQ(Bind(Good(), 0, 0, 8), 8);
    for (const int count : {1, 2, 255, 256}) {
        Bytes curve(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < curve.size(); ++i) curve[i] = static_cast<unsigned char>(255 - i);
        ASSERT_EQ(Orvix_Icc_Adjust(0, 0, 0, curve.data(), curve.data(), curve.data(), count), 8);
        const Bytes expected = ConvertedPixels();
        unsigned char* const end = first_.Put(curve, true);
        first_.Lock();
        ASSERT_EQ(Orvix_Icc_Adjust(0, 0, 0, end, end, end, count), 8) << count;
        first_.Unlock();
        EXPECT_EQ(ConvertedPixels(), expected) << count;
    }
    // Announced longer than it is: bytes after the 256th point are never read.
    unsigned char* const end = first_.Put(Bytes(256, 0x80), true);
    first_.Lock();
    for (const int count : {257, 4096, 4097, 0x7fffffff}) {
        EXPECT_EQ(Orvix_Icc_Adjust(0, 0, 0, end, end, end, count), 8) << count;
    }
    for (const int count : {0, -1, -0x7fffffff - 1}) {
        EXPECT_EQ(Orvix_Icc_Adjust(0, 0, 0, end + 256, end + 256, end + 256, count), 8) << count;
    }
    first_.Unlock();
}

/// More than 2^31 bytes in one run: one small piece of memory, mapped repeatedly.
TEST_F(GuardPageTest, RunsOfMoreThanTwoGigabytes) {
    ASSERT_EQ(Bind(Good(), 0, 1, 9), 9);
    constexpr std::size_t kPiece = std::size_t{6} << 20;  // whole pages and whole pixels
    constexpr std::size_t kPieces = 358;                  // 2,252,341,248 bytes
    const Bytes pattern = SamplePixels(kPiece);
    const auto map = [&](int file, int last) {
        auto* const all = static_cast<unsigned char*>(
            mmap(nullptr, kPieces * kPiece, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        for (std::size_t i = 0; i < kPieces; ++i) {
            mmap(all + i * kPiece, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED,
                 i + 1 == kPieces ? last : file, 0);
        }
        return all;
    };
    const auto piece = [&](const Bytes& bytes) {
        const int file = memfd_create("piece", 0);
        EXPECT_EQ(write(file, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        return file;
    };
    const int files[3] = {piece(pattern), piece(Bytes(kPiece, 0)), piece(Bytes(kPiece, 0))};
    unsigned char* const source = map(files[0], files[0]);
    unsigned char* const dest = map(files[1], files[2]);
    constexpr auto kPixels = static_cast<std::int32_t>(kPieces * kPiece / 6);
    ASSERT_EQ(Orvix_Icc_Convert2(source, dest, kPixels), 0);
    Bytes expected(kPiece);
    Bytes copy = pattern;
    ASSERT_EQ(Orvix_Icc_Convert2(copy.data(), expected.data(), kPiece / 6), 0);
    EXPECT_EQ(std::memcmp(dest, expected.data(), kPiece), 0);
    EXPECT_EQ(std::memcmp(dest + (kPieces - 1) * kPiece, expected.data(), kPiece), 0) << "the last piece";
    munmap(source, kPieces * kPiece);
    munmap(dest, kPieces * kPiece);
    for (const int file : files) close(file);
}

}  // namespace
}  // namespace hueweave::test
