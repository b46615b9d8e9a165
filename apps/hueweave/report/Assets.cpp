// SPDX-License-Identifier: MIT
// The files that the build makes from page/, as bytes of the program. A literal of their size would exceed what
// compilers have to accept.
#include "report/Page.h"

#define HUEWEAVE_ASSET(name, file)                                                      \
    __asm__(".section .rodata\n.global hueweave_asset_" #name "\nhueweave_asset_" #name \
            ":\n.incbin \"" HUEWEAVE_REPORT_ASSETS "/" file                             \
            "\"\n"                                                                      \
            ".global hueweave_asset_" #name "_end\nhueweave_asset_" #name               \
            "_end:\n"                                                                   \
            ".byte 0\n.previous\n");                                                    \
    extern "C" const char hueweave_asset_##name[], hueweave_asset_##name##_end[];

HUEWEAVE_ASSET(skeleton, "page.html")
HUEWEAVE_ASSET(style, "report.css")
HUEWEAVE_ASSET(script, "report.js")
HUEWEAVE_ASSET(licences, "licences.txt")

namespace hueweave::tool {
namespace {

std::string_view Between(const char* begin, const char* end) { return {begin, static_cast<std::size_t>(end - begin)}; }

}  // namespace

PageAssets Assets() {
    return {Between(hueweave_asset_skeleton, hueweave_asset_skeleton_end),
            Between(hueweave_asset_style, hueweave_asset_style_end),
            Between(hueweave_asset_script, hueweave_asset_script_end),
            Between(hueweave_asset_licences, hueweave_asset_licences_end)};
}

}  // namespace hueweave::tool
