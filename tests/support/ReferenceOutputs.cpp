// SPDX-License-Identifier: MIT
// The output side of the reference units: expansion of curves, and the tone curves.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <numeric>

#include "support/ReferenceUnits.h"

namespace hueweave::test {

namespace {

/// A value from 0 to 65535 as 8 bits, rounded half up.
int ByteOf(double value) {
    const int t = static_cast<int>(value + 128.0);
    return t < 65536 ? t >> 8 : 255;
}

double Srgb(double x) { return (std::pow(x, 0.4167) * 1.055 - 0.055) * 65535.0; }

int ToneOf(Form form, int i) {
    const double x = i / 65535.0;
    const bool gamma = form == Form::Gamma180 || form == Form::Gamma180_16;
    const bool straight = !gamma && 0.00304 > x;
    const double tone = (straight ? x * 65535.0 * 12.92 : gamma ? std::pow(x, 0.5556) * 65535.0 : Srgb(x));
    if (form == Form::Gamma180 || form == Form::Srgb) return ByteOf(tone);
    return static_cast<int>(straight ? tone : tone + 0.5);
}

/// The effect of a form: the mode, the number of tables that it shifts to 8 bits, the bit that it inverts in those of a
/// and b, and its result, or -1 for the requested space.
struct FormRow {
    int mode;
    std::size_t shifted;
    int turned, result;
};
constexpr FormRow kForm[kForms] = {{1, 3, 0, -1},      // Gamma100
                                   {1, 0, 0, -1},      // Gamma180
                                   {0, 0, 0, -1},      // Gamma180_16
                                   {1, 0, 0, 8},       // Srgb
                                   {0, 0, 0, 9},       // Srgb_16
                                   {1, 3, 0, 34},      // KodakPhoto
                                   {0, 0, 0, 35},      // KodakPhoto_16
                                   {1, 3, 0, 36},      // KodakMix
                                   {1, 3, 0, 37},      // KodakMix_16. Kept: 8 bits
                                   {1, 3, 0, 38},      // KodakText
                                   {0, 0, 0, 39},      // KodakText_16
                                   {1, 3, 0, 0},       // Rgb8
                                   {1, 3, 0x80, 2},    // Lab8
                                   {0, 0, 0x8000, 3},  // Lab16
                                   {3, 4, 0, 4},       // Cmyk8
                                   {2, 0, 0, 5},       // Cmyk16
                                   {5, 6, 0, 16},      // Clr6_8
                                   {4, 0, 0, 17},      // Clr6_16
                                   {7, 7, 0, 18},      // Clr7_8
                                   {6, 0, 0, 19}};     // Clr7_16

struct KodakLaw {
    int low, high;
    double a, b;
};
constexpr KodakLaw kPhoto{0, 1024, 1.2, 0.0}, kMix{512, 2048, 1.5, 0.2}, kText{2048, 10240, 2.0, 0.3};
constexpr KodakLaw kMix16{512, 2048, 1.5, 0.0};  // Kept: b is 0.0
constexpr KodakLaw kKodak[] = {kPhoto, kPhoto, kMix, kMix16, kText, kText};

}  // namespace

ReferenceCurves::ReferenceCurves() {
    for (auto& row : curve) {
        row.resize(4096);
        std::iota(row.begin(), row.end(), 0);
    }
}

ReferenceNode ReferenceCurves::Points(const ReferenceNode& at) const {
    ReferenceNode result{};
    for (std::size_t c = 0; c < 7; ++c) result[c] = Point(c, at[c]);
    return result;
}

void ReferenceCurves::Load(const LutContents& lut) {
    channels = lut.outputs;
    entries = lut.outputEntries;
    const bool useless = entries < 3;
    if (useless) {
        // Kept: 15.0 divides a step of 16.
        entries = 4096;
        step = 16.003663003663004;
        span = 15.0;
    } else {
        step = 65535.0 / (entries - 1);
        span = 65536.0 / entries;
    }
    std::size_t next = 0;
    for (std::size_t c = 0; c < AsIndex(channels); ++c) {
        for (int i = 0; i < entries; ++i) curve[c][AsIndex(i)] = useless ? 16 * i : lut.output[next++];
    }
    for (std::size_t c = 0; c < 7; ++c) last[c] = useless ? 65535 : curve[c][AsIndex(entries - 1)];
}

void ReferenceCurves::Load(const Bytes& red, const Bytes& green, const Bytes& blue) {
    const Bytes* arrays[3] = {&red, &green, &blue};
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t i = 0; i < red.size(); ++i) curve[c][i] = (*arrays[c])[i] << 8;
    }
    step = 257.0;
    span = 256.0;
    for (std::size_t c = 0; c < 7; ++c) last[c] = c < 3 ? 65535 : 0;
}

void ReferenceOutputs::Reset() {
    curve = ReferenceCurves().curve;
    for (auto& row : table) {
        row.resize(65536);
        std::iota(row.begin(), row.end(), 0);
    }
}

/// The tables from the curves; the channels from `moving` on keep the value at the start of their curve.
void ReferenceOutputs::Expand(std::size_t moving) {
    for (std::size_t c = 0; c < 7; ++c) {
        for (int v = 0; v < 65535; ++v) table[c][AsIndex(v)] = Point(c, c < moving ? v : 0);
        table[c][65535] = last[c];
    }
}

void ReferenceOutputs::Load(const LutContents& lut) {
    ReferenceCurves::Load(lut);
    Expand(7);
}

void ReferenceOutputs::Load(const Bytes& red, const Bytes& green, const Bytes& blue) {
    ReferenceCurves::Load(red, green, blue);
    Expand(3);
}

void ReferenceOutputs::Kodak(int low, int high, double a, double b, double c) {
    const double e = a / c;
    const double scale = std::pow(10.0, b / c) * 65535.0;
    const double top = std::pow(high / 65535.0, e) * scale;
    const double slope = top / (high - low);
    const double intercept = -(low * top) / (high - low);
    for (int i = 0; i < 65535; ++i) {
        int entry = 0;
        if (i >= high) {
            entry = std::min(static_cast<int>(std::pow(i / 65535.0, e) * scale + 128.0), 65535);
        } else if (i > low) {
            entry = std::max(static_cast<int>(i * slope + intercept), 0);
        }
        for (std::size_t row = 0; row < 3; ++row) table[row][AsIndex(i)] = entry;
    }
}

int ReferenceOutputs::Apply(Form form, int space) {
    const FormRow& row = kForm[static_cast<int>(form)];
    for (int i = 0; i < 65536 && form >= Form::Gamma180 && form <= Form::Srgb_16; ++i) {
        table[0][AsIndex(i)] = table[1][AsIndex(i)] = table[2][AsIndex(i)] = ToneOf(form, i);
    }
    if (form >= Form::KodakPhoto && form <= Form::KodakText_16) {
        const KodakLaw& law = kKodak[static_cast<int>(form) - static_cast<int>(Form::KodakPhoto)];
        Kodak(law.low, law.high, law.a, law.b, 2.2);
    }
    for (std::size_t c = 0; c < row.shifted; ++c) {
        for (int& entry : table[c]) entry >>= 8;
    }
    // From the offset encoding of a and b to the signed one.
    for (std::size_t i = 0; i < 65536; ++i) {
        table[1][i] ^= row.turned;
        table[2][i] ^= row.turned;
    }
    mode = row.mode;
    return row.result < 0 ? space : row.result;
}

void ReferenceOutputs::Run(int code, const Words& work, int pixels, Bytes& dest) const {
    const CodeLayout layout = LayoutOf(code);
    if (layout.channels == 7) return;
    for (int n = 0; n < pixels * layout.channels; ++n) {
        const int entry = table[AsIndex(n % layout.channels)][work[AsIndex(n)]];
        if (layout.destBytes == 1) {
            dest[AsIndex(n)] = static_cast<unsigned char>(entry & 0xff);
        } else {
            const auto word = static_cast<unsigned short>(entry & 0xffff);
            std::memcpy(&dest[AsIndex(2 * n)], &word, 2);
        }
    }
}

}  // namespace hueweave::test
