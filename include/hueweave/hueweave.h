/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 */
/** @file
 * Hueweave: colour conversion of device RGB images through an ICC profile.
 *
 * The device-to-PCS table of a profile (tag "A2B0", "A2B1" or "A2B2") is compiled once into a three-stage integer
 * pipeline, which then converts 8- and 16-bit RGB buffers and TIFF files to sRGB, AdobeRGB, AppleRGB or
 * ColorMatchRGB.
 *
 * The library contains three independent engines, each with its own set of functions: those without a suffix use the
 * first engine, those ending in _2nd and _3rd the second and the third. For each engine, call SetProfile once, then
 * SetIntent and Adjust any number of times, then Convert2 and ConvertFile any number of times.
 *
 * Threads: the functions use no locks. Each engine may be used by one thread at a time. Different engines may be used
 * simultaneously; they share only the standard output.
 *
 * Status: results are 32-bit integers. Most functions return the engine's *output colour space*, which is also its
 * state:
 *
 *     a value below 65535   the engine's output space
 *     65535                 no profile, no usable table, or an unsupported output space; conversions do nothing
 *     -1                    only from Convert2: the engine has no output space
 *     0                     only from Convert2: done (0 is CsRGB_8, which is never an output space)
 *
 * No function reports the cause of a failure, prints an error message or throws an exception. If memory runs out
 * during a build, the engine's output space is 65535.
 *
 * When loaded, the library prints "[Source/DllMain] initializer()" to the standard output, and when unloaded
 * "[Source/DllMain] finalizer()". A static library is not loaded and prints neither.
 */
#ifndef HUEWEAVE_HUEWEAVE_H
#define HUEWEAVE_HUEWEAVE_H

#include <hueweave/version.h>
#include <stdint.h>

#if defined(__GNUC__)
#define HUEWEAVE_API __attribute__((visibility("default")))
#else
#define HUEWEAVE_API
#endif

/* In C++ the enumerations are exactly 32 bits wide, so they can hold any 32-bit value. */
#ifdef __cplusplus
#define HUEWEAVE_ENUM32 : int32_t
#define HUEWEAVE_NOEXCEPT noexcept
extern "C" {
#else
#define HUEWEAVE_ENUM32
#define HUEWEAVE_NOEXCEPT
#endif

/** Rendering intent. It selects the table of the profile; "A2B1" replaces a missing table. Any other value is
 * accepted and behaves as IntentPerceptual. */
enum HueweaveIntent HUEWEAVE_ENUM32 {
    IntentPerceptual = 0,           /**< "A2B0" */
    IntentRelativeColorimetric = 1, /**< "A2B1" */
    IntentSaturation = 2,           /**< "A2B2" */
    IntentAbsoluteColorimetric = 3  /**< "A2B1", with the profile's white point from "wtpt" */
};

/** Pixel encodings. Even values mean 8 bits per sample, odd values 16. Input encodings are CsRGB_8 and CsRGB_16;
 * output spaces are 8 to 13, 20 to 31 and 34 to 39. The others exist inside the library but are refused here. */
enum HueweaveColorSpace HUEWEAVE_ENUM32 {
    CsRGB_8 = 0,                      /**< device RGB; input encoding */
    CsRGB_16 = 1,                     /**< the same, 16 bit */
    CsLab_8 = 2,                      /**< CIELAB */
    CsLab_16 = 3,                     /**< the same, 16 bit */
    CsCMYK_8 = 4,                     /**< four-channel ink */
    CsCMYK_16 = 5,                    /**< the same, 16 bit */
    CssRGB_8 = 8,                     /**< sRGB primaries, sRGB tone curve */
    CssRGB_16 = 9,                    /**< the same, 16 bit */
    CssRGB_Gamma100_8 = 10,           /**< sRGB primaries, linear */
    CssRGB_Gamma100_16 = 11,          /**< the same, 16 bit */
    CssRGB_Alias_8 = 12,              /**< behaves exactly as CssRGB_8 */
    CssRGB_Alias_16 = 13,             /**< the same, 16 bit */
    CsCLR6_8 = 16,                    /**< six-channel colour */
    CsCLR6_16 = 17,                   /**< the same, 16 bit */
    CsCLR7_8 = 18,                    /**< seven-channel colour */
    CsCLR7_16 = 19,                   /**< the same, 16 bit */
    CsAdobeRGB_Gamma100_8 = 20,       /**< AdobeRGB primaries, linear */
    CsAdobeRGB_Gamma100_16 = 21,      /**< the same, 16 bit */
    CsAdobeRGB_Gamma180_8 = 22,       /**< AdobeRGB primaries, gamma 1.8 */
    CsAdobeRGB_Gamma180_16 = 23,      /**< the same, 16 bit */
    CsAppleRGB_Gamma100_8 = 24,       /**< AppleRGB primaries, linear */
    CsAppleRGB_Gamma100_16 = 25,      /**< the same, 16 bit */
    CsAppleRGB_Gamma180_8 = 26,       /**< AppleRGB primaries, gamma 1.8 */
    CsAppleRGB_Gamma180_16 = 27,      /**< the same, 16 bit */
    CsColorMatchRGB_Gamma100_8 = 28,  /**< ColorMatchRGB primaries, linear */
    CsColorMatchRGB_Gamma100_16 = 29, /**< the same, 16 bit */
    CsColorMatchRGB_Gamma180_8 = 30,  /**< ColorMatchRGB primaries, gamma 1.8 */
    CsColorMatchRGB_Gamma180_16 = 31, /**< the same, 16 bit */
    CsKodakPhoto_8 = 34,              /**< sRGB primaries, Kodak photo curve */
    CsKodakPhoto_16 = 35,             /**< the same, 16 bit */
    CsKodakMix_8 = 36,                /**< sRGB primaries, Kodak mixed curve */
    CsKodakMix_16 = 37,               /**< kept: its samples are 8 bits wide, 0 to 255, despite the name */
    CsKodakText_8 = 38,               /**< sRGB primaries, Kodak text curve */
    CsKodakText_16 = 39,              /**< the same, 16 bit */
    CsNone = 65535                    /**< no colour space selected; the engine is unusable */
};

/**@{*/
/** Binds an ICC device profile to the engine and builds its tables.
 *
 * @param profile  path of the profile. If the engine is ready and the path, intent and encodings are the same as in the
 *                 previous call, nothing changes: the file is not read again. Null is treated as a path that cannot
 *                 be opened.
 * @param second   ignored; may be null.
 * @param intent   an enum HueweaveIntent value.
 * @param input    CsRGB_8 or CsRGB_16; it also determines the width of the samples that Convert2 reads *and* writes.
 *                 CsNone means CsRGB_8 in the function without a suffix; the _2nd and _3rd functions refuse it.
 * @param output   the output space, with the same width as the input encoding.
 *
 * @return the output space, or 65535 if the input encoding is refused, the file cannot be opened, the selected table
 * cannot be used, or the output space is not supported. In all these cases the previous profile is no longer bound.
 *
 * Note: a profile that has neither the table of the intent nor "A2B1" is not an error. The engine then looks bound
 * and returns the output space, and conversions return 0 without changing any pixel.
 */
HUEWEAVE_API int32_t Orvix_Icc_SetProfile(const char* profile, const char* second, int32_t intent, int32_t input,
                                          int32_t output) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_SetProfile_2nd(const char* profile, const char* second, int32_t intent, int32_t input,
                                              int32_t output) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_SetProfile_3rd(const char* profile, const char* second, int32_t intent, int32_t input,
                                              int32_t output) HUEWEAVE_NOEXCEPT;
/**@}*/

/**@{*/
/** Rebuilds the tables of the profile in memory for another intent, input encoding or output space. CsNone as the
 * input encoding means CsRGB_8. An adjustment made with Adjust is kept, truncated to whole units; tone curves given
 * to Adjust are replaced by that of the output space.
 *
 * @param intent  an enum HueweaveIntent value.
 * @param input   CsRGB_8 or CsRGB_16.
 * @param output  the output space, with the same width as the input encoding.
 *
 * @return the output space, or 65535 if it is not supported or the selected table cannot be used.
 *
 * Note: the input encoding is not checked (any value but 1 means 8 bits), and an engine without a profile stores and
 * returns the given output space although it cannot convert.
 */
HUEWEAVE_API int32_t Orvix_Icc_SetIntent(int32_t intent, int32_t input, int32_t output) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_SetIntent_2nd(int32_t intent, int32_t input, int32_t output) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_SetIntent_3rd(int32_t intent, int32_t input, int32_t output) HUEWEAVE_NOEXCEPT;
/**@}*/

/**@{*/
/** Shifts the colours and replaces the output tone curve.
 *
 * The three offsets replace those of the previous call and are not added to them. If the integer parts of all three
 * are unchanged, nothing is rebuilt. None of them is a factor.
 *
 * The tone curves have 256 points of one byte each; they are only read. If any array is null, or the count is 0, the
 * output stage does not change. Otherwise they completely replace the tone curve of the output space, so the arrays
 * must include any gamma.
 *
 * @param lightness  offset in L* units.
 * @param chroma     offset in C* units.
 * @param hue        offset in degrees.
 * @param red        tone curve of the red output samples.
 * @param green      the same for green.
 * @param blue       the same for blue.
 * @param count      number of points in each array; at most 256 are used. With fewer, the rest comes from the
 *                   profile's own output curves.
 *
 * @return the output space, or 65535 if the engine has none. On an engine without a profile, the function stores the
 * offsets and builds nothing.
 */
HUEWEAVE_API int32_t Orvix_Icc_Adjust(double lightness, double chroma, double hue, unsigned char* red,
                                      unsigned char* green, unsigned char* blue, int32_t count) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_Adjust_2nd(double lightness, double chroma, double hue, unsigned char* red,
                                          unsigned char* green, unsigned char* blue, int32_t count) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_Adjust_3rd(double lightness, double chroma, double hue, unsigned char* red,
                                          unsigned char* green, unsigned char* blue, int32_t count) HUEWEAVE_NOEXCEPT;
/**@}*/

/**@{*/
/** Converts interleaved R, G, B pixels without padding.
 *
 * With the input encoding CsRGB_8, a pixel is 3 bytes, and the result is written *over the source*: `dest` is
 * neither read nor written and may be null. With CsRGB_16, a pixel is 3 samples of 16 bits in the machine's byte
 * order, read from `source` and written to `dest`, which may be the same pointer; neither needs to be aligned.
 * The buffers must hold at least `pixels` pixels.
 *
 * @param source  the pixels.
 * @param dest    destination of 16-bit pixels.
 * @param pixels  number of pixels.
 *
 * @return 0, or -1 without any effect if the engine has no output space. If `pixels` is below 1 or a buffer is null,
 * nothing is converted and the result is 0.
 */
HUEWEAVE_API int32_t Orvix_Icc_Convert2(unsigned char* source, unsigned char* dest, int32_t pixels) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_Convert2_2nd(unsigned char* source, unsigned char* dest,
                                            int32_t pixels) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_Convert2_3rd(unsigned char* source, unsigned char* dest,
                                            int32_t pixels) HUEWEAVE_NOEXCEPT;
/**@}*/

/**@{*/
/** Converts a little-endian, uncompressed RGB TIFF file: reads it into memory, converts its pixels, removes the
 * embedded ICC profile and writes the rest to `dest` as one strip. Prints three progress lines, and one line for
 * each file that cannot be opened, to the standard output.
 *
 * The sample width must match the engine's input encoding; the sample width, compression and photometric
 * interpretation stated in the file are ignored. `dest` is truncated before it is written, even if nothing could be
 * read from the source; only if both are the same file does it then stay unchanged. A pipe without a reader is not
 * written.
 *
 * @param source  path of the file to read.
 * @param dest    path of the file to write.
 *
 * @return the engine's output space, or 65535 if it has none; then no file is opened. If the source cannot be read,
 * the result is the same as on success; check the output file.
 */
HUEWEAVE_API int32_t Orvix_Icc_ConvertFile(const char* source, const char* dest) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_ConvertFile_2nd(const char* source, const char* dest) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_ConvertFile_3rd(const char* source, const char* dest) HUEWEAVE_NOEXCEPT;
/**@}*/

/** Prints the line "func1" to the standard output, to check that the library can be called.
 * @return 0 */
HUEWEAVE_API int32_t func1(void) HUEWEAVE_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* HUEWEAVE_HUEWEAVE_H */
