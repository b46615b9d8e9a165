// SPDX-License-Identifier: MIT
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

/// Closing a file in write mode would write its directory, which is not wanted; a file in read mode is simply released.
struct TiffCloser {
    void operator()(tiff* handle) const {
        TIFFSetMode(handle, O_RDONLY);
        TIFFClose(handle);
    }
};
using TiffHandle = std::unique_ptr<tiff, TiffCloser>;

/// The first libtiff message that is an error, or a warning that means damage.
struct TiffMessages {
    std::string first;
    std::jmp_buf* opening = nullptr;  ///< jump target if memory runs out while a file is opened

    /// Handlers for TIFFOpenOptions; `user` is a TiffMessages.
    static int Error(tiff* handle, void* user, const char* module, const char* format, std::va_list arguments);
    static int Warning(tiff* handle, void* user, const char* module, const char* format, std::va_list arguments);
};

/// Functions that libtiff calls to access the bytes of a file, and their argument.
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

/// Whether a message of libtiff, or of a coder that it uses, reports a lack of memory.
bool TellsOfNoMemory(std::string_view message);

/// Opens the file behind `calls`. libtiff allocates no block of more than `mostMemory` bytes at once; 0 means no limit.
/// Returns null if the file cannot be opened; `messages` then gives the reason. Throws `std::bad_alloc` if memory runs
/// out.
TiffHandle OpenTiff(const std::string& name, const char* mode, const TiffCalls& calls, TiffMessages& messages,
                    std::uint64_t mostMemory);

}  // namespace hueweave::tool
