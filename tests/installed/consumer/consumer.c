/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 * consumer PROFILE: an independent C99 program. Converts three pixels of each width and prints them. */
#include <hueweave/hueweave.h>
#include <stdio.h>

int main(int argc, char** argv) {
    unsigned char bytes[9] = {255, 255, 255, 128, 128, 128, 200, 40, 40};
    uint16_t words[9];
    int i;
    if (argc != 2) return 2;
    if (Orvix_Icc_SetProfile(argv[1], NULL, IntentPerceptual, CsRGB_8, CssRGB_8) != CssRGB_8) return 1;
    if (Orvix_Icc_SetProfile_2nd(argv[1], NULL, IntentPerceptual, CsRGB_16, CssRGB_16) != CssRGB_16) return 1;
    for (i = 0; i < 9; ++i) words[i] = (uint16_t)(257 * bytes[i]);
    if (Orvix_Icc_Convert2(bytes, NULL, 3) != 0) return 1;
    if (Orvix_Icc_Convert2_2nd((unsigned char*)words, (unsigned char*)words, 3) != 0) return 1;
    for (i = 0; i < 9; ++i) printf("%d %d\n", bytes[i], words[i]);
    return 0;
}
