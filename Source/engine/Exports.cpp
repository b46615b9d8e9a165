// SPDX-License-Identifier: MIT
// The exports of the library: sixteen functions for three engines. No exception leaves them, and callers see only the
// engine's output space.
#include <cstdint>
#include <iostream>

#include "engine/CIccEngineS.h"
#include "hueweave/hueweave.h"

namespace {

using Engine = ICC40::ICC_ENG_S4::CIccEngineS;
using ICC40::ICC_UNIT::kUnset;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::Intent;

// Constructed in this order when the library is loaded, destroyed in reverse order when it is unloaded.
Engine IccEngine;
Engine IccEngine_2nd;
Engine IccEngine_3rd;

/// Runs an operation, ignores its result, and returns the engine's output space afterwards. An exception during a build
/// has set the engine to 65535.
template <typename Operation>
std::int32_t SpaceAfter(Engine& engine, const Operation& operation) noexcept {
    try {
        operation();
    } catch (...) {
    }
    return engine.Unit.OutputSpace;
}

/// CsNone as an input encoding means CsRGB_8.
std::int32_t OrRGB8(std::int32_t input) { return input == kUnset ? std::int32_t{ICC40::ICCFILE::CsRGB_8} : input; }

std::int32_t SetProfile(Engine& engine, const char* profile, const char* second, std::int32_t intent,
                        std::int32_t input, std::int32_t output) noexcept {
    return SpaceAfter(engine, [&] {
        engine.SetProfile(profile, second, static_cast<Intent>(intent), static_cast<ColorSpaceSignature>(input),
                          static_cast<ColorSpaceSignature>(output), 0.0, 0.0, 0.0);
    });
}

std::int32_t SetIntent(Engine& engine, std::int32_t intent, std::int32_t input, std::int32_t output) noexcept {
    return SpaceAfter(engine, [&] {
        engine.SetIntent(static_cast<Intent>(intent), static_cast<ColorSpaceSignature>(OrRGB8(input)),
                         static_cast<ColorSpaceSignature>(output), 0.0, 0.0, 0.0);
    });
}

std::int32_t Adjust(Engine& engine, double lightness, double chroma, double hue, const unsigned char* red,
                    const unsigned char* green, const unsigned char* blue, std::int32_t count) noexcept {
    return SpaceAfter(engine, [&] {
        engine.Adjust_Lch(lightness, chroma, hue);
        engine.Adjust_Output(red, green, blue, count);
    });
}

std::int32_t Convert2(const Engine& engine, unsigned char* source, unsigned char* dest, std::int32_t pixels) noexcept {
    return engine.Unit.OutputSpace == kUnset ? -1 : engine.Conversion(source, dest, pixels);
}

std::int32_t ConvertFile(Engine& engine, const char* source, const char* dest) noexcept {
    if (engine.Unit.OutputSpace == kUnset) return kUnset;
    return SpaceAfter(engine, [&] { engine.Conversion(source, dest); });
}

}  // namespace

// Kept: CsNone as the input encoding is accepted only by the first engine.
int32_t Orvix_Icc_SetProfile(const char* profile, const char* second, int32_t intent, int32_t input,
                             int32_t output) noexcept {
    return SetProfile(IccEngine, profile, second, intent, OrRGB8(input), output);
}
int32_t Orvix_Icc_SetProfile_2nd(const char* profile, const char* second, int32_t intent, int32_t input,
                                 int32_t output) noexcept {
    return SetProfile(IccEngine_2nd, profile, second, intent, input, output);
}
int32_t Orvix_Icc_SetProfile_3rd(const char* profile, const char* second, int32_t intent, int32_t input,
                                 int32_t output) noexcept {
    return SetProfile(IccEngine_3rd, profile, second, intent, input, output);
}

int32_t Orvix_Icc_SetIntent(int32_t intent, int32_t input, int32_t output) noexcept {
    return SetIntent(IccEngine, intent, input, output);
}
int32_t Orvix_Icc_SetIntent_2nd(int32_t intent, int32_t input, int32_t output) noexcept {
    return SetIntent(IccEngine_2nd, intent, input, output);
}
int32_t Orvix_Icc_SetIntent_3rd(int32_t intent, int32_t input, int32_t output) noexcept {
    return SetIntent(IccEngine_3rd, intent, input, output);
}

int32_t Orvix_Icc_Adjust(double lightness, double chroma, double hue, unsigned char* red, unsigned char* green,
                         unsigned char* blue, int32_t count) noexcept {
    return Adjust(IccEngine, lightness, chroma, hue, red, green, blue, count);
}
int32_t Orvix_Icc_Adjust_2nd(double lightness, double chroma, double hue, unsigned char* red, unsigned char* green,
                             unsigned char* blue, int32_t count) noexcept {
    return Adjust(IccEngine_2nd, lightness, chroma, hue, red, green, blue, count);
}
int32_t Orvix_Icc_Adjust_3rd(double lightness, double chroma, double hue, unsigned char* red, unsigned char* green,
                             unsigned char* blue, int32_t count) noexcept {
    return Adjust(IccEngine_3rd, lightness, chroma, hue, red, green, blue, count);
}

int32_t Orvix_Icc_Convert2(unsigned char* source, unsigned char* dest, int32_t pixels) noexcept {
    return Convert2(IccEngine, source, dest, pixels);
}
int32_t Orvix_Icc_Convert2_2nd(unsigned char* source, unsigned char* dest, int32_t pixels) noexcept {
    return Convert2(IccEngine_2nd, source, dest, pixels);
}
int32_t Orvix_Icc_Convert2_3rd(unsigned char* source, unsigned char* dest, int32_t pixels) noexcept {
    return Convert2(IccEngine_3rd, source, dest, pixels);
}

int32_t Orvix_Icc_ConvertFile(const char* source, const char* dest) noexcept {
    return ConvertFile(IccEngine, source, dest);
}
int32_t Orvix_Icc_ConvertFile_2nd(const char* source, const char* dest) noexcept {
    return ConvertFile(IccEngine_2nd, source, dest);
}
int32_t Orvix_Icc_ConvertFile_3rd(const char* source, const char* dest) noexcept {
    return ConvertFile(IccEngine_3rd, source, dest);
}

int32_t func1(void) noexcept {
    try {
        std::cout << "func1" << std::endl;
    } catch (...) {
    }
    return 0;
}
