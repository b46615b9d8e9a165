/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 * three_engines PROFILE: uses one profile in three engines: unadjusted sRGB, sRGB made lighter and more colourful, and
 * 16-bit AdobeRGB. The engines are independent. */
#include <hueweave/hueweave.h>
#include <stdio.h>
#include <string.h>

enum { kPixels = 3, kSamples = 3 * kPixels };

static const unsigned char kScan[kSamples] = {128, 128, 128, 200, 40, 40, 12, 90, 160};

static void PrintBytes(const char* name, const unsigned char* samples) {
    int i;
    printf("%-9s", name);
    for (i = 0; i < kSamples; ++i) printf(" %d", samples[i]);
    printf("\n");
}

static void PrintWords(const char* name, const uint16_t* samples) {
    int i;
    printf("%-9s", name);
    for (i = 0; i < kSamples; ++i) printf(" %d", samples[i]);
    printf("\n");
}

int main(int argc, char** argv) {
    unsigned char plain[kSamples], lighter[kSamples];
    uint16_t adobe[kSamples];
    int i;
    if (argc != 2) {
        fprintf(stderr, "usage: three_engines PROFILE\n");
        return 2;
    }
    if (Orvix_Icc_SetProfile(argv[1], NULL, IntentPerceptual, CsRGB_8, CssRGB_8) != CssRGB_8 ||
        Orvix_Icc_SetProfile_2nd(argv[1], NULL, IntentPerceptual, CsRGB_8, CssRGB_8) != CssRGB_8 ||
        Orvix_Icc_SetProfile_3rd(argv[1], NULL, IntentPerceptual, CsRGB_16, CsAdobeRGB_Gamma180_16) !=
            CsAdobeRGB_Gamma180_16) {
        fprintf(stderr, "%s: no profile that can be used\n", argv[1]);
        return 1;
    }
    /* L* + 5, C* + 10, hue and tone curves unchanged: the second engine only. */
    Orvix_Icc_Adjust_2nd(5.0, 10.0, 0.0, NULL, NULL, NULL, 0);

    memcpy(plain, kScan, sizeof plain);
    memcpy(lighter, kScan, sizeof lighter);
    for (i = 0; i < kSamples; ++i) adobe[i] = (uint16_t)(257 * kScan[i]);
    Orvix_Icc_Convert2(plain, NULL, kPixels);
    Orvix_Icc_Convert2_2nd(lighter, NULL, kPixels);
    Orvix_Icc_Convert2_3rd((unsigned char*)adobe, (unsigned char*)adobe, kPixels);

    PrintBytes("plain", plain);
    PrintBytes("lighter", lighter);
    PrintWords("adobe16", adobe);
    return 0;
}
