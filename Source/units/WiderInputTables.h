// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "units/InputTable33.h"

namespace ICC40::ICC_UNIT {

/// `InputTable33` with a working buffer with 4 samples per pixel, for a grid with 4 outputs.
class InputTable34 : public InputTable33 {
public:
    InputTable34();
    using InputTable33::Conversion;
    int Conversion(Info* info) override;
    std::unique_ptr<unsigned char[]> Buf;  ///< Kept: never assigned
};

/// The same with 6 samples per pixel.
class InputTable36 : public InputTable33 {
public:
    InputTable36();
    using InputTable33::Conversion;
    int Conversion(Info* info) override;
    std::unique_ptr<unsigned char[]> Buf;  ///< Kept: never assigned
};

/// The same with 7 samples per pixel.
class InputTable37 : public InputTable33 {
public:
    InputTable37();
    using InputTable33::Conversion;
    int Conversion(Info* info) override;
    std::unique_ptr<unsigned char[]> Buf;  ///< Kept: never assigned
};

/// Four input curves, evaluated one colour at a time. There is no grid with four inputs, so there is no pixel path.
class InputTable43 : public Base {
public:
    InputTable43();  ///< `Bits` 16, curves all 0

    /// Loads the curves without the identity rule of the other classes. Returns 0.
    int Initial(const ICCFILE::CLut16Type* lut);

    /// Evaluates the curves on a, b, c, d, rounding to nearest.
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;
    int Conversion(unsigned char* data, int count) override;
    int Conversion(Info* info) override;  ///< Kept: does nothing and returns 0

    double LUT_Step = 0;
    int Curve[4][4096];
    int Bits = 16;
};

}  // namespace ICC40::ICC_UNIT
