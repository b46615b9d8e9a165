/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 * transform_growth PROFILE COUNT: makes and frees COUNT transforms of each way, and as many that fail. Prints the
 * memory of one of each, and fails if the memory in use has grown after all of them. */
#include <hueweave/transform.h>
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>

static size_t InUse(void) {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/* Little CMS and the C library keep some memory from the first call on. */
enum { kWarmUp = 3 };

static int Run(const hw_profile* source, const char* target, int32_t precision, long count, int32_t expected) {
    hw_options options = HW_OPTIONS_INIT;
    hw_profile to = {0};
    hw_info info = {sizeof(hw_info), 0, 0, "", "", 0, 0, 0, 0};
    size_t before = 0, one = 0, after;
    long i;
    to.space = target;
    options.precision = precision;
    for (i = 0; i < count + kWarmUp; ++i) {
        hw_transform* transform;
        if (i == kWarmUp) before = InUse();
        if (hw_transform_create(source, &to, &options, &transform, NULL) != expected) return 1;
        if (i == kWarmUp) one = InUse() - before;
        if (transform != NULL) hw_transform_info(transform, &info);
        hw_transform_free(transform);
    }
    after = InUse();
    printf("to %s, %s: %lu KB each, %ld bytes more after %ld\n", target, info.way, (unsigned long)(one / 1024),
           (long)(after - before), count);
    return after > before;
}

int main(int argc, char** argv) {
    hw_profile device = {0}, space = {0};
    long count;
    if (argc != 3 || (count = strtol(argv[2], NULL, 10)) < 1) {
        fprintf(stderr, "usage: transform_growth PROFILE COUNT\n");
        return 2;
    }
    device.path = argv[1];
    space.space = "srgb";
    return Run(&space, "srgb", HW_PRECISION_EXACT, count, HW_OK) ||
           Run(&space, "display-p3", HW_PRECISION_EXACT, count, HW_OK) ||
           Run(&device, "srgb", HW_PRECISION_EXACT, count, HW_OK) ||
           Run(&device, "srgb", HW_PRECISION_LIBRARY, count, HW_OK) ||
           Run(&device, "display-p3", HW_PRECISION_LIBRARY, count, HW_ERROR_PRECISION);
}
