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
        if (mprotect(First(), kInside, PROT_READ | PROT_WRITE) != 0) throw std::runtime_error("no access");
    }
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;
    ~GuardedPages() { munmap(base_, kAll); }

    /// A copy of the bytes that ends at the last accessible byte, or begins at the first.
    unsigned char* AtEnd(const Bytes& bytes) { return Place(bytes, kInside - bytes.size()); }
    unsigned char* AtStart(const Bytes& bytes) { return Place(bytes, 0); }
    /// Makes the copy read-only.
    void Lock() { mprotect(First(), kInside, PROT_READ); }
    void Unlock() { mprotect(First(), kInside, PROT_READ | PROT_WRITE); }
    /// Everything except the copied bytes is unchanged since `Place`.
    bool Clean(const unsigned char* at, std::size_t bytes) {
        for (unsigned char* p = First(); p != First() + kInside; ++p) {
            if (p == at) p += bytes;
            if (p == First() + kInside) break;
            if (*p != kFiller) return false;
        }
        return true;
    }

private:
    static constexpr std::size_t kPage = 65536;  // a multiple of any page size in use
    static constexpr std::size_t kInside = kPage;
    static constexpr std::size_t kAll = 3 * kPage;
    static constexpr unsigned char kFiller = 0xa7;

    unsigned char* First() { return base_ + kPage; }
    unsigned char* Place(const Bytes& bytes, std::size_t at) {
        std::memset(First(), kFiller, kInside);
        if (!bytes.empty()) std::memcpy(First() + at, bytes.data(), bytes.size());
        return First() + at;
    }

    unsigned char* base_;
};

class GuardPageTest : public HostileTest {
protected:
    static constexpr std::size_t kMost = 70;

    /// The result for all pixels, one pixel per call, from an ordinary buffer.
    static Bytes OneByOne(const Bytes& source, std::size_t pixelBytes) {
        Bytes result;
        for (std::size_t at = 0; at < source.size(); at += pixelBytes) {
            Bytes room(3 * pixelBytes, 0);
            std::copy_n(source.begin() + static_cast<std::ptrdiff_t>(at), pixelBytes,
                        room.begin() + static_cast<std::ptrdiff_t>(pixelBytes));
            unsigned char* const middle = room.data() + pixelBytes;
            EXPECT_EQ(Orvix_Icc_Convert2(middle, middle, 1), 0);
            result.insert(result.end(), middle, middle + pixelBytes);
        }
        return result;
    }
    static Bytes First(const Bytes& all, std::size_t bytes) {
        return Bytes(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(bytes));
    }
    static Bytes Copy(const unsigned char* at, std::size_t bytes) { return Bytes(at, at + bytes); }

    GuardedPages first_;
    GuardedPages second_;
};

TEST_F(GuardPageTest, RunsOfEveryLengthTouchTheirPixelsAlone) {
    for (const int wide : {0, 1}) {
        ASSERT_EQ(Bind(Good(), 0, wide, 8 + wide), 8 + wide);
        const std::size_t pixelBytes = wide == 1 ? 6 : 3;
        const Bytes all = SamplePixels(pixelBytes * kMost);
        const Bytes expected = OneByOne(all, pixelBytes);
        for (std::size_t pixels = 0; pixels <= kMost; ++pixels) {
            const Bytes source = First(all, pixelBytes * pixels), wanted = First(expected, pixelBytes * pixels);
            const auto count = static_cast<int>(pixels);
            for (const unsigned ends : {0U, 1U, 2U, 3U}) {
                SCOPED_TRACE(testing::Message() << pixels << " pixels, case " << ends);
                unsigned char* const from = ends & 1U ? first_.AtEnd(source) : first_.AtStart(source);
                if (wide == 1) {
                    const Bytes blank(source.size(), 0x11);
                    unsigned char* const to = ends & 2U ? second_.AtEnd(blank) : second_.AtStart(blank);
                    first_.Lock();
                    ASSERT_EQ(Orvix_Icc_Convert2(from, to, count), 0);
                    first_.Unlock();
                    ASSERT_EQ(Copy(to, source.size()), wanted);
                    ASSERT_TRUE(second_.Clean(to, source.size()));
                }
                ASSERT_EQ(Orvix_Icc_Convert2(from, wide == 1 ? from : nullptr, count), 0) << "in place";
                ASSERT_EQ(Copy(from, source.size()), wanted);
                ASSERT_TRUE(first_.Clean(from, source.size()));
            }
        }
    }
}

TEST_F(GuardPageTest, AdjustReadsNoMoreOfACurveThanItsCount) {
    ASSERT_EQ(Bind(Good(), 0, 0, 8), 8);
    for (const int count : {1, 2, 255, 256}) {
        Bytes curve(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < curve.size(); ++i) curve[i] = static_cast<unsigned char>(255 - i);
        Bytes red = curve, green = curve, blue = curve;
        ASSERT_EQ(Orvix_Icc_Adjust(0, 0, 0, red.data(), green.data(), blue.data(), count), 8);
        const Bytes expected = ConvertedPixels();
        unsigned char* const end = first_.AtEnd(curve);
        first_.Lock();
        ASSERT_EQ(Orvix_Icc_Adjust(0, 0, 0, end, end, end, count), 8) << count;
        first_.Unlock();
        EXPECT_EQ(ConvertedPixels(), expected) << count;
    }
    // Announced longer than it is: bytes after the 256th point are never read.
    const Bytes whole(256, 0x80);
    unsigned char* const end = first_.AtEnd(whole);
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
