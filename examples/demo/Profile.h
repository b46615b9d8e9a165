// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace demo {

/// The ICC profile of the demo's scanner: version 2.4, input class, RGB to Lab, with one "mft2" table of 33 points,
/// 1024-entry input curves and 256-entry output curves for "A2B0" and "A2B1".
std::vector<unsigned char> ScannerProfile();

/// Writes bytes to a file; throws std::runtime_error with its name.
void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes);

}  // namespace demo
