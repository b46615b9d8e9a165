// SPDX-License-Identifier: MIT
// In all units, a curve is a list of points given by a profile or a caller and interpolated linearly. The tone is what
// an output space applies to linear light. A table contains the values of a curve or a tone at all 65,536 positions.
//
// This file evaluates the curves of a profile at single values, with the same results as the input and output units,
// for callers that do not need the expansion to all 65,536 values.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "base/Numeric.h"
#include "iccfile/LutTags.h"
#include "units/CurveEvaluation.h"

namespace ICC40::ICC_UNIT {

/// The tables of an `InputTable33`, before any reduction to 8 bits. The table must be `Usable` and outlive this.
class LutInputCurves {
public:
    explicit LutInputCurves(const ICCFILE::CLut16Type& lut)
        : curves_(lut.inputTable.get()), channels_(lut.inputChan), entries_(lut.inputEnt) {
        // Kept: two entries are treated as the identity, even if they do not run from 0 to 65535.
        if (entries_ <= 2) return;
        identity_ = false;
        step_ = 65535.0 / (entries_ - 1);
    }

    /// The three channels at one sample; 0 for a channel that the table lacks.
    void At(int sample, unsigned short (&values)[3]) const;
    /// The same at all 65,536 samples: one array per channel.
    void Expand(unsigned short* const (&tables)[3]) const;

private:
    unsigned short Last(int channel) const { return curves_[channel * entries_ + entries_ - 1]; }
    unsigned short Between(int channel, unsigned short sample) const {
        const std::span curve(curves_ + channel * entries_, static_cast<std::size_t>(entries_));
        return EvaluateInputCurve(curve, step_, sample);
    }

    const std::uint16_t* curves_;
    int channels_, entries_;
    bool identity_ = true;
    double step_ = 0;  ///< unused for the identity
};

/// The first three tables of an `OutputTable33`.
class LutOutputCurves {
public:
    explicit LutOutputCurves(const ICCFILE::CLut16Type& lut);
    /// Replaces the first `count` points, at most 256, by those of byte curves, and treats all as curves of 256 points
    /// that end in white, as the unit does with a caller's curves.
    void Overlay(const unsigned char* const (&points)[3], int count);

    int At(int channel, int value) const {
        return value == 65535 ? top_[channel] : EvaluateOutputCurve(table_->curve[channel], step_, span_, value);
    }

private:
    struct Table {
        int curve[3][4096];
    };
    std::unique_ptr<Table> table_ = std::make_unique<Table>();
    double step_, span_;
    int top_[3];
};

}  // namespace ICC40::ICC_UNIT
