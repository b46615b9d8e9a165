// SPDX-License-Identifier: MIT
// The steps that are formulas.
#pragma once

#include "colour/exact/kernels/Block.h"
#include "colour/exact/kernels/Program.h"

namespace hueweave::colour {
// Local to each including file, see Lanes.h.
namespace {

template <typename Lanes>
struct Formulas : Numbers<Lanes> {
    using Base = Numbers<Lanes>;
    using Base::All, Base::Clamp, Base::Least, Base::Real, Base::Whole, Base::kLanes;
    using typename Base::Floats, typename Base::Ints;

    static void Affine(const Step& step, Block& block) {
        float m[3][4];  // a copy, which the values written cannot change
        __builtin_memcpy(m, step.rows, sizeof m);
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats x = Read<Floats>(&block.value[0][i]);
            const Floats y = Read<Floats>(&block.value[1][i]);
            const Floats z = Read<Floats>(&block.value[2][i]);
            Write(&block.value[0][i], m[0][0] * x + m[0][1] * y + m[0][2] * z + m[0][3]);
            Write(&block.value[1][i], m[1][0] * x + m[1][1] * y + m[1][2] * z + m[1][3]);
            Write(&block.value[2][i], m[2][0] * x + m[2][1] * y + m[2][2] * z + m[2][3]);
        }
    }

    static constexpr float kShift = 16.0F / 116.0F;           ///< from the values here to the cube roots of CIELAB
    static constexpr float kLimit = 24.0F / 116.0F - kShift;  ///< up to here, a line replaces the cube
    static constexpr float kSlope = 108.0F / 841.0F;          ///< of this line
    static constexpr float kLinearLimit = kSlope * kLimit;    ///< the same limit, as XYZ

    static void Cube(Block& block) {
        for (float(&values)[kBlock] : block.value) {
            for (int i = 0; i < block.used; i += kLanes) {
                const Floats u = Read<Floats>(&values[i]), f = u + kShift;
                const Floats cube = f * f * f, line = u * kSlope;
                Write(&values[i], u > All(kLimit) ? cube : line);
            }
        }
    }

    /// The cube root of numbers from about 0.008 up: two steps of Halley's method, from an estimate based on the
    /// exponent.
    static Floats CubeRoot(Floats x) {
        Ints bits = Read<Ints>(&x);
        bits = Whole(Real(bits) * (1.0F / 3.0F)) + 709921077;
        Floats y = Read<Floats>(&bits);
        for (int step = 0; step < 2; ++step) {
            const Floats cube = y * y * y;
            y = y * (cube + x + x) / (cube + cube + x);
        }
        return y;
    }

    static void Root(Block& block) {
        for (float(&values)[kBlock] : block.value) {
            for (int i = 0; i < block.used; i += kLanes) {
                const Floats x = Read<Floats>(&values[i]), limit = All(kLinearLimit);
                const Floats root = CubeRoot(x > limit ? x : limit) - kShift, line = x / kSlope;
                Write(&values[i], x > limit ? root : line);
            }
        }
    }

    static Floats SquareRoot(Floats x) {
        for (int lane = 0; lane < kLanes; ++lane) x[lane] = __builtin_sqrtf(x[lane]);
        return x;
    }

    /// Shifts L* and C*, clamps both to 0 to 100, and rotates the hue.
    static void Adjust(const Step& step, Block& block) {
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats x = Read<Floats>(&block.value[0][i]);
            const Floats y = Read<Floats>(&block.value[1][i]);
            const Floats z = Read<Floats>(&block.value[2][i]);
            const Floats a = 500.0F * (x - y), b = 200.0F * (y - z);
            const Floats chroma = SquareRoot(a * a + b * b);
            const Floats share = Least(All(1.0F), chroma * step.chromaShare);
            const Floats shifted = Clamp(chroma + share * step.chroma, 100.0F);
            const Floats scale = chroma > Floats{} ? shifted / chroma : Floats{};
            const Floats newY = Clamp(116.0F * y + step.lightness, 100.0F) / 116.0F;
            Write(&block.value[0][i], newY + (a * step.cosine - b * step.sine) * scale / 500.0F);
            Write(&block.value[1][i], newY);
            Write(&block.value[2][i], newY - (a * step.sine + b * step.cosine) * scale / 200.0F);
        }
    }

    static void Round(Block& block) {
        for (float(&values)[kBlock] : block.value) {
            for (int i = 0; i < block.used; i += kLanes) {
                Write(&values[i], Real(Whole(Clamp(Read<Floats>(&values[i]), 1.0F) * 65535.0F + 0.5F)) / 65535.0F);
            }
        }
    }
};

}  // namespace
}  // namespace hueweave::colour
