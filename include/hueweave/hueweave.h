/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 */
/** @file
 * Hueweave: colour matching of device RGB images through an ICC profile.
 *
 * A profile's device-to-PCS table (tag "A2B0", "A2B1" or "A2B2") is turned once into a three-stage integer
 * pipeline, which then converts 8- and 16-bit RGB buffers and TIFF files to sRGB, AdobeRGB, AppleRGB or
 * ColorMatchRGB.
 *
 * The interface exists three times, once for each of three independent engines inside the library: the functions
 * without a suffix drive the first engine, those ending in _2nd and _3rd the second and the third. Call order on
 * one engine: SetProfile once, then any number of SetIntent and Adjust, then any number of Convert2 and
 * ConvertFile.
 *
 * Threads: no function takes a lock. One engine may be driven by one thread at a time. Two threads may drive two
 * different engines at once; the engines share nothing but the standard output.
 *
 * Status: results are 32-bit integers. What most functions return is the engine's *output colour space*, which is
 * also its state:
 *
 *     a value below 65535   the engine holds that output space
 *     65535                 no profile, no usable table, or an output space that is not supported; the
 *                           conversions refuse to run
 *     -1                    from Convert2 alone: the engine has no output space
 *     0                     from Convert2: done (from the others it would be the space CsRGB_8, which is never
 *                           an output space)
 *
 * No function tells the cause of a failure, prints an error message or lets an exception pass. When memory runs
 * out in the middle of a build, the engine is left at 65535.
 *
 * On loading, the library prints "[Source/DllMain] initializer()" to the standard output, and on unloading
 * "[Source/DllMain] finalizer()".
 */
#ifndef HUEWEAVE_HUEWEAVE_H
#define HUEWEAVE_HUEWEAVE_H

#include <stdint.h>

#if defined(__GNUC__)
#define HUEWEAVE_API __attribute__((visibility("default")))
#else
#define HUEWEAVE_API
#endif

/* In C++ the enumerations are exactly 32 bits wide, so that any 32-bit value may be held in them. */
#ifdef __cplusplus
#define HUEWEAVE_ENUM32 : int32_t
#define HUEWEAVE_NOEXCEPT noexcept
extern "C" {
#else
#define HUEWEAVE_ENUM32
#define HUEWEAVE_NOEXCEPT
#endif

/** Rendering intent. It selects the profile's table; "A2B1" takes the place of a table that is absent. Any other
 * value is accepted and behaves as IntentPerceptual. */
enum HueweaveIntent HUEWEAVE_ENUM32 {
    IntentPerceptual = 0,           /**< "A2B0" */
    IntentRelativeColorimetric = 1, /**< "A2B1" */
    IntentSaturation = 2,           /**< "A2B2" */
    IntentAbsoluteColorimetric = 3  /**< "A2B1", with the profile's white point from "wtpt" */
};

/** Pixel encodings. Even values are 8 bit a sample, odd values 16 bit. Input encodings are CsRGB_8 and CsRGB_16;
 * output spaces are 8 to 13, 20 to 31 and 34 to 39. The others exist inside the library and are refused here. */
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
    CsKodakMix_16 = 37,               /**< kept: its samples are 8 bits wide, 0 to 255, in spite of the name */
    CsKodakText_8 = 38,               /**< sRGB primaries, Kodak text curve */
    CsKodakText_16 = 39,              /**< the same, 16 bit */
    CsNone = 65535                    /**< no colour space chosen; the engine is unusable */
};

/**@{*/
/** Binds an ICC device profile to the engine and builds its tables.
 *
 * @param profile  path of the profile. A path that is the same text as in the call before, with the same intent and
 *                 encodings on an engine that is ready, changes nothing: the file is not looked at again. Null is
 *                 treated as a path that cannot be opened.
 * @param second   ignored; may be null.
 * @param intent   an enum HueweaveIntent value.
 * @param input    CsRGB_8 or CsRGB_16; it also settles the width of the samples that Convert2 reads *and* writes.
 *                 CsNone stands for CsRGB_8 in the function without a suffix; the _2nd and _3rd functions refuse it.
 * @param output   the output space; give it the width of the input encoding.
 *
 * @return the output space, or 65535 when the input encoding is refused, the file cannot be opened, the selected
 * table cannot be used, or the output space is not supported. The profile bound before is gone in every such case.
 *
 * Surprise: a profile that has neither the intent's table nor "A2B1" is not an error here. The engine then looks
 * bound and returns the output space, and conversions return 0 without touching a pixel.
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
 * input encoding stands for CsRGB_8. An adjustment made with Adjust stays, cut to whole units; tone curves given
 * to Adjust are replaced by the output space's own.
 *
 * @param intent  an enum HueweaveIntent value.
 * @param input   CsRGB_8 or CsRGB_16.
 * @param output  the output space; give it the width of the input encoding.
 *
 * @return the output space, or 65535 when it is not supported or the selected table cannot be used.
 *
 * Surprises: the input encoding is not checked (any value but 1 is taken as 8 bit), and on an engine without a
 * profile the given output space is stored and returned, although there is nothing to convert with.
 */
HUEWEAVE_API int32_t Orvix_Icc_SetIntent(int32_t intent, int32_t input, int32_t output) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_SetIntent_2nd(int32_t intent, int32_t input, int32_t output) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_SetIntent_3rd(int32_t intent, int32_t input, int32_t output) HUEWEAVE_NOEXCEPT;
/**@}*/

/**@{*/
/** Shifts the colours and replaces the output tone curve.
 *
 * The three offsets replace those of the call before, they do not add up; values whose whole parts are all as before
 * rebuild nothing. None is a factor.
 *
 * The tone curves have one byte a point, 256 points each; they are only read. Any null array, or a count of 0, leaves
 * the output stage as it is. Else they replace the output space's tone curve outright: a caller who wants a gamma
 * builds it into the arrays.
 *
 * @param lightness  offset in L* units.
 * @param chroma     offset in C* units.
 * @param hue        offset in degrees.
 * @param red        tone curve of the red output samples.
 * @param green      of the green ones.
 * @param blue       of the blue ones.
 * @param count      points in each array, at most 256 are used. With fewer, the rest is taken from the profile's own
 *                   output curves.
 *
 * @return the output space, 65535 when the engine has none. Callable on an engine without a profile, where it
 * stores the offsets and builds nothing.
 */
HUEWEAVE_API int32_t Orvix_Icc_Adjust(double lightness, double chroma, double hue, unsigned char* red,
                                      unsigned char* green, unsigned char* blue, int32_t count) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_Adjust_2nd(double lightness, double chroma, double hue, unsigned char* red,
                                          unsigned char* green, unsigned char* blue, int32_t count) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_Adjust_3rd(double lightness, double chroma, double hue, unsigned char* red,
                                          unsigned char* green, unsigned char* blue, int32_t count) HUEWEAVE_NOEXCEPT;
/**@}*/

/**@{*/
/** Converts a run of interleaved R, G, B pixels without padding.
 *
 * With the input encoding CsRGB_8 a pixel is 3 bytes, and the result is written *over the source*: `dest` is
 * neither read nor written and may be null. With CsRGB_16 a pixel is 3 samples of 16 bits in the machine's byte
 * order, read from `source` and written to `dest`, which may be the same pointer; neither needs to be aligned.
 * The caller guarantees that the buffers hold `pixels` pixels.
 *
 * @param source  the pixels.
 * @param dest    where 16-bit pixels go.
 * @param pixels  how many.
 *
 * @return 0, or -1 when the engine has no output space; then nothing is touched. A count below 1, or a null
 * buffer, converts nothing and returns 0.
 */
HUEWEAVE_API int32_t Orvix_Icc_Convert2(unsigned char* source, unsigned char* dest, int32_t pixels) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_Convert2_2nd(unsigned char* source, unsigned char* dest,
                                            int32_t pixels) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_Convert2_3rd(unsigned char* source, unsigned char* dest,
                                            int32_t pixels) HUEWEAVE_NOEXCEPT;
/**@}*/

/**@{*/
/** Converts a little-endian, uncompressed RGB TIFF file: reads it into memory, converts its pixels, takes out the
 * embedded ICC profile and writes the rest to `dest` as one strip. Prints three lines of progress, and a line for
 * a file that cannot be opened, to the standard output.
 *
 * The sample width must be that of the engine's input encoding; the file's own statement is not looked at, nor are
 * compression and photometric interpretation. `dest` is truncated before it is written, also when nothing of the
 * source could be read; only a file that is both then stays as it is. A pipe that nobody reads from is not written.
 *
 * @param source  path of the file to read.
 * @param dest    path of the file to write.
 *
 * @return the engine's output space, or 65535 when it has none; then no file is opened. A source that cannot be
 * read looks like success here: look at the file that was written.
 */
HUEWEAVE_API int32_t Orvix_Icc_ConvertFile(const char* source, const char* dest) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_ConvertFile_2nd(const char* source, const char* dest) HUEWEAVE_NOEXCEPT;
HUEWEAVE_API int32_t Orvix_Icc_ConvertFile_3rd(const char* source, const char* dest) HUEWEAVE_NOEXCEPT;
/**@}*/

/** Prints the line "func1" to the standard output: a first sign that the library answers.
 * @return 0 */
HUEWEAVE_API int32_t func1(void) HUEWEAVE_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* HUEWEAVE_HUEWEAVE_H */
