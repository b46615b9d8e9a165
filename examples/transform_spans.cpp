// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// transform_spans PROFILE: the same as transform_pixels.c in C++20, with objects, spans and exceptions.
#include <hueweave/transform.hpp>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr std::array<std::uint8_t, 12> kScan{255, 255, 255, 128, 128, 128, 200, 40, 40, 12, 90, 160};

void Print(const char* path) {
    const auto source = hueweave::Profile::FromFile(path), target = hueweave::Profile::OfSpace("srgb");
    hw_options options = HW_OPTIONS_INIT;
    const hueweave::Transform narrow(source, target, options);
    options.samples = HW_SAMPLES_FLOAT;
    const hueweave::Transform exact(source, target, options);

    std::array<std::uint8_t, 12> bytes{};
    std::array<float, 12> floats{};
    std::transform(kScan.begin(), kScan.end(), floats.begin(),
                   [](std::uint8_t sample) { return static_cast<float>(sample) / 255.0F; });
    narrow.Convert(kScan, bytes);
    exact.Convert(floats, floats);
    for (std::size_t i = 0; i < kScan.size(); i += 3) {
        std::printf("%d %d %d -> %d %d %d -> %.6f %.6f %.6f\n", kScan[i], kScan[i + 1], kScan[i + 2], bytes[i],
                    bytes[i + 1], bytes[i + 2], static_cast<double>(floats[i]), static_cast<double>(floats[i + 1]),
                    static_cast<double>(floats[i + 2]));
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: transform_spans PROFILE\n", stderr);
        return 2;
    }
    try {
        Print(argv[1]);
    } catch (const hueweave::Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
