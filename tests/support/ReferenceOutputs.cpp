// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The output side of the reference units: expansion of curves, and the tone curves.
#include <cmath>
#include <cstddef>
#include <cstring>

#include "support/ReferenceUnits.h"

namespace hueweave::test {

namespace {

/// A value between 0 and 65535, rounded up to bytes at half and more.
int ByteOf(double value) {
    const int t = static_cast<int>(value + 128.0);
    return t < 65536 ? t >> 8 : 255;
}

double Srgb(double x) { return (std::pow(x, 0.4167) * 1.055 - 0.055) * 65535.0; }

int ToneOf(Form form, int i) {
    const double x = i / 65535.0;
    switch (form) {
        case Form::Gamma180:
            return ByteOf(std::pow(x, 0.5556) * 65535.0);
        case Form::Gamma180_16:
            return static_cast<int>(std::pow(x, 0.5556) * 65535.0 + 0.5);
        case Form::Srgb:
            return ByteOf(0.00304 > x ? x * 65535.0 * 12.92 : Srgb(x));
        default:
            break;  // Srgb_16
    }
    if (0.00304 > x) return static_cast<int>(x * 65535.0 * 12.92);
    return static_cast<int>(Srgb(x) + 0.5);
}

/// Turns the offset encoding of a and b into the signed one.
void Flip(std::array<std::vector<int>, 7>& table, int bit) {
    for (std::size_t i = 0; i < 65536; ++i) {
        table[1][i] ^= bit;
        table[2][i] ^= bit;
    }
}

bool IsWideRgb(Form form) {
    return form == Form::Gamma180_16 || form == Form::Srgb_16 || form == Form::KodakPhoto_16 ||
           form == Form::KodakText_16 || form == Form::Lab16;
}

}  // namespace

void ReferenceOutputs::Reset() {
    for (auto& row : curve) {
        row.resize(4096);
        for (int i = 0; i < 4096; ++i) row[AsIndex(i)] = i;
    }
    for (auto& row : table) {
        row.resize(65536);
        for (int i = 0; i < 65536; ++i) row[AsIndex(i)] = i;
    }
}

PlainNode ReferenceOutputs::Points(const PlainNode& at) const {
    PlainNode result{};
    for (std::size_t c = 0; c < 7; ++c) {
        const double x = at[c];
        const int i = static_cast<int>(x / step);
        const double f = (x - step * i) / span;
        result[c] = static_cast<int>(curve[c][AsIndex(i + 1)] * f + (1 - f) * curve[c][AsIndex(i)] + 0.5);
    }
    return result;
}

void ReferenceOutputs::Expand(std::size_t moving) {
    for (int v = 0; v < 65535; ++v) {
        PlainNode at{};
        for (std::size_t c = 0; c < moving; ++c) at[c] = v;
        const PlainNode result = Points(at);
        for (std::size_t c = 0; c < 7; ++c) table[c][AsIndex(v)] = result[c];
    }
}

void ReferenceOutputs::Load(const PlainLut& lut) {
    channels = lut.outputs;
    entries = lut.outputEntries;
    const bool useless = entries < 3;
    if (useless) {
        entries = 4096;
        step = 16.003663003663004;
        span = 15.0;
        for (std::size_t c = 0; c < AsIndex(channels); ++c) {
            for (int i = 0; i < 4096; ++i) curve[c][AsIndex(i)] = 16 * i;
        }
    } else {
        step = 65535.0 / (entries - 1);
        span = 65536.0 / entries;
        std::size_t next = 0;
        for (std::size_t c = 0; c < AsIndex(channels); ++c) {
            for (std::size_t i = 0; i < AsIndex(entries); ++i) curve[c][i] = lut.output[next++];
        }
    }
    Expand(7);
    for (std::size_t c = 0; c < 7; ++c) table[c][65535] = useless ? 65535 : curve[c][AsIndex(entries - 1)];
}

void ReferenceOutputs::Load(const Bytes& red, const Bytes& green, const Bytes& blue) {
    const Bytes* arrays[3] = {&red, &green, &blue};
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t i = 0; i < red.size(); ++i) curve[c][i] = (*arrays[c])[i] << 8;
    }
    step = 257.0;
    span = 256.0;
    Expand(3);
    for (std::size_t c = 0; c < 7; ++c) table[c][65535] = c < 3 ? 65535 : 0;
}

void ReferenceOutputs::ShiftDown(std::size_t tables) {
    for (std::size_t c = 0; c < tables; ++c) {
        for (int& entry : table[c]) entry = entry >> 8;
    }
}

void ReferenceOutputs::Kodak(int low, int high, double a, double b, double c) {
    const double e = a / c;
    const double scale = std::pow(10.0, b / c) * 65535.0;
    const double top = std::pow(high / 65535.0, e) * scale;
    const double slope = top / (high - low);
    const double intercept = -(low * top) / (high - low);
    for (int i = 0; i < 65535; ++i) {
        int entry = 0;
        if (i < high) {
            if (low < i) {
                const int t = static_cast<int>(i * slope + intercept);
                entry = t < 0 ? 0 : t;
            }
        } else {
            const int t = static_cast<int>(std::pow(i / 65535.0, e) * scale + 128.0);
            entry = t > 65535 ? 65535 : t;
        }
        for (std::size_t row = 0; row < 3; ++row) table[row][AsIndex(i)] = entry;
    }
}

int ReferenceOutputs::ApplyInks(std::size_t shifted, int newMode, int result) {
    ShiftDown(shifted);
    mode = newMode;
    return result;
}

int ReferenceOutputs::ApplyTone(Form form, int space) {
    for (int i = 0; i < 65536; ++i) {
        const int entry = ToneOf(form, i);
        for (std::size_t row = 0; row < 3; ++row) table[row][AsIndex(i)] = entry;
    }
    return form == Form::Srgb ? 8 : form == Form::Srgb_16 ? 9 : space;
}

int ReferenceOutputs::Apply(Form form, int space) {
    mode = IsWideRgb(form) ? 0 : 1;
    switch (form) {
        case Form::Gamma100:
            ShiftDown(3);
            return space;
        case Form::Rgb8:
            ShiftDown(3);
            return 0;
        case Form::KodakPhoto:
            Kodak(0, 1024, 1.2, 0.0, 2.2);
            ShiftDown(3);
            return 34;
        case Form::KodakPhoto_16:
            Kodak(0, 1024, 1.2, 0.0, 2.2);
            return 35;
        case Form::KodakMix:
            Kodak(512, 2048, 1.5, 0.2, 2.2);
            ShiftDown(3);
            return 36;
        case Form::KodakMix_16:
            Kodak(512, 2048, 1.5, 0.0, 2.2);
            ShiftDown(3);
            return 37;
        case Form::KodakText:
            Kodak(2048, 10240, 2.0, 0.3, 2.2);
            ShiftDown(3);
            return 38;
        case Form::KodakText_16:
            Kodak(2048, 10240, 2.0, 0.3, 2.2);
            return 39;
        case Form::Cmyk8:
            return ApplyInks(4, 3, 4);
        case Form::Cmyk16:
            return ApplyInks(0, 2, 5);
        case Form::Clr6_8:
            return ApplyInks(6, 5, 16);
        case Form::Clr6_16:
            return ApplyInks(0, 4, 17);
        case Form::Clr7_8:
            return ApplyInks(7, 7, 18);
        case Form::Clr7_16:
            return ApplyInks(0, 6, 19);
        case Form::Lab8:
            ShiftDown(3);
            Flip(table, 0x80);
            return 2;
        case Form::Lab16:
            Flip(table, 0x8000);
            return 3;
        default:
            break;
    }
    return ApplyTone(form, space);
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
