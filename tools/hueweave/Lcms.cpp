// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "Lcms.h"

#include <algorithm>
#include <iterator>

namespace hueweave::tool {
namespace {

void Silent(cmsContext, cmsUInt32Number, const char*) {}

}  // namespace

LcmsProfile OpenProfile(const Bytes& data) {
    cmsSetLogErrorHandler(Silent);
    if (data.empty()) return nullptr;
    return LcmsProfile(cmsOpenProfileFromMem(data.data(), static_cast<cmsUInt32Number>(data.size())));
}

Bytes SaveProfile(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    Bytes data(size);
    cmsSaveProfileToMem(profile, data.data(), &size);
    constexpr unsigned char kDate[12] = {2000 >> 8, 2000 & 0xff, 0, 1, 0, 1};
    if (data.size() >= 128) std::copy(std::begin(kDate), std::end(kDate), data.begin() + 24);
    return data;
}

bool IsOldScreen(cmsHPROFILE profile) {
    return cmsGetDeviceClass(profile) == cmsSigDisplayClass && cmsGetEncodedICCversion(profile) < 0x4000000;
}

std::string Description(cmsHPROFILE profile) {
    char text[256] = {};
    cmsGetProfileInfoASCII(profile, cmsInfoDescription, "en", "US", text, sizeof text - 1);
    return text;
}

void WriteText(cmsHPROFILE profile, cmsTagSignature tag, const std::string& text) {
    cmsMLU* mlu = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(mlu, "en", "US", text.c_str());
    cmsWriteTag(profile, tag, mlu);
    cmsMLUfree(mlu);
}

std::string SignatureText(std::uint32_t signature) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>(signature >> shift & 0xffU);
        text += c >= 0x20 && c < 0x7f ? c : '?';
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

LcmsTransform DeviceToLab(cmsHPROFILE profile, int intent) {
    // A Lab profile of version 2: with one of version 4, Little CMS compensates for black points by itself.
    const LcmsProfile lab(cmsCreateLab2Profile(nullptr));
    return LcmsTransform(cmsCreateTransform(profile, TYPE_RGB_DBL, lab.get(), TYPE_Lab_DBL,
                                            static_cast<cmsUInt32Number>(intent),
                                            cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
}

}  // namespace hueweave::tool
