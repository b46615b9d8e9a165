// SPDX-License-Identifier: MIT
// make_chart FOLDER: writes the input of the demo: a scanner profile, and a chart as scanned by that scanner, with 8
// and 16 bits per sample and the embedded profile.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "Chart.h"
#include "Profile.h"
#include "tiff/CTiff.h"

namespace {

using Orvix_Tiff_STL2::CTiff;

/// The chart as scanned, 0 to 1, row by row.
std::vector<demo::Triple> ScanChart() {
    std::vector<demo::Triple> pixels;
    for (int y = 0; y < demo::kHeight; ++y) {
        for (int x = 0; x < demo::kWidth; ++x) pixels.push_back(demo::DeviceOfScene(demo::SceneAt(x, y)));
    }
    return pixels;
}

void Save(const std::vector<demo::Triple>& pixels, int bits, const std::string& profile, const std::string& path) {
    constexpr int kDotsPerInch = 300;
    CTiff image;
    image.CreateNew(demo::kWidth, demo::kHeight, kDotsPerInch, 3, bits, 1);
    unsigned char* to = image.GetImageBuf();
    const double top = bits == 8 ? 255.0 : 65535.0;
    for (const demo::Triple& pixel : pixels) {
        for (double value : pixel) {
            const auto sample = static_cast<unsigned>(std::lround(value * top));
            *to++ = static_cast<unsigned char>(sample);
            if (bits == 16) *to++ = static_cast<unsigned char>(sample >> 8);
        }
    }
    image.SetIccProfile(profile.c_str());
    image.SaveFile(path.c_str());
    if (!std::filesystem::exists(path)) throw std::runtime_error("cannot write " + path);
    std::printf("  %s\n", path.c_str());
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_chart FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    std::filesystem::create_directories(folder);
    const std::string profile = folder + "/scanner.icc";
    std::printf("A scanner's profile, and a chart as that scanner stores it:\n");
    demo::WriteFile(profile, demo::ScannerProfile());
    std::printf("  %s\n", profile.c_str());
    const std::vector<demo::Triple> pixels = ScanChart();
    Save(pixels, 8, profile, folder + "/chart-8.tif");
    Save(pixels, 16, profile, folder + "/chart-16.tif");
    return 0;
} catch (const char* text) {
    std::fprintf(stderr, "make_chart: %s\n", text);
    return 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "make_chart: %s\n", error.what());
    return 1;
}
