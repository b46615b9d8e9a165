// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <fcntl.h>
#include <tiffio.h>

#include <csetjmp>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace hueweave::tool {

/// Closing a file that is written writes its directory, which nobody wants here; one that is read is just let go.
struct TiffCloser {
    void operator()(tiff* handle) const {
        TIFFSetMode(handle, O_RDONLY);
        TIFFClose(handle);
    }
};
using TiffHandle = std::unique_ptr<tiff, TiffCloser>;

/// The first message of libtiff that means an error, or a warning that means damage.
struct TiffMessages {
    std::string first;
    std::jmp_buf* opening = nullptr;  ///< where a lack of memory is to lead while a file is opened

    /// Handlers for TIFFOpenOptions; `user` is a TiffMessages.
    static int Error(tiff* handle, void* user, const char* module, const char* format, std::va_list arguments);
    static int Warning(tiff* handle, void* user, const char* module, const char* format, std::va_list arguments);
};

/// Calls that libtiff makes for the bytes of a file, and what it is told.
struct TiffCalls {
    thandle_t file;
    TIFFReadWriteProc read, write;
    TIFFSeekProc seek;
    TIFFCloseProc close;
    TIFFSizeProc size;
    TIFFMapFileProc map;      ///< may be null
    TIFFUnmapFileProc unmap;  ///< may be null
    TIFFErrorHandlerExtR warn;
};

/// Whether a message of libtiff or of a coder below it says that memory is short.
bool TellsOfNoMemory(std::string_view message);

/// Opens what `calls` lead to. libtiff allocates no block of more than `mostMemory` bytes at once; 0 sets no limit.
/// Null if it cannot be opened; `messages` then tells why. Throws `std::bad_alloc` where memory runs out.
TiffHandle OpenTiff(const std::string& name, const char* mode, const TiffCalls& calls, TiffMessages& messages,
                    std::uint64_t mostMemory);

}  // namespace hueweave::tool
