// SPDX-License-Identifier: MIT
// make_picture FOLDER WIDTH HEIGHT: creates the input of the program comparison: scanner.icc, and photo-8.tif and
// photo-16.tif with one strip each.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "Profile.h"
#include "TiffPicture.h"

int main(int argc, char** argv) try {
    if (argc != 4) {
        std::fprintf(stderr, "usage: make_picture FOLDER WIDTH HEIGHT\n");
        return 2;
    }
    const std::string folder = argv[1];
    const bench::Size size{std::atoi(argv[2]), std::atoi(argv[3])};
    demo::WriteFile(folder + "/scanner.icc", demo::ScannerProfile());
    for (const int bits : {8, 16}) bench::WritePhoto(folder + "/photo-" + std::to_string(bits) + ".tif", size, bits);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "make_picture: %s\n", error.what());
    return 1;
}
