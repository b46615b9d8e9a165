// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

namespace ICC40::ICC_UNIT {

/// A tone curve at each of the 65,536 linear values, as samples of 8 or 16 bits.
using ToneTable = int[65536];

void ToneGamma100_8(ToneTable& table);
void ToneGamma100_16(ToneTable& table);  ///< the identity
void ToneGamma180_8(ToneTable& table);
void ToneGamma180_16(ToneTable& table);
void ToneSRGB_8(ToneTable& table);
void ToneSRGB_16(ToneTable& table);

}  // namespace ICC40::ICC_UNIT
