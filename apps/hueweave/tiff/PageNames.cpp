// SPDX-License-Identifier: MIT
#include <tiff.h>

#include "tiff/TiffPage.h"

namespace hueweave::tool {

std::string CompressionName(unsigned compression) {
    switch (compression) {
        case COMPRESSION_NONE:
            return "none";
        case COMPRESSION_LZW:
            return "LZW";
        case COMPRESSION_PACKBITS:
            return "PackBits";
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE:
            return "Deflate";
        case COMPRESSION_LZMA:
            return "LZMA";
        case COMPRESSION_ZSTD:
            return "Zstandard";
        case COMPRESSION_JPEG:
            return "JPEG";
        case COMPRESSION_OJPEG:
            return "old-style JPEG";
        case COMPRESSION_WEBP:
            return "WebP";
        default:
            return "scheme " + std::to_string(compression);
    }
}

std::string PhotometricName(unsigned photometric) {
    switch (photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            return "grey";
        case PHOTOMETRIC_RGB:
            return "RGB";
        case PHOTOMETRIC_PALETTE:
            return "palette";
        case PHOTOMETRIC_MASK:
            return "mask";
        case PHOTOMETRIC_SEPARATED:
            return "CMYK";
        case PHOTOMETRIC_YCBCR:
            return "YCbCr";
        case PHOTOMETRIC_CIELAB:
        case PHOTOMETRIC_ICCLAB:
        case PHOTOMETRIC_ITULAB:
            return "Lab";
        case PHOTOMETRIC_CFA:
            return "camera sensor";
        case PHOTOMETRIC_LOGL:
        case PHOTOMETRIC_LOGLUV:
            return "LogLuv";
        default:
            return "of kind " + std::to_string(photometric);
    }
}

}  // namespace hueweave::tool
