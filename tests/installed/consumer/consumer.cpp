// SPDX-License-Identifier: MIT
// consumer PROFILE: an independent C++ program, in the oldest C++ standard that the header supports. Converts the same
// pixels as consumer.c and prints them in the same form.
#include <hueweave/hueweave.h>

#include <array>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::array<unsigned char, 9> bytes{{255, 255, 255, 128, 128, 128, 200, 40, 40}};
    std::array<std::uint16_t, 9> words{};
    for (std::size_t i = 0; i < 9; ++i) words[i] = static_cast<std::uint16_t>(257 * bytes[i]);
    auto* const raw = reinterpret_cast<unsigned char*>(words.data());

    if (Orvix_Icc_SetProfile(argv[1], nullptr, IntentPerceptual, CsRGB_8, CssRGB_8) != CssRGB_8) return 1;
    if (Orvix_Icc_SetProfile_3rd(argv[1], nullptr, IntentPerceptual, CsRGB_16, CssRGB_16) != CssRGB_16) return 1;
    if (Orvix_Icc_Convert2(bytes.data(), nullptr, 3) != 0) return 1;
    if (Orvix_Icc_Convert2_3rd(raw, raw, 3) != 0) return 1;
    for (std::size_t i = 0; i < 9; ++i) std::cout << int{bytes[i]} << ' ' << words[i] << '\n';
    return 0;
}
