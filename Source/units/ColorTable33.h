// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <memory>

#include "iccfile/LutTags.h"
#include "units/Base.h"
#include "units/Info.h"

namespace ICC40::ICC_UNIT {

class OutputTable33;

/// The CLUT of a profile as a cube of nodes, with tetrahedral interpolation between them.
///
/// A node always has seven signed values, whatever the number of channels. A grid with fewer than 33 points occupies
/// the low corner of the array with the same strides. The first input axis varies slowest.
class ColorTable33 : public Base {
public:
    static constexpr int LUT_Size33 = 33;  ///< extent of each axis of `Color`
    static constexpr int LUT_Cell = 2048;  ///< width of a cell in 16-bit units at 33 points: 65536 / 32

    /// No nodes are loaded; all values are 0, including those of unused channels.
    ColorTable33();

    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;  ///< integer interpolation; 9, 17 or 33 points
    int Conversion(unsigned char* data, int count) override;
    int Conversion(Info* info) override;  ///< the working buffer in place, three samples per pixel; returns 0
    /// Loads the grid of `lut` (borrowed; must be `Usable`). Grids of 9, 17 and 33 points keep their size, all
    /// others are resampled to 17. Returns 0.
    virtual int Initial(const ICCFILE::CLut16Type* lut);

    /// Loads `size` cubed nodes of seven values. Kept: sets neither `LUT_Step`, `LUT_Pos` nor the channel counts, so
    /// only integer interpolation can be used afterwards. A size outside 0 to 33 loads nothing. Returns 0.
    int SetColorTable(const int* nodes, int size);
    /// Floating interpolation of all seven channels at a position in 0..65535, for any grid size.
    void Conversion(int& a, int& b, int& c, int& d, int& e, int& f, int& g) const;

    /// Resamples to `size` points per axis; a size outside 2 to 33 changes nothing. Returns 0.
    int TableResize(int size);
    /// Shifts every node, read as 16-bit Lab, by offsets in L*, C* and degrees. Kept: limits C* to 100 even if all
    /// three are 0. Returns 0.
    int Adjust_Lch(double lightness, double chroma, double hue);
    /// Applies the output curves of `lut` to every node and converts it from Lab to linear RGB with the primaries of
    /// `space`, 0 to 65280 in steps of 256. `white` may be null. Returns the same as the next function.
    int Lab2RGB100_16(const ICCFILE::CLut16Type* lut, ICCFILE::ColorSpaceSignature space,
                      const ICCFILE::CXYZType* white);
    /// The same with a filled output table. Returns 21, 25, 31 (Kept: not 29) for the AdobeRGB, AppleRGB and
    /// ColorMatchRGB families, else `space`.
    int Lab2RGB100_16_1D(const OutputTable33* table, ICCFILE::ColorSpaceSignature space,
                         const ICCFILE::CXYZType* white);

    std::unique_ptr<int[]> LUT_Pos;  ///< position of each node on an axis in 16-bit units; null until `Initial`
    double LUT_Step = 0;             ///< distance between nodes: 65536.0 / (LUT_Size - 1)
    int LUT_Shift = 11;              ///< bits below the cell index: 11, 12, 13
    int LUT_Mask = 2047;             ///< (1 << LUT_Shift) - 1
    int LUT_Size = 0;                ///< points on each axis
    int InChannels = 0;
    int OutChannels = 0;
    int Color[LUT_Size33][LUT_Size33][LUT_Size33][7];

protected:
    explicit ColorTable33(const char* name);
    using Samples = std::array<unsigned short*, 7>;
    /// Integer interpolation at the position given by the first three samples, which are read before the first
    /// `channels` samples are overwritten.
    void Interpolate(const Samples& samples, int channels) const;

private:
    struct AxisPoint {
        int node;
        double fraction;
    };
    /// The node at or below a position, which is limited to 0..65535, and the distance from it; `LUT_Pos` must be set.
    AxisPoint FindOnAxis(int position) const;
    void InterpolateAt(const AxisPoint& x, const AxisPoint& y, const AxisPoint& z, int (&values)[7]) const;
    void SetSize(int size);
};

}  // namespace ICC40::ICC_UNIT
