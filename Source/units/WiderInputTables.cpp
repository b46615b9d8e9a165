// SPDX-License-Identifier: MIT
#include "units/WiderInputTables.h"

#include <algorithm>
#include <cstdint>

#include "units/CurveEvaluation.h"

namespace ICC40::ICC_UNIT {

InputTable34::InputTable34() : InputTable33("InputTable34") {}
InputTable36::InputTable36() : InputTable33("InputTable36") {}
InputTable37::InputTable37() : InputTable33("InputTable37") {}

int InputTable34::Conversion(Info* info) { return Run(info, 4); }
int InputTable36::Conversion(Info* info) { return Run(info, 6); }
int InputTable37::Conversion(Info* info) { return Run(info, 7); }

InputTable43::InputTable43() : Base("InputTable43"), Curve{} {}

int InputTable43::Initial(const ICCFILE::CLut16Type* lut) {
    const int entries = lut->inputEnt;
    LUT_Step = 65535.0 / (entries - 1);
    const std::uint16_t* curves = lut->inputTable.get();
    for (int c = 0; c < lut->inputChan; ++c) std::copy_n(curves + c * entries, entries, Curve[c]);
    return 0;
}

int InputTable43::Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d,
                             unsigned short&, unsigned short&, unsigned short&) {
    unsigned short* const samples[] = {&a, &b, &c, &d};
    for (int row = 0; row < 4; ++row) *samples[row] = EvaluateInputCurve<int>(Curve[row], LUT_Step, *samples[row]);
    return 0;
}

int InputTable43::Conversion(unsigned char*, int) { return 0; }

int InputTable43::Conversion(Info*) { return 0; }

}  // namespace ICC40::ICC_UNIT
