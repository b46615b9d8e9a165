// SPDX-License-Identifier: MIT
// bench_growth [LARGEST]: measures time and memory as functions of the number of pixels per call (1 to LARGEST, by
// default 10^9) and of the grid points of the profile. Prints JSON, one row per measurement; times are the shortest of
// several.
//
// A thousand million pixels do not need that much memory: one block of the photo is mapped repeatedly.
#include <malloc.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>

#include "Peers.h"
#include "Pictures.h"

namespace {

/// Counts every allocation of this program in bytes of the heap, and thus exactly what the library allocates.
struct Heap {
    std::int64_t now = 0, peak = 0, calls = 0;
    void Mark() {
        peak = now;
        calls = 0;
    }
    void Take(std::int64_t bytes) {
        now += bytes;
        peak = std::max(peak, now);
        ++calls;
    }
};
Heap heap;

void* Allocate(std::size_t size) {
    void* const block = std::malloc(size);
    if (block == nullptr) throw std::bad_alloc();
    heap.Take(static_cast<std::int64_t>(malloc_usable_size(block)));
    return block;
}

void Free(void* block) {
    heap.now -= static_cast<std::int64_t>(malloc_usable_size(block));
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void operator delete(void* block) noexcept { Free(block); }
void operator delete[](void* block) noexcept { Free(block); }
void operator delete(void* block, std::size_t) noexcept { Free(block); }
void operator delete[](void* block, std::size_t) noexcept { Free(block); }

namespace bench {
namespace {

using ICC40::ICCFILE::IntentPerceptual;

/// Processor time of this process in seconds.
double Now() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

struct Figure {
    double seconds = std::numeric_limits<double>::max();
    std::int64_t bytes = 0;  ///< peak heap in addition to what was allocated before
    std::int64_t calls = 0;  ///< allocations
};

/// The shortest of `repetitions`, each of which does the work `times` times.
Figure Measure(int repetitions, std::int64_t times, const std::function<void()>& work) {
    Figure figure;
    work();  // warms up memory pages and caches
    for (int i = 0; i < repetitions; ++i) {
        const std::int64_t before = heap.now;
        heap.Mark();
        const double start = Now();
        for (std::int64_t n = 0; n < times; ++n) work();
        figure.seconds = std::min(figure.seconds, (Now() - start) / static_cast<double>(times));
        figure.bytes = heap.peak - before;
        figure.calls = heap.calls / times;
    }
    return figure;
}

/// A buffer of any length that maps the pages of one block repeatedly.
class Repeated {
public:
    Repeated(const void* block, std::size_t blockBytes, std::size_t bytes) {
        const int file = memfd_create("pixels", 0);
        size_ = (bytes + blockBytes - 1) / blockBytes * blockBytes;
        if (file < 0 || write(file, block, blockBytes) != static_cast<ssize_t>(blockBytes)) Fail();
        at_ = static_cast<unsigned char*>(mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (at_ == MAP_FAILED) Fail();
        for (std::size_t offset = 0; offset < size_; offset += blockBytes) {
            if (mmap(at_ + offset, blockBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED | MAP_POPULATE, file,
                     0) == MAP_FAILED) {
                Fail();
            }
        }
        close(file);
    }
    Repeated(const Repeated&) = delete;
    Repeated& operator=(const Repeated&) = delete;
    ~Repeated() { munmap(at_, size_); }
    unsigned char* Data() const { return at_; }

private:
    [[noreturn]] static void Fail() { throw std::runtime_error("cannot map the pixels"); }
    std::size_t size_ = 0;
    unsigned char* at_ = nullptr;
};

bool first = true;

void Print(const char* what, int bits, std::int64_t n, const Figure& figure) {
    std::printf(
        "%s\n  {\"what\": \"%s\", \"bits\": %d, \"n\": %lld, \"seconds\": %.9g, \"bytes\": %lld, \"allocations\": "
        "%lld}",
        first ? "" : ",", what, bits, static_cast<long long>(n), figure.seconds, static_cast<long long>(figure.bytes),
        static_cast<long long>(figure.calls));
    std::fflush(stdout);
    first = false;
}

/// Calls with 1, 10, 100 ... pixels. 16-bit pixels are converted from one buffer to another; 8-bit pixels would be
/// converted in place and change between calls, so the same loop converts them between two buffers.
void GrowPixels(int bits, std::int64_t largest) {
    constexpr std::size_t kBlockPixels = std::size_t{1} << 22;
    const std::size_t sample = bits == 8 ? 1 : 2;
    const Samples16 photo = MakePhoto({2048, 2048});
    const Samples8 bytes = ToBytes(photo);
    const void* const block = bits == 8 ? static_cast<const void*>(bytes.data()) : photo.data();
    const std::size_t blockBytes = kBlockPixels * 3 * sample;
    const std::size_t all = static_cast<std::size_t>(largest) * 3 * sample;
    const Repeated source(block, blockBytes, all), dest(block, blockBytes, all);
    const ProfileFile profile;
    const auto engine = MakeEngine(profile, bits);
    const auto stages = StagesOf(*engine);
    const auto kernels = ICC40::ICC_ENG_S4::Kernels();
    for (std::int64_t n = 1; n <= largest; n *= 10) {
        const auto* const kernel = n < 8 ? kernels.front() : kernels.back();  // the same choice as in the engine
        const std::int64_t times = std::max<std::int64_t>(1, 1000000 / n);
        const Figure figure = Measure(n < 100000000 ? 5 : 2, times, [&] {
            if (bits == 8) {
                kernel->bytes(stages, source.Data(), dest.Data(), n);
            } else {
                engine->Conversion(source.Data(), dest.Data(), static_cast<int>(n));
            }
        });
        Print("pixels", bits, n, figure);
    }
}

/// Builds for grids of 2 to 33 points, and converts with the result.
void GrowGrid(int bits) {
    const Samples16 words = MakePhoto({1024, 256});
    const Samples8 bytes = ToBytes(words);
    const auto* source = bits == 8 ? bytes.data() : reinterpret_cast<const unsigned char*>(words.data());
    Samples16 dest(words.size());
    const std::int64_t pixels = 1024 * 256;
    for (const int points : {2, 3, 4, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31, 33}) {
        const ProfileFile profile({points, 1024, 1024});
        const auto engine = MakeEngine(profile, bits);
        unsigned turn = 0;
        const auto next = [&]() -> const Target& { return ++turn % 2 != 0 ? kAdobeRgb : kSRgb; };
        Print("setintent", bits, points, Measure(5, 4, [&] {
                  engine->SetIntent(IntentPerceptual, Input(bits), next().Space(bits), 0.0, 0.0, 0.0);
              }));
        // A new engine with its profile and tables: the total memory.
        Print("setprofile", bits, points, Measure(5, 4, [&] { MakeEngine(profile, bits, next()); }));
        const auto stages = StagesOf(*engine);
        const auto* kernel = ICC40::ICC_ENG_S4::Kernels().back();
        const auto loop = bits == 8 ? kernel->bytes : kernel->words;
        Figure figure =
            Measure(5, 4, [&] { loop(stages, source, reinterpret_cast<unsigned char*>(dest.data()), pixels); });
        figure.seconds /= static_cast<double>(pixels);
        Print("convert", bits, points, figure);
    }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) try {
    const std::int64_t largest = argc > 1 ? std::atoll(argv[1]) : 1000000000;
    std::printf("[");
    for (const int bits : {8, 16}) {
        bench::GrowPixels(bits, largest);
        bench::GrowGrid(bits);
    }
    std::printf("\n]\n");
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "bench_growth: %s\n", error.what());
    return 1;
}
