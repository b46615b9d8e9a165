/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 */
/** @file
 * Colour transforms: RGB pixels from one ICC profile to another.
 *
 * A transform is made from two profiles, each in memory, by its path, or by the name of a colour space, and converts
 * pixels of 8 or 16 bits per sample or in floating point. A program may have any number of transforms.
 *
 *     hw_profile scanner = {0}, srgb = {0};
 *     hw_transform* transform;
 *     hw_error error;
 *     scanner.path = "scanner.icc";
 *     srgb.space = "srgb";
 *     if (hw_transform_create(&scanner, &srgb, NULL, &transform, &error) != HW_OK) {
 *         fprintf(stderr, "%s\n", error.message);
 *         return 1;
 *     }
 *     hw_convert(transform, pixels, pixels, count);
 *     hw_transform_free(transform);
 *
 * Threads: a transform never changes, so any number of threads may convert with it at once. Every function may be
 * called by any thread at any time; only hw_transform_free() must be the last call for its transform.
 *
 * Errors: every function that can fail returns an enum hw_status. The library prints nothing, throws no exception and
 * has no state besides its transforms.
 *
 * Later versions may add fields at the end of hw_options and hw_info, whose first field is their size, and further
 * values to the enumerations. All other declarations stay as they are within a major version.
 */
#ifndef HUEWEAVE_TRANSFORM_H
#define HUEWEAVE_TRANSFORM_H

#include <hueweave/version.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define HW_API __attribute__((visibility("default")))
#else
#define HW_API
#endif

/* In C++ the enumerations are exactly 32 bits wide, so they can hold any 32-bit value. */
#ifdef __cplusplus
#define HW_ENUM32 : int32_t
#define HW_NOEXCEPT noexcept
extern "C" {
#else
#define HW_ENUM32
#define HW_NOEXCEPT
#endif

/** What a function returns: HW_OK, which is 0, or why it failed. */
enum hw_status HW_ENUM32 {
    HW_OK = 0,              /**< done */
    HW_ERROR_ARGUMENT = 1,  /**< a pointer is null, or a profile is given in no way or in several */
    HW_ERROR_OPTIONS = 2,   /**< an option is unknown, is out of range or cannot be combined with another one */
    HW_ERROR_FILE = 3,      /**< a profile cannot be read from its path */
    HW_ERROR_PROFILE = 4,   /**< a profile cannot be used */
    HW_ERROR_SPACE = 5,     /**< there is no colour space of this name */
    HW_ERROR_PRECISION = 6, /**< the library's precision does not support this, or is wrong for the profile */
    HW_ERROR_CURVES = 7,    /**< no profile can describe the tone curves, because one falls */
    HW_ERROR_LAYOUT = 8,    /**< a size, a stride or the number of channels is out of range */
    HW_ERROR_OVERLAP = 9,   /**< the source and the destination overlap without being the same */
    HW_ERROR_MEMORY = 10,   /**< there is not enough memory */
    HW_ERROR_INTERNAL = 11  /**< a fault of the library */
};

/** A failure with its name and one sentence. It needs no memory besides its own. */
typedef struct hw_error {
    int32_t status;    /**< an enum hw_status */
    char name[28];     /**< that of hw_status_name() */
    char message[992]; /**< in English: what failed, why and what helps; UTF-8 if the given names are */
} hw_error;

/** A type of samples. All are in the processor's byte order and at any address; they need no alignment. */
enum hw_samples HW_ENUM32 {
    HW_SAMPLES_UINT8 = 0,  /**< 0 to 255 */
    HW_SAMPLES_UINT16 = 1, /**< 0 to 65535 */
    /** Single precision, 0 to 1. Samples outside are clamped before the conversion, and NaN is 0; results are
     * clamped, too, and never NaN. Nothing is rounded to integers. */
    HW_SAMPLES_FLOAT = 2
};

/** A rendering intent, with the number of the ICC. */
enum hw_intent HW_ENUM32 {
    HW_INTENT_PERCEPTUAL = 0,
    HW_INTENT_RELATIVE = 1, /**< relative colorimetric */
    HW_INTENT_SATURATION = 2,
    HW_INTENT_ABSOLUTE = 3 /**< absolute colorimetric */
};

/** Black-point compensation: whether the black of the source becomes the black of the target. */
enum hw_black_point HW_ENUM32 {
    HW_BLACK_POINT_AUTO = 0,       /**< for the perceptual and saturation intents, where the target is of version 4 */
    HW_BLACK_POINT_COMPENSATED = 1 /**< for every intent except the absolute one */
};

/** Which colours a transform produces. */
enum hw_precision HW_ENUM32 {
    HW_PRECISION_EXACT = 0,  /**< those that the profiles describe, as Little CMS computes them in floating point */
    HW_PRECISION_LIBRARY = 1 /**< the pixels of libHueweave, bit for bit; 8 and 16 bits, and only to its own spaces */
};

/** A profile, in one of three ways: exactly one of `data`, `path` and `space` is not null. The profile of a device or
 * of a colour space, for RGB. It is only read, by hw_transform_create(). */
typedef struct hw_profile {
    const void* data;  /**< an ICC profile in memory, up to 64 MiB */
    size_t size;       /**< bytes of `data` */
    const char* path;  /**< the path of an ICC profile */
    const char* space; /**< a name of hw_space_name(), or one such as "AdobeRGB1998", without regard to case */
} hw_profile;

/** How a transform is made. 0 in every field except `size` is the default. */
typedef struct hw_options {
    size_t size;         /**< sizeof(hw_options). Bytes that this version does not know must be 0. */
    int32_t samples;     /**< an enum hw_samples, for the source and for the destination */
    int32_t intent;      /**< an enum hw_intent */
    int32_t black_point; /**< an enum hw_black_point; HW_BLACK_POINT_AUTO for the library's precision */
    int32_t precision;   /**< an enum hw_precision */
    int32_t icc_version; /**< of the profile to embed for a space: 2 or 4; 0 is 4 */
    int32_t reserved;    /**< 0 */
    double lightness;    /**< offset of L*, -100 to 100 */
    double chroma;       /**< offset of C*, -100 to 100; less for colours that are nearly neutral */
    double hue;          /**< offset of the hue in degrees, -360 to 360 */
    double accept_error; /**< for the library's precision: the CIEDE2000 that 5 % of the colours may exceed, up to
                          * 100; 0 is 2 */
    /** Tone curves in place of that of the target, which must be a space: 256 bytes for red, then 256 for green and
     * 256 for blue, the output for linear light from 0 to 1. Null for none. Only read by hw_transform_create(). */
    const unsigned char* curves;
} hw_options;

/** The defaults, for a declaration: hw_options options = HW_OPTIONS_INIT; */
#define HW_OPTIONS_INIT \
    { sizeof(hw_options), 0, 0, 0, 0, 0, 0, 0.0, 0.0, 0.0, 0.0, NULL }

/** What a transform does, and how exactly. The texts belong to the transform. */
typedef struct hw_info {
    size_t size;       /**< sizeof(hw_info), set by the caller */
    int32_t samples;   /**< an enum hw_samples */
    int32_t precision; /**< an enum hw_precision */
    /** How pixels are converted: "copy" if the profiles describe the same colours, "matrix" or "direct" by tables of
     * the transform, "pixel by pixel" by Little CMS, which is slow, or "library". */
    const char* way;
    const char* reason;   /**< why the way is "pixel by pixel", or a profile was baked for the library; else "" */
    size_t error_colours; /**< colours by which the error was measured when the transform was made; 0 for a copy */
    double error_mean;    /**< CIEDE2000 between the transform and Little CMS in floating point */
    double error_p999;    /**< the CIEDE2000 that 99.9 % of the colours do not exceed */
    double error_largest; /**< the largest CIEDE2000 */
} hw_info;

/** The layout of an image, for hw_convert_image(). */
typedef struct hw_layout {
    size_t width;            /**< pixels of a row */
    size_t height;           /**< rows */
    size_t channels;         /**< samples of a pixel, 3 to 65535: red, green, blue, and others, which are copied */
    ptrdiff_t source_stride; /**< bytes from a row to the next; 0 for rows without padding, negative for bottom-up */
    ptrdiff_t dest_stride;   /**< the same for the destination */
} hw_layout;

/** A transform; see hw_transform_create(). */
typedef struct hw_transform hw_transform;

/** Makes a transform. This takes some milliseconds, and some seconds for a profile that must be baked for the library's
 * precision. Nothing that is passed here is used afterwards.
 *
 * @param source     the profile of the pixels.
 * @param target     the profile to convert to.
 * @param options    null for the defaults.
 * @param transform  where the transform is stored, or null after a failure.
 * @param error      where a failure is described; may be null. Not changed if there is none.
 * @return HW_OK, or any other enum hw_status but HW_ERROR_LAYOUT and HW_ERROR_OVERLAP. */
HW_API int32_t hw_transform_create(const hw_profile* source, const hw_profile* target, const hw_options* options,
                                   hw_transform** transform, hw_error* error) HW_NOEXCEPT;

/** Frees a transform and everything that was borrowed from it.
 * @param transform  may be null. */
HW_API void hw_transform_free(hw_transform* transform) HW_NOEXCEPT;

/** Converts interleaved RGB pixels without padding.
 *
 * @param transform  determines the type of the samples, see hw_options.
 * @param source     the pixels.
 * @param dest       where the converted pixels are stored: `source`, or memory that does not overlap it.
 * @param pixels     number of pixels; for 0, the pointers may be null.
 * @return HW_OK, HW_ERROR_ARGUMENT, HW_ERROR_LAYOUT if the pixels are larger than the address space, or
 * HW_ERROR_OVERLAP. After a failure nothing was converted. */
HW_API int32_t hw_convert(const hw_transform* transform, const void* source, void* dest, size_t pixels) HW_NOEXCEPT;

/** Converts an image with strides and extra channels. Bytes between the rows are neither read nor written.
 *
 * @param transform  determines the type of the samples, see hw_options.
 * @param source     the first pixel of the first row, which for a negative stride is the last row in memory.
 * @param dest       the same for the destination: `source`, with the same stride, or memory that does not overlap the
 *                   rows of the source. If both strides are equal, it may lie between them: one half of a picture may
 *                   be converted into the other.
 * @param layout     size and strides. If the width or height is 0, the pointers may be null.
 * @return HW_OK, HW_ERROR_ARGUMENT, HW_ERROR_LAYOUT if the number of channels is out of range, a stride is smaller
 * than a row, or the image is larger than the address space, or HW_ERROR_OVERLAP. After a failure nothing was
 * converted. */
HW_API int32_t hw_convert_image(const hw_transform* transform, const void* source, void* dest,
                                const hw_layout* layout) HW_NOEXCEPT;

/** Describes a transform.
 * @param transform  the transform.
 * @param info       filled; its `size` must be set. Bytes beyond those that this version knows become 0.
 * @return HW_OK, HW_ERROR_ARGUMENT, or HW_ERROR_OPTIONS if `size` is too small. */
HW_API int32_t hw_transform_info(const hw_transform* transform, hw_info* info) HW_NOEXCEPT;

/** The ICC profile to embed in a file with the converted pixels.
 * @param transform  may be null.
 * @param size       where the number of bytes is stored; may be null.
 * @return the profile, which belongs to the transform; null, with a size of 0, if no profile can describe the pixels,
 * because of falling curves with the library's precision. */
HW_API const void* hw_transform_profile(const hw_transform* transform, size_t* size) HW_NOEXCEPT;

/** The number of colour spaces that have a name.
 * @return more than 0 */
HW_API size_t hw_space_count(void) HW_NOEXCEPT;
/** The name of a colour space, such as "srgb".
 * @param index  from 0.
 * @return null if there are not so many. */
HW_API const char* hw_space_name(size_t index) HW_NOEXCEPT;
/** The title of a colour space, such as "Display P3".
 * @param index  as for hw_space_name().
 * @return null if there are not so many. */
HW_API const char* hw_space_title(size_t index) HW_NOEXCEPT;

/** The name of a status.
 * @param status  an enum hw_status.
 * @return "ok", "argument", "options", "file", "profile", "space", "precision", "curves", "layout", "overlap",
 * "memory" or "internal"; "unknown" for any other value. */
HW_API const char* hw_status_name(int32_t status) HW_NOEXCEPT;
/** What a status means, in one English sentence. hw_error::message says more.
 * @param status  an enum hw_status.
 * @return never null. */
HW_API const char* hw_status_message(int32_t status) HW_NOEXCEPT;

/** The version of the library.
 * @return HUEWEAVE_VERSION of the library, such as "1.0.0" */
HW_API const char* hw_version(void) HW_NOEXCEPT;
/** The version of the library, for comparisons.
 * @return HUEWEAVE_VERSION_NUMBER of the library */
HW_API int32_t hw_version_number(void) HW_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* HUEWEAVE_TRANSFORM_H */
