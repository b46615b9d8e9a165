// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// convert_file PROFILE SOURCE.tif DEST.tif: converts an 8-bit TIFF file to AdobeRGB with gamma 1.8, in C++.
#include <hueweave/hueweave.h>

#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

// The return value does not show whether the source could be read, so the output file must be checked.
void Convert(const fs::path& source, const fs::path& dest) {
    if (!fs::is_regular_file(source)) throw std::runtime_error(source.string() + ": no such file");
    fs::remove(dest);
    if (Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()) != CsAdobeRGB_Gamma180_8) {
        throw std::runtime_error("the engine has no output space");
    }
    // If the source was unreadable, the output is little more than a header.
    constexpr std::uintmax_t kLeast = 256;
    if (!fs::exists(dest) || fs::file_size(dest) < kLeast) {
        throw std::runtime_error(source.string() + ": not a little-endian, uncompressed RGB TIFF file");
    }
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 4) {
        std::cerr << "usage: convert_file PROFILE SOURCE.tif DEST.tif\n";
        return 2;
    }
    if (Orvix_Icc_SetProfile(argv[1], nullptr, IntentRelativeColorimetric, CsRGB_8, CsAdobeRGB_Gamma180_8) !=
        CsAdobeRGB_Gamma180_8) {
        throw std::runtime_error(std::string(argv[1]) + ": no profile that can be used");
    }
    Convert(argv[2], argv[3]);
    std::cout << argv[3] << ": " << fs::file_size(argv[3]) << " bytes\n";
    return 0;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
