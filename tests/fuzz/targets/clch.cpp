// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The colour triple under any numbers, step by step beside the plain arithmetic: equal to the last bit.
#include <cmath>

#include "FuzzInput.h"
#include "color/CLCH.h"
#include "unit/color/NaiveLch.h"

using namespace hueweave::fuzz;
using namespace hueweave::test;
using ColorLch::CLCH;

namespace {

bool Same(double one, double other) { return one == other || (std::isnan(one) && std::isnan(other)); }

/// A limit to 0..top that takes what is no number for 0.
double Cut(double value, double top) { return std::isnan(value) ? 0.0 : value > top ? top : value < 0.0 ? 0.0 : value; }

class Model {
public:
    double L = 0, C = 0, h = 0, a = 0, b = 0;
    Triple rgb{}, xyz{};
    Triple white = kUsualWhite;
    int space = 1;

    void PutRGB(double r, double g, double blue) {
        rgb = {Cut(r, 255.0), Cut(g, 255.0), Cut(blue, 255.0)};
        xyz = NaiveRatios(rgb, white, space);
        const Triple lab = NaiveLab(xyz);
        L = lab[0];
        a = lab[1];
        b = lab[2];
        ToLCh();
    }
    void PutLab(double light, double aStar, double bStar) {
        L = light;
        a = aStar;
        b = bStar;
        ToLCh();
        ToRGB();
    }
    void PutLCh(double light, double chroma, double hue) {
        L = light;
        C = chroma;
        h = hue;
        ToLab();
        ToRGB();
    }
    void Shift(double dL, double dC, double dh, bool whole) {
        L = Cut(L + dL, 100.0);
        C = Cut(C + dC, 100.0);
        h = NaiveAdjust({0, 0, h}, 0, 0, dh)[2];
        ToLab();
        if (whole) ToRGB();
    }

private:
    void ToLCh() {
        const auto ch = NaiveChromaHue(a, b);
        C = ch[0];
        h = ch[1];
    }
    void ToLab() {
        const auto ab = NaiveAB(C, h);
        a = ab[0];
        b = ab[1];
    }
    void ToRGB() {
        xyz = NaiveXYZ({L, a, b}, white);
        rgb = NaiveRGB(xyz, space);
        for (double& value : rgb) value = std::isnan(value) ? 0.0 : value;
    }
};

void Check(const CLCH& color, const Model& model) {
    Require(Same(color.L, model.L) && Same(color.C, model.C) && Same(color.h, model.h), "LCh");
    Require(Same(color.a, model.a) && Same(color.b, model.b), "ab");
    Require(Same(color.X, model.xyz[0]) && Same(color.Y, model.xyz[1]) && Same(color.Z, model.xyz[2]), "XYZ");
    Require(color.R == model.rgb[0] && color.G == model.rgb[1] && color.B == model.rgb[2], "RGB");
    Require(color.R >= 0 && color.R <= 255 && color.G >= 0 && color.G <= 255 && color.B >= 0 && color.B <= 255,
            "RGB is within its limits whatever goes in");
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
    if (how == 0) color.PutData_RGB(x, y, z), model.PutRGB(x, y, z);
    if (how == 1) color.PutData_Lab(x, y, z), model.PutLab(x, y, z);
    if (how == 2) color.PutData_Lch(x, y, z), model.PutLCh(x, y, z);
    if (how == 3) color.Adjust(x, y, z), model.Shift(x, y, z, true);
    if (how == 4) color.AdjustLab(x, y, z), model.Shift(x, y, z, false);
    if (how == 5) color.SetWhite(x, y, z), model.white = {x, y, z};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    CLCH color(kUsualWhite[0], kUsualWhite[1], kUsualWhite[2]);
    Model model;
    while (!input.Empty()) {
        Step(color, model, input);
        Check(color, model);
        if (input.Below(16) == 0) {
            // An assignment takes lightness, chroma and hue, and its own white and matrices.
            CLCH target(kUsualWhite[0], kUsualWhite[1], kUsualWhite[2]);
            Model expected;
            target = color;
            expected.PutLCh(model.L, model.C, model.h);
            Check(target, expected);
            Check(CLCH(color), model);
        }
    }
    return 0;
}
