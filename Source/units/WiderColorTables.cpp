// SPDX-License-Identifier: MIT
#include "units/WiderColorTables.h"

#include <algorithm>

#include "units/WorkingPixels.h"

namespace ICC40::ICC_UNIT {
namespace {

/// Converts each pixel with the unit's interpolation through seven local values, of which the first three are the
/// input, and writes back `channels` results.
void ConvertWorkingBuffer(ColorTable33& grid, Info* info, int channels) {
    const int pixels = WorkingPixels(*info, channels);
    unsigned short* pixel = info->WorkBuf.get();
    for (int p = 0; p < pixels; ++p, pixel += channels) {
        unsigned short v[7] = {pixel[0], pixel[1], pixel[2]};
        grid.Conversion(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
        std::copy_n(v, channels, pixel);
    }
}

}  // namespace

ColorTable34::ColorTable34() : ColorTable33("ColorTable34") {}
ColorTable36::ColorTable36() : ColorTable33("ColorTable36") {}
ColorTable37::ColorTable37() : ColorTable33("ColorTable37") {}

int ColorTable34::Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d,
                             unsigned short& e, unsigned short& f, unsigned short& g) {
    Interpolate({&a, &b, &c, &d, &e, &f, &g}, 4);
    return 0;
}

int ColorTable36::Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d,
                             unsigned short& e, unsigned short& f, unsigned short& g) {
    Interpolate({&a, &b, &c, &d, &e, &f, &g}, 6);
    return 0;
}

int ColorTable37::Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d,
                             unsigned short& e, unsigned short& f, unsigned short& g) {
    Interpolate({&a, &b, &c, &d, &e, &f, &g}, 7);
    return 0;
}

int ColorTable34::Conversion(Info* info) {
    ConvertWorkingBuffer(*this, info, 4);
    return 0;
}
int ColorTable36::Conversion(Info* info) {
    ConvertWorkingBuffer(*this, info, 6);
    return 0;
}
int ColorTable37::Conversion(Info* info) {
    ConvertWorkingBuffer(*this, info, 7);
    return 0;
}

}  // namespace ICC40::ICC_UNIT
