// SPDX-License-Identifier: MIT
#pragma once

#include <array>

namespace demo {

/// Three values: red, green, blue or L*, a*, b*.
using Triple = std::array<double, 3>;

/// The scanner of the demo: its filters overlap, its lamp is greenish, and each channel has its own tone curve. All
/// values except Lab are on a scale of 0 to 1.

/// The scanner values of a scene colour in linear sRGB.
Triple DeviceOfScene(const Triple& linear);
/// The linear sRGB colour for which the scanner gives `device`; outside 0..1 if there is no such colour.
Triple SceneOfDevice(const Triple& device);
/// The scanner value of one channel without its tone curve, 0 to 1.
double Linearised(int channel, double device);
/// The inverse.
double Stored(int channel, double linear);
/// The response of the scanner's filters to a scene colour, and the inverse.
Triple FilteredOfScene(const Triple& linear);
Triple SceneOfFiltered(const Triple& filtered);
/// CIE Lab for D50 of a linear sRGB colour.
Triple LabOfScene(const Triple& linear);
/// Converts an sRGB value (0..1, with its tone curve) to a linear one, and back.
double LinearOfSRGB(double encoded);
double SRGBOfLinear(double linear);

}  // namespace demo
