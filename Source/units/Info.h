// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>

#include "iccfile/IccTypes.h"

namespace ICC40::ICC_UNIT {

/// Status values of the engines and units; 0 is success.
inline constexpr int kUnset = 65535;           ///< none, unset, failed
inline constexpr int kUnknownFormat = 65534;   ///< pixel format code not set or not known
inline constexpr int kNotImplemented = 65533;  ///< operation not implemented
inline constexpr int kUnreadable = 65531;      ///< profile file could not be read
inline constexpr int kInputRange = 65530;      ///< input colour space out of range
inline constexpr auto kNoSpace = static_cast<ICCFILE::ColorSpaceSignature>(kUnset);

/// The layout of a pixel format code, see `FindFormat`.
struct PixelFormat {
    int channels;   ///< samples per pixel: 3, 4, 6 or 7; 0 for an unknown code
    bool source16;  ///< width of the source samples: 16 bits, else 8
    bool dest16;    ///< width of the destination samples
};

/// Codes 257 to 264 have 8-bit, codes 513 to 520 16-bit source samples; the pairs of codes mean 3, 4, 6 and 7 channels
/// in this order, the odd code with 8-bit and the even code with 16-bit destination samples.
constexpr PixelFormat FindFormat(int code) {
    const bool source16 = code >= 513 && code <= 520;
    if (!source16 && !(code >= 257 && code <= 264)) return {0, false, false};
    constexpr int kChannels[] = {3, 4, 6, 7};
    const int place = code - (source16 ? 513 : 257);
    return {kChannels[place / 2], source16, place % 2 == 1};
}

/// The job record: what an engine is bound to, and the pixels that pass through the units. It owns its working buffer
/// and its names, but not the pixels.
struct Info {
    /// Resets everything except `BuildResult`, `Intent` and the two names. Returns 0.
    int Reset();
    /// Stores the three adjustments. Returns 1 if any differs from the stored one, else 0.
    int CheckLch(int lightness, int chroma, int hue);
    /// Stores the pixel pointers and allocates a working buffer of `pixels` times the channels of `FormatCode`. Kept:
    /// while `WorkCount` is not 0 this does nothing, so only the first call after a `Reset` takes effect. Returns 0, or
    /// 65534 for an unknown code (the two pointers are still stored). A count of 0 gives a buffer without samples. A
    /// negative count, or one whose number of samples exceeds an int, gives an empty job without a buffer.
    int CheckWorkingBuf(unsigned char* source, unsigned char* dest, int pixels);
    /// Frees the working buffer. Kept: `WorkCount` stays. Returns 0.
    int DeleteWorkingBuf();
    /// Copies the two names (which may be null). Returns 1 if either differs from the previous one, else 0.
    int CheckCurrentProfile(const char* first, const char* second);

    int ProfileState = kUnset;  ///< 65535: no profile; 0: a profile was requested
    int Spare = kUnset;         ///< Kept: written, never read
    ICCFILE::ColorSpaceSignature InputSpace = kNoSpace;
    ICCFILE::ColorSpaceSignature OutputSpace = kNoSpace;  ///< 65535 while the engine cannot convert
    int BuildResult = kUnset;                             ///< result of the last table build
    ICCFILE::Intent Intent = ICCFILE::IntentPerceptual;
    std::unique_ptr<unsigned short[]> WorkBuf;  ///< samples between the units
    unsigned char* Source = nullptr;            ///< not owned
    unsigned char* Dest = nullptr;              ///< not owned
    int PixelCount = 0;
    int WorkCount = 0;  ///< samples in `WorkBuf`
    int Lightness = 0;
    int Chroma = 0;
    int Hue = 0;
    int FormatCode = kUnknownFormat;
    std::unique_ptr<char[]> ProfileName;  ///< at least 128 bytes
    std::unique_ptr<char[]> SecondName;
};

}  // namespace ICC40::ICC_UNIT
