// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <algorithm>
#include <array>

#include "pipeline/EnginePair.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

class PixelWriter {
public:
    explicit PixelWriter(bool wide) : wide_(wide) {}
    void Add(int r, int g, int b) {
        for (const int sample : {r, g, b}) {
            out_.U8(static_cast<unsigned>(sample) & 0xffU);
            if (wide_) out_.U8(static_cast<unsigned>(sample) >> 8);
        }
    }
    /// Every triple of the values, each added to the cell's corner.
    void AddCube(const std::vector<int>& values, const std::array<int, 3>& corner = {0, 0, 0}) {
        for (const int r : values) {
            for (const int g : values) {
                for (const int b : values) Add(corner[0] + r, corner[1] + g, corner[2] + b);
            }
        }
    }
    void AddRandom(int count, std::uint32_t limit) {
        Lcg random(2024);
        const auto any = [&] { return static_cast<int>(random.Below(limit)); };
        for (int i = 0; i < count; ++i) {
            const int r = any(), g = any();
            Add(r, g, any());
        }
    }
    const Bytes& Done() const { return out_.Done(); }

private:
    ByteWriter out_;
    bool wide_;
};

Bytes PixelRun16() {
    PixelWriter run(true);
    for (int v = 0; v < 65536; v += 23) run.Add(v, v, v);
    run.AddCube({0, 1, 255, 256, 32768, 65280, 65534, 65535});
    // All orders and ties of the fractions, in corner cells and inner ones.
    constexpr int kWidth = 65536 / 16;
    for (const auto& [r, g, b] : {std::array{0, 0, 0}, {15, 15, 15}, {0, 15, 7}, {1, 8, 14}}) {
        run.AddCube({0, 1, kWidth / 4, kWidth / 2, kWidth - 1}, {r * kWidth, g * kWidth, b * kWidth});
    }
    // On and beside every node, on the diagonal and along each axis.
    for (int node = 0; node <= 16; ++node) {
        for (int beside = -1; beside <= 1; ++beside) {
            const int v = std::clamp(node * kWidth + beside, 0, 65535);
            run.Add(v, v, v);
            run.Add(v, 65535, 0);
            run.Add(12345, v, 65535);
            run.Add(0, 50000, v);
        }
    }
    run.AddRandom(2500, 65536);
    return run.Done();
}

Bytes PixelRun8() {
    PixelWriter run(false);
    for (int v = 0; v < 256; ++v) {
        run.Add(v, v, v);
        run.Add(v, 0, 255);
        run.Add(100, v, 255 - v);
        run.Add(0, 200, v);
    }
    run.AddCube({0, 1, 15, 16, 17, 127, 128, 129, 254, 255});
    run.AddRandom(2500, 256);
    return run.Done();
}

}  // namespace

Bytes PixelRun(int inputSpace) { return inputSpace == 1 ? PixelRun16() : PixelRun8(); }

}  // namespace hueweave::test
