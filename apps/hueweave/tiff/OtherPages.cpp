// SPDX-License-Identifier: MIT
#include "tiff/OtherPages.h"

#include <tiff.h>

#include <algorithm>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

/// How a page of a kind that cannot be converted becomes RGB. libtiff decodes some of these kinds.
const char* RemedyFor(const TiffPage& page) {
    switch (page.photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
        case PHOTOMETRIC_LOGL:
        case PHOTOMETRIC_LOGLUV:
            return "write it as RGB first, for example with tiff2rgba -n in.tif out.tif";
        case PHOTOMETRIC_CFA:
            return "develop it with a raw converter first";
        default:
            return "give an RGB file";
    }
}

}  // namespace

void RefuseOthers(const std::string& name, const std::vector<TiffPage>& pages) {
    const auto first =
        std::find_if(pages.begin(), pages.end(), [](const TiffPage& page) { return page.other != TiffPage::kMask; });
    if (first == pages.end()) {
        throw Refusal(Exit::Input, name, "contains only transparency masks", "give an RGB file")
            .OfKind({"masks", "transparency masks only", true});
    }
    if (first->whyNot) throw *first->whyNot;
    const std::string where = first->label.empty() ? "" : first->label + " ";
    if (first->other == TiffPage::kUnstated) {
        throw Refusal(Exit::Input, name, where + "does not state its photometric interpretation",
                      "get a complete copy of the file");
    }
    const std::string pixels = first->other + " pixels, not RGB";
    throw Refusal(Exit::Input, name, where + "holds " + pixels, RemedyFor(*first)).OfKind({first->other, pixels, true});
}

}  // namespace hueweave::tool
