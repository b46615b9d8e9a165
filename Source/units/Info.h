// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
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
    int channels;   ///< samples a pixel: 3, 4, 6 or 7; 0 for an unknown code
    bool source16;  ///< width of the source samples: 16 bits, else 8
    bool dest16;    ///< width of the destination samples
};

/// Codes 257 to 264 have 8-bit, codes 513 to 520 16-bit source samples; each pair of codes stands for 3, 4, 6 and 7
/// channels in turn, the odd code with 8-bit and the even code with 16-bit destination samples.
constexpr PixelFormat FindFormat(int code) {
    const bool source16 = code >= 513 && code <= 520;
    if (!source16 && !(code >= 257 && code <= 264)) return {0, false, false};
    constexpr int kChannels[] = {3, 4, 6, 7};
    const int place = code - (source16 ? 513 : 257);
    return {kChannels[place / 2], source16, place % 2 == 1};
}

/// The job record: what an engine is bound to, and a run of pixels on its way through the units. It owns its
/// working buffer and its names, and only points at the pixels.
struct Info {
    /// First state again, but for `BuildResult`, `Intent` and the two names, which stay. Returns 0.
    int Reset();
    /// Stores the three adjustments. Returns 1 if any differs from the stored one, else 0.
    int CheckLch(int lightness, int chroma, int hue);
    /// Takes a run of pixels and makes the working buffer for it: `pixels` times the channels of `FormatCode`.
    /// Kept: while `WorkCount` is not 0 this does nothing, so only the first call after a `Reset` takes effect.
    /// Returns 0, or 65534 for an unknown code (the two pointers are stored all the same). A count of 0 makes a buffer
    /// without samples. One below 0, or whose samples an int cannot count, makes an empty job without a buffer.
    int CheckWorkingBuf(unsigned char* source, unsigned char* dest, int pixels);
    /// Frees the working buffer. Kept: `WorkCount` stays. Returns 0.
    int DeleteWorkingBuf();
    /// Remembers the two names (borrowed, may be null). Returns 1 if either differs from the one before, else 0.
    int CheckCurrentProfile(const char* first, const char* second);

    int ProfileState = kUnset;  ///< 65535: no profile; 0: a profile was asked for
    int Spare = kUnset;         ///< Kept: written, never read
    ICCFILE::ColorSpaceSignature InputSpace = kNoSpace;
    ICCFILE::ColorSpaceSignature OutputSpace = kNoSpace;  ///< 65535 while the engine cannot convert
    int BuildResult = kUnset;                             ///< result of the last table build
    ICCFILE::Intent Intent = ICCFILE::IntentPerceptual;
    std::unique_ptr<unsigned short[]> WorkBuf;  ///< between the units
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
