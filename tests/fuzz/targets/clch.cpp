// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The colour triple with any numbers, compared step by step with the plain arithmetic: equal to the last bit.
#include <cmath>

#include "FuzzInput.h"
#include "color/CLCH.h"
#include "support/NaiveLch.h"

namespace hueweave::fuzz {
namespace {

using namespace test;
using ColorLch::CLCH;

bool Same(const Triple& one, const Triple& other) {
    for (std::size_t i = 0; i < 3; ++i) {
        if (one[i] != other[i] && !(std::isnan(one[i]) && std::isnan(other[i]))) return false;
    }
    return true;
}

/// Clamps to 0..top; NaN becomes 0.
double Cut(double value, double top) { return std::isnan(value) ? 0.0 : value > top ? top : value < 0.0 ? 0.0 : value; }

struct Model {
    Triple lch{}, lab{}, rgb{}, xyz{}, white = kUsualWhite;
    int space = 1;

    void PutRGB(const Triple& t) {
        rgb = {Cut(t[0], 255.0), Cut(t[1], 255.0), Cut(t[2], 255.0)};
        xyz = NaiveRatios(rgb, white, space);
        FromLab(NaiveLab(xyz));
    }
    void PutLab(const Triple& t) {
        FromLab(t);
        ToRGB();
    }
    void PutLCh(const Triple& t) {
        lch = t;
        ToLab();
        ToRGB();
    }
    void Shift(const Triple& by, bool whole) {
        const double hue = NaiveAdjust({0, 0, lch[2]}, 0, 0, by[2])[2];
        lch = {Cut(lch[0] + by[0], 100.0), Cut(lch[1] + by[1], 100.0), hue};
        ToLab();
        if (whole) ToRGB();
    }
    void FromLab(const Triple& t) {
        const auto polar = NaiveChromaHue(t[1], t[2]);
        lab = t;
        lch = {t[0], polar[0], polar[1]};
    }
    void ToLab() {
        const auto ab = NaiveAB(lch[1], lch[2]);
        lab = {lch[0], ab[0], ab[1]};
    }
    void ToRGB() {
        xyz = NaiveXYZ(lab, white);
        rgb = NaiveRGB(xyz, space);
        for (double& value : rgb) value = std::isnan(value) ? 0.0 : value;
    }
};

void Check(const CLCH& color, const Model& model) {
    Require(Same({color.L, color.C, color.h}, model.lch), "LCh");
    Require(Same({color.L, color.a, color.b}, model.lab), "Lab");
    Require(Same({color.X, color.Y, color.Z}, model.xyz), "XYZ");
    const Triple rgb{color.R, color.G, color.B};
    Require(rgb == model.rgb, "RGB");
    for (const double value : rgb) Require(value >= 0 && value <= 255, "RGB is within its limits whatever goes in");
    const auto& matrices = kNaiveMatrices[model.space];
    Require(color.toXYZ == matrices.toXYZ && color.toRGB == matrices.toRGB, "matrices");
}

void Step(CLCH& color, Model& model, FuzzInput& input) {
    const std::size_t how = input.Below(7);
    if (how == 6) {
        const int space = input.Below(4) == 0 ? input.Int() : input.Between(0, 3);
        color.SetColorSpace(static_cast<ColorLch::ColorSpace>(space));
        model.space = space >= 0 && space <= 3 ? space : space == 65535 ? 0 : model.space;
        return;
    }
    const double x = input.Double(), y = input.Double(), z = input.Double();
    if (how == 0) color.PutData_RGB(x, y, z), model.PutRGB({x, y, z});
    if (how == 1) color.PutData_Lab(x, y, z), model.PutLab({x, y, z});
    if (how == 2) color.PutData_Lch(x, y, z), model.PutLCh({x, y, z});
    if (how == 3) color.Adjust(x, y, z), model.Shift({x, y, z}, true);
    if (how == 4) color.AdjustLab(x, y, z), model.Shift({x, y, z}, false);
    if (how == 5) color.SetWhite(x, y, z), model.white = {x, y, z};
}

}  // namespace

void RunTarget(FuzzInput& input) {
    const CLCH fresh(kUsualWhite[0], kUsualWhite[1], kUsualWhite[2]);
    CLCH color = fresh;
    Model model;
    while (!input.Empty()) {
        Step(color, model, input);
        Check(color, model);
        if (input.Below(16) != 0) continue;
        // An assignment copies lightness, chroma and hue; the target has its own white point and matrices.
        CLCH target = fresh;
        Model expected;
        target = color;
        expected.PutLCh(model.lch);
        Check(target, expected);
        Check(CLCH(color), model);
    }
}

}  // namespace hueweave::fuzz
