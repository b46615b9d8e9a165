/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 *
 * convert_file BITS PROFILE SOURCE DEST: converts a TIFF file to sRGB with the exported functions of the library. The
 * last line on the standard output is the peak memory of the process in KiB. */
#include <hueweave/hueweave.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The value that a parent process gets from the kernel includes the parent's own memory before exec. */
static long PeakKiB(void) {
    FILE* status = fopen("/proc/self/status", "r");
    char line[256];
    long peak = -1;
    if (status == NULL) return peak;
    while (fgets(line, sizeof line, status) != NULL) {
        if (strncmp(line, "VmHWM:", 6) == 0) peak = strtol(line + 6, NULL, 10);
    }
    fclose(status);
    return peak;
}

int main(int argc, char** argv) {
    if (argc != 5) {
        fprintf(stderr, "usage: convert_file BITS PROFILE SOURCE DEST\n");
        return 2;
    }
    const int wide = atoi(argv[1]) == 16;
    const int32_t input = wide ? CsRGB_16 : CsRGB_8, output = wide ? CssRGB_16 : CssRGB_8;
    if (Orvix_Icc_SetProfile(argv[2], NULL, IntentPerceptual, input, output) != output) {
        fprintf(stderr, "convert_file: the profile %s cannot be used\n", argv[2]);
        return 1;
    }
    if (Orvix_Icc_ConvertFile(argv[3], argv[4]) != output) return 1;
    printf("peak %ld KiB\n", PeakKiB());
    return 0;
}
