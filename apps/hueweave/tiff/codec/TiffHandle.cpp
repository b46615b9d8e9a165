// SPDX-License-Identifier: MIT
#include "tiff/codec/TiffHandle.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <limits>
#include <new>
#include <string_view>

namespace hueweave::tool {
namespace {

struct OptionsCloser {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

/// Whether a warning of libtiff means damage. The JPEG decoder continues with grey if data are missing, and the
/// PackBits decoder drops data beyond the end of a strip.
bool IsDamage(std::string_view module, std::string_view format) {
    // Some programs fill the last strip up to the height of the others.
    if (format.starts_with("JPEG strip size exceeds expected dimensions")) return false;
    // "LibJpeg" is the decoder of old-style JPEG.
    return module.starts_with("JPEG") || module.starts_with("PackBits") || module.starts_with("LibJpeg");
}

int Note(std::string& first, const char* format, std::va_list arguments) {
    if (!first.empty()) return 1;
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    try {
        first = text;
    } catch (const std::bad_alloc&) {
        first = "no memory";  // short enough to need no allocation; exceptions must not pass through libtiff
    }
    return 1;
}

/// Null without a message if memory ran out. The little memory that libtiff had allocated is lost, because the
/// incomplete handle cannot be closed. The jump passes no object with a destructor.
tiff* OpenOrLeave(const char* name, const char* mode, const TiffCalls& calls, TiffMessages& messages,
                  TIFFOpenOptions* options) {
    std::jmp_buf out;
    if (setjmp(out) != 0) return nullptr;
    messages.opening = &out;
    return TIFFClientOpenExt(name, mode, calls.file, calls.read, calls.write, calls.seek, calls.close, calls.size,
                             calls.map, calls.unmap, options);
}

}  // namespace

int TiffMessages::Error(tiff*, void* user, const char*, const char* format, std::va_list arguments) {
    auto& messages = *static_cast<TiffMessages*>(user);
    // libtiff would search its list of tags, for which there was no memory.
    const bool noMemory = std::string_view(format).starts_with("Failed to allocate");
    if (noMemory && messages.opening != nullptr) std::longjmp(*messages.opening, 1);
    return Note(messages.first, format, arguments);
}

int TiffMessages::Warning(tiff*, void* user, const char* module, const char* format, std::va_list arguments) {
    if (module == nullptr || !IsDamage(module, format)) return 1;
    return Note(static_cast<TiffMessages*>(user)->first, format, arguments);
}

bool TellsOfNoMemory(std::string_view message) {
    // An allocation beyond our limit means a damaged file, and so does a Zstandard window beyond the limit of libzstd.
    for (const char* fault : {"limit", "too much memory"}) {
        if (message.find(fault) != message.npos) return false;
    }
    constexpr std::string_view kParts[] = {"emory", "No space for", "llocat", "malloc(", "tif_map_dir"};
    return std::any_of(std::begin(kParts), std::end(kParts),
                       [&](std::string_view part) { return message.find(part) != message.npos; });
}

TiffHandle OpenTiff(const std::string& name, const char* mode, const TiffCalls& calls, TiffMessages& messages,
                    std::uint64_t mostMemory) {
    const std::unique_ptr<TIFFOpenOptions, OptionsCloser> options(TIFFOpenOptionsAlloc());
    if (options == nullptr) throw std::bad_alloc();
    constexpr std::uint64_t kMostBytes = std::numeric_limits<tmsize_t>::max();
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(std::min(mostMemory, kMostBytes)));
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), TiffMessages::Error, &messages);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), calls.warn, &messages);
    tiff* const handle = OpenOrLeave(name.c_str(), mode, calls, messages, options.get());
    messages.opening = nullptr;
    if (handle == nullptr && messages.first.empty()) throw std::bad_alloc();
    return TiffHandle(handle);
}

}  // namespace hueweave::tool
