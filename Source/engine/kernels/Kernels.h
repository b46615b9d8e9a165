// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

namespace ICC40::ICC_ENG_S4 {

/// One tetrahedron of one cell: for each output channel the constant and the weights of the three fractions.
using Record = std::int32_t[3][4];

/// The tables of an engine for the pixel loops; not owned.
struct Stages {
    const std::uint32_t* in[3];   ///< cell index << 16 | 12-bit fraction; 256 or 65536 entries
    const Record* grid;           ///< six for each of the 4096 cells
    const std::uint32_t* out[3];  ///< 65536 entries
};

/// Converts `pixels` interleaved RGB pixels with samples in the machine's byte order at any address. A number below 1
/// converts nothing. `dest` may be `source` or lie before it, but must not start inside the source pixels, because a
/// loop reads many pixels before it writes them.
using PixelLoop = void (*)(const Stages& stages, const unsigned char* source, unsigned char* dest, std::int64_t pixels);

/// The pixel loops of one instruction set.
struct Kernel {
    const char* name;
    PixelLoop bytes;  ///< 8-bit samples
    PixelLoop words;  ///< 16-bit samples
};

/// The loop that defines the results, one pixel at a time: `dest` may be anywhere. All other loops give the same
/// result.
extern const Kernel kPlainKernel;

/// The kernels that this processor supports, slowest first, starting with `kPlainKernel`.
std::span<const Kernel* const> Kernels();

}  // namespace ICC40::ICC_ENG_S4
