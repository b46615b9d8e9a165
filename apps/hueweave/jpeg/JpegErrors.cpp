// SPDX-License-Identifier: MIT
#include "jpeg/JpegErrors.h"

#include <jerror.h>

#include <algorithm>
#include <iterator>
#include <new>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

/// Errors about images that are sound.
constexpr int kUnsupported[] = {JERR_FRACT_SAMPLE_NOTIMPL, JERR_CCIR601_NOTIMPL, JERR_CONVERSION_NOTIMPL,
                                JERR_IMAGE_TOO_BIG,        JERR_NOT_COMPILED,    JERR_ARITH_NOTIMPL,
                                JERR_SOF_UNSUPPORTED,      JERR_BAD_SAMPLING};

JpegErrors& Of(j_common_ptr common) { return *reinterpret_cast<JpegErrors*>(common->err); }

void Note(j_common_ptr common) {
    JpegErrors& errors = Of(common);
    if (errors.message[0] == 0) common->err->format_message(common, errors.message);
}

[[noreturn]] void OnError(j_common_ptr common) {
    const int code = common->err->msg_code;
    Of(common).isNoMemory = code == JERR_OUT_OF_MEMORY;
    Of(common).isUnsupported =
        std::find(std::begin(kUnsupported), std::end(kUnsupported), code) != std::end(kUnsupported);
    Note(common);
    std::longjmp(Of(common).out, 1);
}

/// Warnings, which have a negative level, mean damage: libjpeg fills what is missing with grey.
void OnMessage(j_common_ptr common, int level) {
    if (level < 0) Note(common);
}

}  // namespace

JpegErrors::JpegErrors() {
    jpeg_std_error(&manager);
    manager.error_exit = OnError;
    manager.emit_message = OnMessage;
}

void JpegErrors::Throw(const std::string& name) const {
    if (failure) std::rethrow_exception(failure);
    if (isNoMemory) throw std::bad_alloc();
    if (isUnsupported) {
        throw Refusal(Exit::Input, name,
                      "is a kind of JPEG that libjpeg does not support (" + std::string(message) + ")",
                      "write it as TIFF or PNG");
    }
    throw Refusal(Exit::Input, name, "contains damaged image data (" + std::string(message) + ")",
                  "get a complete copy of the file");
}

void LeaveCallback(j_common_ptr common) { std::longjmp(Of(common).out, 1); }

}  // namespace hueweave::tool
