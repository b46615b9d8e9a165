// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>
#include <vector>

#include "colour/chart/Cgats.h"

namespace hueweave::colour {

using Triple = std::array<double, 3>;

struct Patch {
    std::string name;
    Triple device;     ///< RGB, 0 to 1
    Triple reference;  ///< measured XYZ under D50; Y is 1 for the perfect diffuser
};

struct Chart {
    std::vector<Patch> patches;
    std::size_t left = 0;  ///< patches of the reference or the scan that the other does not have
};

/// The device colours of each row: RGB_R, RGB_G and RGB_B, of 100 as in a .ti3 file, or of 255 as in a .val file.
/// Throws a ChartError if there are none, as do the other functions.
std::vector<Triple> ReadDeviceColours(const CgatsTable& table);
/// The measured colours of each row: XYZ of 100 or Lab. If there are both, XYZ, which scanin prefers, unless COLOR_REP
/// says otherwise.
std::vector<Triple> ReadReferenceColours(const CgatsTable& table);

/// The chart in one table with both.
Chart MakeChart(const CgatsTable& table);
/// The patches that a reference and a scan have in common, by the names in SAMPLE_ID, SAMPLE_LOC or SAMPLE_NAME,
/// whichever give the most. A1 and A01 are the same name. Throws a ChartError about the scan.
Chart JoinCharts(const CgatsTable& reference, const std::vector<Triple>& colours, const CgatsTable& scan);

}  // namespace hueweave::colour
