/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 * transform_pixels PROFILE: converts pixels of 8 bits and in floating point to sRGB with a transform each, in C99. */
#include <hueweave/transform.h>
#include <stdio.h>

enum { kPixels = 4, kSamples = 3 * kPixels };

static const unsigned char kScan[kSamples] = {255, 255, 255, 128, 128, 128, 200, 40, 40, 12, 90, 160};

/* Null after a failure, which is printed. */
static hw_transform* Make(const char* path, int32_t samples) {
    hw_profile source = {0}, target = {0};
    hw_options options = HW_OPTIONS_INIT;
    hw_transform* transform;
    hw_error error;
    source.path = path;
    target.space = "srgb";
    options.samples = samples;
    if (hw_transform_create(&source, &target, &options, &transform, &error) != HW_OK)
        fprintf(stderr, "%s\n", error.message);
    return transform;
}

int main(int argc, char** argv) {
    unsigned char bytes[kSamples];
    float floats[kSamples];
    int i, status = 1;
    hw_transform *narrow, *exact;
    if (argc != 2) {
        fprintf(stderr, "usage: transform_pixels PROFILE\n");
        return 2;
    }
    narrow = Make(argv[1], HW_SAMPLES_UINT8);
    exact = narrow != NULL ? Make(argv[1], HW_SAMPLES_FLOAT) : NULL;
    for (i = 0; i < kSamples; ++i) floats[i] = (float)kScan[i] / 255.0F;

    /* The first is converted from one buffer to another, the second in place. */
    if (exact != NULL && hw_convert(narrow, kScan, bytes, kPixels) == HW_OK &&
        hw_convert(exact, floats, floats, kPixels) == HW_OK) {
        for (i = 0; i < kSamples; i += 3)
            printf("%d %d %d -> %d %d %d -> %.6f %.6f %.6f\n", kScan[i], kScan[i + 1], kScan[i + 2], bytes[i],
                   bytes[i + 1], bytes[i + 2], floats[i], floats[i + 1], floats[i + 2]);
        status = 0;
    }
    hw_transform_free(exact);
    hw_transform_free(narrow);
    return status;
}
