// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

namespace ICC40::ICC_UNIT {

// Tone curves at each of the 65,536 linear values, as samples of 8 or 16 bits; `table` has room for them.

void ToneGamma100_8(int* table);
void ToneGamma100_16(int* table);  ///< the identity
void ToneGamma180_8(int* table);
void ToneGamma180_16(int* table);
void ToneSRGB_8(int* table);
void ToneSRGB_16(int* table);

}  // namespace ICC40::ICC_UNIT
