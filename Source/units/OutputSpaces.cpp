// SPDX-License-Identifier: MIT
// The output spaces: their tones, and a row for each space.
#include "units/OutputSpaces.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "base/Numeric.h"

namespace ICC40::ICC_UNIT {
namespace {

using namespace ICCFILE;
using namespace ColorLch;

// Kept: 0.5556 instead of 1 / 1.8, 0.4167 instead of 1 / 2.4, and a threshold of 0.00304.
double Gamma180(double x) { return std::pow(x, 0.5556) * 65535.0; }
double LinearToe(double x) { return x * 65535.0 * 12.92; }
double AboveToe(double x) { return (std::pow(x, 0.4167) * 1.055 - 0.055) * 65535.0; }
constexpr double kToe = 0.00304;

/// Converts a 16-bit value to an 8-bit sample; half a step has already been added to `value`.
int RoundTo8(int value) { return std::min(value >> 8, 255); }

/// Sets table[i] = tone(i) for i between `from` and `to`, which are already set, for a tone that never falls: a range
/// with equal ends is filled, any other range is halved. For 256 steps, this evaluates about 3,000 of 65,536 values.
template <typename Tone>
void FillSteps(ToneTable& table, int from, int to, Tone tone) {
    if (to - from < 2) return;
    if (table[from] == table[to]) {
        std::fill(table + from + 1, table + to, table[from]);
        return;
    }
    const int middle = from + (to - from) / 2;
    table[middle] = tone(middle);
    FillSteps(table, from, middle, tone);
    FillSteps(table, middle, to, tone);
}
template <typename Tone>
void TabulateSteps(ToneTable& table, Tone tone) {
    table[0] = tone(0);
    table[65535] = tone(65535);
    FillSteps(table, 0, 65535, tone);
}

/// The cubic polynomial through the values y0 to y3 at -1, 0, 1 and 2, evaluated from 0 on in steps of 1 / width by
/// forward differences, in fixed point with a 32-bit fraction.
class CubicSteps {
public:
    CubicSteps(double y0, double y1, double y2, double y3, int width) {
        const double h = 1.0 / width;
        const double c1 = (y2 - y0 / 3.0 - y1 / 2.0 - y3 / 6.0) * h;
        const double c2 = ((y0 + y2) / 2.0 - y1) * h * h;
        const double c3 = ((y3 - y0) / 6.0 + (y1 - y2) / 2.0) * h * h * h;
        value_ = Fixed(y1);
        first_ = Fixed(c1 + c2 + c3);
        second_ = Fixed(2 * c2 + 6 * c3);
        third_ = Fixed(6 * c3);
    }
    int Whole() const { return static_cast<int>(value_ >> 32); }
    /// Whether the integer part would change if the value were larger or smaller by kMargin.
    bool NearStep() const { return static_cast<std::uint32_t>(value_) + kFixedMargin < 2 * kFixedMargin; }
    void Advance() {
        value_ += first_;
        first_ += second_;
        second_ += third_;
    }

private:
    static constexpr double kOne = 4294967296.0;
    static constexpr double kMargin = 1e-3;
    static constexpr auto kFixedMargin = static_cast<std::uint32_t>(kMargin * kOne);
    static std::int64_t Fixed(double value) { return static_cast<std::int64_t>(value * kOne); }

    std::int64_t value_, first_, second_, third_;
};

constexpr int kExact = 1024;  ///< values below this are computed individually

/// Sets table[i] = Trunc(tone(i)) from `from`, at most `kExact`, to the end, for a power law with an exponent between
/// 0.4 and 0.6 and values up to 65535 or slightly above.
///
/// pow() is slow. The cubic through four values at a distance of h has an error of at most h^4 * 9/16 / 4! of the
/// fourth derivative between the two middle values. With h no more than i / 64 this is 1.4e-9 of the value, 1e-4 at
/// most; the fixed point adds 64^3 / 6 units, 1e-5. Only values within ten times this error of a truncation step are
/// computed individually.
template <typename Tone>
void Tabulate(ToneTable& table, int from, Tone tone) {
    for (int i = from; i < kExact; ++i) table[i] = Trunc(tone(i));
    int width = 0;
    double y0 = 0, y1 = 0, y2 = 0;
    for (int i = kExact; i < 65536; i += width) {
        if (i == kExact || i == 2 * kExact || i == 4 * kExact) {
            width = i / 64;
            y0 = tone(i - width), y1 = tone(i), y2 = tone(i + width);
        }
        const double y3 = tone(i + 2 * width);
        CubicSteps cubic(y0, y1, y2, y3, width);
        for (int n = 0; n < width; ++n, cubic.Advance()) {
            table[i + n] = cubic.NearStep() ? Trunc(tone(i + n)) : cubic.Whole();
        }
        y0 = y1, y1 = y2, y2 = y3;
    }
}

void ShiftTo8(ToneTable& table) {
    for (int& entry : table) entry >>= 8;
}

// The tones, by name and sample width.

void Linear_8(ToneTable& table) { ShiftTo8(table); }

void Linear_16(ToneTable&) {}  // the identity

void Gamma180_8(ToneTable& table) {
    TabulateSteps(table, [](int i) { return RoundTo8(Trunc(Gamma180(i / 65535.0) + 128.0)); });
}

void Gamma180_16(ToneTable& table) {
    Tabulate(table, 0, [](int i) { return Gamma180(i / 65535.0) + 0.5; });
}

void SRGB_8(ToneTable& table) {
    TabulateSteps(table, [](int i) {
        const double x = i / 65535.0;
        return RoundTo8(Trunc((kToe > x ? LinearToe(x) : AboveToe(x)) + 128.0));
    });
}

void SRGB_16(ToneTable& table) {
    int i = 0;
    for (; kToe > i / 65535.0; ++i) table[i] = Trunc(LinearToe(i / 65535.0));  // Kept: the toe is not rounded
    Tabulate(table, i, [](int n) { return AboveToe(n / 65535.0) + 0.5; });
}

constexpr KodakLaw kPhoto{0, 1024, 1.2, 0.0, 2.2};
constexpr KodakLaw kMix{512, 2048, 1.5, 0.2, 2.2};
constexpr KodakLaw kMix_16{512, 2048, 1.5, 0.0, 2.2};  // Kept: b is 0.0, not 0.2 as for kMix
constexpr KodakLaw kText{2048, 10240, 2.0, 0.3, 2.2};

template <const KodakLaw& law>
void Kodak_16(ToneTable& table) {
    FillByKodakLaw(table, law);
}

template <const KodakLaw& law>
void Kodak_8(ToneTable& table) {
    FillByKodakLaw(table, law);
    ShiftTo8(table);
}

constexpr OutputSpace kOutputSpaces[] = {
    {CssRGB_8, ColorSpace_sRGB, 8, CssRGB_8, SRGB_8},
    {CssRGB_16, ColorSpace_sRGB, 16, CssRGB_16, SRGB_16},
    {CssRGB_Gamma100_8, ColorSpace_sRGB, 8, CssRGB_Gamma100_8, Linear_8},
    {CssRGB_Gamma100_16, ColorSpace_sRGB, 16, CssRGB_Gamma100_16, Linear_16},
    {CssRGB_Alias_8, ColorSpace_sRGB, 8, CssRGB_8, SRGB_8},
    {CssRGB_Alias_16, ColorSpace_sRGB, 16, CssRGB_16, SRGB_16},
    {CsAdobeRGB_Gamma100_8, ColorSpace_AdobeRGB, 8, CsAdobeRGB_Gamma100_8, Linear_8},
    {CsAdobeRGB_Gamma100_16, ColorSpace_AdobeRGB, 16, CsAdobeRGB_Gamma100_16, Linear_16},
    {CsAdobeRGB_Gamma180_8, ColorSpace_AdobeRGB, 8, CsAdobeRGB_Gamma180_8, Gamma180_8},
    {CsAdobeRGB_Gamma180_16, ColorSpace_AdobeRGB, 16, CsAdobeRGB_Gamma180_16, Gamma180_16},
    {CsAppleRGB_Gamma100_8, ColorSpace_AppleRGB, 8, CsAppleRGB_Gamma100_8, Linear_8},
    {CsAppleRGB_Gamma100_16, ColorSpace_AppleRGB, 16, CsAppleRGB_Gamma100_16, Linear_16},
    {CsAppleRGB_Gamma180_8, ColorSpace_AppleRGB, 8, CsAppleRGB_Gamma180_8, Gamma180_8},
    {CsAppleRGB_Gamma180_16, ColorSpace_AppleRGB, 16, CsAppleRGB_Gamma180_16, Gamma180_16},
    {CsColorMatchRGB_Gamma100_8, ColorSpace_ColorMatchRGB, 8, CsColorMatchRGB_Gamma100_8, Linear_8},
    {CsColorMatchRGB_Gamma100_16, ColorSpace_ColorMatchRGB, 16, CsColorMatchRGB_Gamma100_16, Linear_16},
    {CsColorMatchRGB_Gamma180_8, ColorSpace_ColorMatchRGB, 8, CsColorMatchRGB_Gamma180_8, Gamma180_8},
    {CsColorMatchRGB_Gamma180_16, ColorSpace_ColorMatchRGB, 16, CsColorMatchRGB_Gamma180_16, Gamma180_16},
    {CsKodakPhoto_8, ColorSpace_sRGB, 8, CsKodakPhoto_8, Kodak_8<kPhoto>},
    {CsKodakPhoto_16, ColorSpace_sRGB, 16, CsKodakPhoto_16, Kodak_16<kPhoto>},
    {CsKodakMix_8, ColorSpace_sRGB, 8, CsKodakMix_8, Kodak_8<kMix>},
    {CsKodakMix_16, ColorSpace_sRGB, 8, CsKodakMix_16, Kodak_8<kMix_16>},  // Kept: 8 bits wide, despite its name
    {CsKodakText_8, ColorSpace_sRGB, 8, CsKodakText_8, Kodak_8<kText>},
    {CsKodakText_16, ColorSpace_sRGB, 16, CsKodakText_16, Kodak_16<kText>},
};

constexpr bool WidthFollowsNumber(const OutputSpace& row) {
    return row.bits == (row.space % 2 == 0 ? 8 : 16) || row.space == CsKodakMix_16;
}
static_assert(std::ranges::all_of(kOutputSpaces, WidthFollowsNumber));

}  // namespace

const OutputSpace* FindOutputSpace(ColorSpaceSignature space) {
    const auto* const row = std::ranges::find(kOutputSpaces, space, &OutputSpace::space);
    return row != std::end(kOutputSpaces) ? row : nullptr;
}

void FillByKodakLaw(ToneTable& table, const KodakLaw& law) {
    const auto& [low, high, a, b, c] = law;
    const double e = a / c;
    const double scale = std::pow(10.0, b / c) * 65535.0;
    const double top = std::pow(high / 65535.0, e) * scale;
    const double slope = top / (high - low);
    const double intercept = -(low * top) / (high - low);
    for (int i = 0; i < std::min(high, 65536); ++i) {
        table[i] = low < i ? std::max(Trunc(i * slope + intercept), 0) : 0;
    }
    for (int i = std::max(high, 0); i < 65535; ++i) {
        table[i] = std::min(Trunc(std::pow(i / 65535.0, e) * scale + 128.0), 65535);
    }
}

}  // namespace ICC40::ICC_UNIT
