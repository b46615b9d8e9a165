// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>

namespace demo {

/// Three values, red, green, blue or L*, a*, b*.
using Triple = std::array<double, 3>;

/// The scanner of the demonstration: it sees a scene through overlapping filters under a greenish lamp and stores
/// what it sees with a tone curve of its own for each channel. Everything is on a scale of 0 to 1 but Lab.

/// What the scanner stores for a scene colour in linear sRGB.
Triple DeviceOfScene(const Triple& linear);
/// The linear sRGB colour that makes the scanner store `device`; outside 0..1 where no such colour exists.
Triple SceneOfDevice(const Triple& device);
/// The stored value of one channel without its tone curve, 0 to 1.
double Linearised(int channel, double device);
/// The same back.
double Stored(int channel, double linear);
/// What the scanner's filters make of a scene colour, and back.
Triple FilteredOfScene(const Triple& linear);
Triple SceneOfFiltered(const Triple& filtered);
/// CIE Lab under D50 of a linear sRGB colour.
Triple LabOfScene(const Triple& linear);
/// An sRGB value (0..1, with its tone curve) as a linear one, and back.
double LinearOfSRGB(double encoded);
double SRGBOfLinear(double linear);

}  // namespace demo
