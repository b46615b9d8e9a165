// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>
#include <vector>

namespace demo {

/// The bytes of an ICC profile of the demonstration's scanner: version 2.4, input class, RGB to Lab, one "mft2"
/// table of 33 points with 1024-entry input and 256-entry output curves, under "A2B0" and "A2B1".
std::vector<unsigned char> ScannerProfile();

/// Writes bytes to a file; throws std::runtime_error with its name.
void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes);

}  // namespace demo
