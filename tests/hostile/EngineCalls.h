// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "hueweave/hueweave.h"

namespace hueweave::test {

/// The five functions of one engine.
struct EngineCalls {
    decltype(&Orvix_Icc_SetProfile) SetProfile;
    decltype(&Orvix_Icc_SetIntent) SetIntent;
    decltype(&Orvix_Icc_Adjust) Adjust;
    decltype(&Orvix_Icc_Convert2) Convert2;
    decltype(&Orvix_Icc_ConvertFile) ConvertFile;
};
inline constexpr EngineCalls kEngines[] = {
    {Orvix_Icc_SetProfile, Orvix_Icc_SetIntent, Orvix_Icc_Adjust, Orvix_Icc_Convert2, Orvix_Icc_ConvertFile},
    {Orvix_Icc_SetProfile_2nd, Orvix_Icc_SetIntent_2nd, Orvix_Icc_Adjust_2nd, Orvix_Icc_Convert2_2nd,
     Orvix_Icc_ConvertFile_2nd},
    {Orvix_Icc_SetProfile_3rd, Orvix_Icc_SetIntent_3rd, Orvix_Icc_Adjust_3rd, Orvix_Icc_Convert2_3rd,
     Orvix_Icc_ConvertFile_3rd}};

}  // namespace hueweave::test
