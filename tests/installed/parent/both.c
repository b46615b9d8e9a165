/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 * both PROFILE: a program with both libraries, which share much of their code. Converts all greys with each; the pixels
 * must be the same. */
#include <hueweave/hueweave.h>
#include <hueweave/transform.h>
#include <stdio.h>
#include <string.h>

enum { kGreys = 256 };

int main(int argc, char** argv) {
    unsigned char greys[3 * kGreys], engine[3 * kGreys], transformed[3 * kGreys];
    hw_profile source = {0}, target = {0};
    hw_options options = HW_OPTIONS_INIT;
    hw_transform* transform;
    hw_error error;
    int i;
    if (argc != 2) return 2;
    for (i = 0; i < 3 * kGreys; ++i) greys[i] = (unsigned char)(i / 3);

    memcpy(engine, greys, sizeof engine);
    if (Orvix_Icc_SetProfile(argv[1], NULL, IntentPerceptual, CsRGB_8, CssRGB_8) != CssRGB_8) return 1;
    Orvix_Icc_Convert2(engine, NULL, kGreys);

    source.path = argv[1];
    target.space = "srgb";
    options.precision = HW_PRECISION_LIBRARY;
    options.accept_error = 100;
    if (hw_transform_create(&source, &target, &options, &transform, &error) != HW_OK) {
        fprintf(stderr, "%s\n", error.message);
        return 1;
    }
    if (hw_convert(transform, greys, transformed, kGreys) != HW_OK) return 1;
    hw_transform_free(transform);
    if (memcmp(engine, greys, sizeof engine) == 0 || memcmp(engine, transformed, sizeof engine) != 0) return 1;
    puts("both libraries agree");
    return 0;
}
