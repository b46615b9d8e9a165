// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "report/ReportData.h"

namespace hueweave::tool {

/// The page, complete. It needs no other file and makes no request.
std::string MakePage(const ReportData& data);

/// Parts of the page that are made when the command is built.
struct PageAssets {
    std::string_view skeleton, style, script, licences;
};
PageAssets Assets();

}  // namespace hueweave::tool
