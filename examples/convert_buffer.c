/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 * convert_buffer PROFILE: converts 8- and 16-bit pixels in memory to sRGB, in C. */
#include <hueweave/hueweave.h>
#include <stdio.h>
#include <string.h>

enum { kPixels = 4, kSamples = 3 * kPixels };

static const unsigned char kScan[kSamples] = {255, 255, 255, 128, 128, 128, 200, 40, 40, 12, 90, 160};

int main(int argc, char** argv) {
    unsigned char bytes[kSamples];
    uint16_t words[kSamples], matched[kSamples];
    int i;
    if (argc != 2) {
        fprintf(stderr, "usage: convert_buffer PROFILE\n");
        return 2;
    }

    /* 8 bits per sample: the result replaces the source. */
    if (Orvix_Icc_SetProfile(argv[1], NULL, IntentPerceptual, CsRGB_8, CssRGB_8) != CssRGB_8) {
        fprintf(stderr, "%s: no profile that can be used\n", argv[1]);
        return 1;
    }
    memcpy(bytes, kScan, sizeof bytes);
    Orvix_Icc_Convert2(bytes, NULL, kPixels);

    /* 16 bits per sample with the same profile: only the tables are rebuilt, and the source does not change. */
    if (Orvix_Icc_SetIntent(IntentPerceptual, CsRGB_16, CssRGB_16) != CssRGB_16) return 1;
    for (i = 0; i < kSamples; ++i) words[i] = (uint16_t)(257 * kScan[i]);
    Orvix_Icc_Convert2((unsigned char*)words, (unsigned char*)matched, kPixels);

    for (i = 0; i < kSamples; i += 3)
        printf("%d %d %d -> %d %d %d -> %d %d %d\n", kScan[i], kScan[i + 1], kScan[i + 2], bytes[i], bytes[i + 1],
               bytes[i + 2], matched[i], matched[i + 1], matched[i + 2]);
    return 0;
}
