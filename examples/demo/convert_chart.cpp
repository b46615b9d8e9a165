// SPDX-License-Identifier: MIT
// convert_chart FOLDER: converts the chart in that folder to sRGB with the exported functions of the library, and
// prints the colour change of each patch.
#include <hueweave/hueweave.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "Chart.h"
#include "tiff/CTiff.h"

namespace {

using Orvix_Tiff_STL2::CTiff;

struct Width {
    int bits;
    HueweaveColorSpace input, output;
};
constexpr Width kWidths[] = {{8, CsRGB_8, CssRGB_8}, {16, CsRGB_16, CssRGB_16}};

std::string Name(const std::string& folder, const char* stem, int bits) {
    return folder + "/" + stem + "-" + std::to_string(bits) + ".tif";
}

/// Both sample widths in turn, on the first engine.
void Convert(const std::string& folder) {
    const std::string profile = folder + "/scanner.icc";
    for (const Width& width : kWidths) {
        if (Orvix_Icc_SetProfile(profile.c_str(), nullptr, IntentPerceptual, width.input, width.output) !=
            width.output) {
            throw std::runtime_error("the profile " + profile + " cannot be used: run make_chart first");
        }
        std::printf("\nConverting %d bits per sample with Orvix_Icc_ConvertFile:\n", width.bits);
        std::fflush(stdout);
        const std::string source = Name(folder, "chart", width.bits), dest = Name(folder, "converted", width.bits);
        Orvix_Icc_ConvertFile(source.c_str(), dest.c_str());
        std::printf("  %s\n", dest.c_str());
    }
}

/// One sample of a pixel on a scale of 0 to 255.
double Sample(CTiff& image, int x, int y, int channel) {
    const unsigned char* pixel = image.GetXY(x, y);
    if (pixel == nullptr) throw std::runtime_error("a picture that was just written cannot be read");
    return image.bits == 8 ? pixel[channel] : (pixel[2 * channel] + 256 * pixel[2 * channel + 1]) / 257.0;
}

/// Prints one line per patch: scanner value, converted value, change, and remaining difference from the scene colour.
void Report(const std::string& folder, int bits) {
    CTiff before, after;
    before.ReadFile(Name(folder, "chart", bits).c_str());
    after.ReadFile(Name(folder, "converted", bits).c_str());
    std::printf("\n%d bits          stored by the scanner    converted to sRGB    moved  left to the scene\n", bits);
    double sumMoved = 0, sumLeft = 0;
    for (std::size_t i = 0; i < demo::kPatches.size(); ++i) {
        const demo::Patch& patch = demo::kPatches[i];
        const demo::Point at = demo::CentreOf(static_cast<int>(i));
        double stored[3], converted[3], moved = 0, left = 0;
        for (int c = 0; c < 3; ++c) {
            stored[c] = Sample(before, at.x, at.y, c);
            converted[c] = Sample(after, at.x, at.y, c);
            moved += std::pow(converted[c] - stored[c], 2);
            left += std::pow(converted[c] - patch.sRGB[static_cast<std::size_t>(c)], 2);
        }
        sumMoved += std::sqrt(moved);
        sumLeft += std::sqrt(left);
        std::printf("%-14s %7.1f %6.1f %6.1f   %7.1f %6.1f %6.1f   %6.1f %10.1f\n", patch.name.data(), stored[0],
                    stored[1], stored[2], converted[0], converted[1], converted[2], std::sqrt(moved), std::sqrt(left));
    }
    const double count = demo::kPatches.size();
    std::printf("%-57s %6.1f %10.1f\n", "on average (distances on the scale of 0 to 255)", sumMoved / count,
                sumLeft / count);
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fprintf(stderr, "usage: convert_chart FOLDER\n");
        return 2;
    }
    Convert(argv[1]);
    for (const Width& width : kWidths) Report(argv[1], width.bits);
    std::printf("\nLook at %s and %s side by side.\n", Name(argv[1], "chart", 8).c_str(),
                Name(argv[1], "converted", 8).c_str());
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "convert_chart: %s\n", error.what());
    return 1;
}
