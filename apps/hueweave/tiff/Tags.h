// SPDX-License-Identifier: MIT
#pragma once

#include <tiff.h>

#include <cstdint>

namespace hueweave::tool {

/// Tags that the command reads or writes; all others are copied as bytes.
namespace tag {
inline constexpr std::uint16_t SubfileType = TIFFTAG_SUBFILETYPE;
inline constexpr std::uint16_t Width = TIFFTAG_IMAGEWIDTH;
inline constexpr std::uint16_t Height = TIFFTAG_IMAGELENGTH;
inline constexpr std::uint16_t BitsPerSample = TIFFTAG_BITSPERSAMPLE;
inline constexpr std::uint16_t Compression = TIFFTAG_COMPRESSION;
inline constexpr std::uint16_t Photometric = TIFFTAG_PHOTOMETRIC;
inline constexpr std::uint16_t FillOrder = TIFFTAG_FILLORDER;
inline constexpr std::uint16_t Description = TIFFTAG_IMAGEDESCRIPTION;
inline constexpr std::uint16_t Maker = TIFFTAG_MAKE;
inline constexpr std::uint16_t Model = TIFFTAG_MODEL;
inline constexpr std::uint16_t StripOffsets = TIFFTAG_STRIPOFFSETS;
inline constexpr std::uint16_t Orientation = TIFFTAG_ORIENTATION;
inline constexpr std::uint16_t SamplesPerPixel = TIFFTAG_SAMPLESPERPIXEL;
inline constexpr std::uint16_t RowsPerStrip = TIFFTAG_ROWSPERSTRIP;
inline constexpr std::uint16_t StripByteCounts = TIFFTAG_STRIPBYTECOUNTS;
inline constexpr std::uint16_t MinSampleValue = TIFFTAG_MINSAMPLEVALUE;
inline constexpr std::uint16_t MaxSampleValue = TIFFTAG_MAXSAMPLEVALUE;
inline constexpr std::uint16_t Planar = TIFFTAG_PLANARCONFIG;
inline constexpr std::uint16_t XResolution = TIFFTAG_XRESOLUTION;
inline constexpr std::uint16_t YResolution = TIFFTAG_YRESOLUTION;
inline constexpr std::uint16_t ResolutionUnit = TIFFTAG_RESOLUTIONUNIT;
inline constexpr std::uint16_t GreyUnit = TIFFTAG_GRAYRESPONSEUNIT;
inline constexpr std::uint16_t GreyCurve = TIFFTAG_GRAYRESPONSECURVE;
inline constexpr std::uint16_t TransferFunction = TIFFTAG_TRANSFERFUNCTION;
inline constexpr std::uint16_t Software = TIFFTAG_SOFTWARE;
inline constexpr std::uint16_t Date = TIFFTAG_DATETIME;
inline constexpr std::uint16_t Artist = TIFFTAG_ARTIST;
inline constexpr std::uint16_t Computer = TIFFTAG_HOSTCOMPUTER;
inline constexpr std::uint16_t Predictor = TIFFTAG_PREDICTOR;
inline constexpr std::uint16_t WhitePoint = TIFFTAG_WHITEPOINT;
inline constexpr std::uint16_t Primaries = TIFFTAG_PRIMARYCHROMATICITIES;
inline constexpr std::uint16_t ColourMap = TIFFTAG_COLORMAP;
inline constexpr std::uint16_t HalftoneHints = TIFFTAG_HALFTONEHINTS;
inline constexpr std::uint16_t TileWidth = TIFFTAG_TILEWIDTH;
inline constexpr std::uint16_t TileHeight = TIFFTAG_TILELENGTH;
inline constexpr std::uint16_t TileOffsets = TIFFTAG_TILEOFFSETS;
inline constexpr std::uint16_t TileByteCounts = TIFFTAG_TILEBYTECOUNTS;
inline constexpr std::uint16_t SubIfds = TIFFTAG_SUBIFD;
inline constexpr std::uint16_t InkSet = TIFFTAG_INKSET;
inline constexpr std::uint16_t InkNames = TIFFTAG_INKNAMES;
inline constexpr std::uint16_t NumberOfInks = TIFFTAG_NUMBEROFINKS;
inline constexpr std::uint16_t DotRange = TIFFTAG_DOTRANGE;
inline constexpr std::uint16_t ExtraSamples = TIFFTAG_EXTRASAMPLES;
inline constexpr std::uint16_t SampleFormat = TIFFTAG_SAMPLEFORMAT;
inline constexpr std::uint16_t LeastSample = TIFFTAG_SMINSAMPLEVALUE;
inline constexpr std::uint16_t LargestSample = TIFFTAG_SMAXSAMPLEVALUE;
inline constexpr std::uint16_t JpegTables = TIFFTAG_JPEGTABLES;
inline constexpr std::uint16_t JpegProcess = TIFFTAG_JPEGPROC;
inline constexpr std::uint16_t JpegData = TIFFTAG_JPEGIFOFFSET;
inline constexpr std::uint16_t JpegDataSize = TIFFTAG_JPEGIFBYTECOUNT;
inline constexpr std::uint16_t JpegRestart = TIFFTAG_JPEGRESTARTINTERVAL;
inline constexpr std::uint16_t JpegPredictors = TIFFTAG_JPEGLOSSLESSPREDICTORS;
inline constexpr std::uint16_t JpegPointTransforms = TIFFTAG_JPEGPOINTTRANSFORM;
inline constexpr std::uint16_t JpegQuantisation = TIFFTAG_JPEGQTABLES;
inline constexpr std::uint16_t JpegDc = TIFFTAG_JPEGDCTABLES;
inline constexpr std::uint16_t JpegAc = TIFFTAG_JPEGACTABLES;
inline constexpr std::uint16_t YCbCrCoefficients = TIFFTAG_YCBCRCOEFFICIENTS;
inline constexpr std::uint16_t YCbCrSubSampling = TIFFTAG_YCBCRSUBSAMPLING;
inline constexpr std::uint16_t YCbCrPositioning = TIFFTAG_YCBCRPOSITIONING;
inline constexpr std::uint16_t ReferenceBlackWhite = TIFFTAG_REFERENCEBLACKWHITE;
inline constexpr std::uint16_t Xmp = TIFFTAG_XMLPACKET;
inline constexpr std::uint16_t DataType = TIFFTAG_DATATYPE;
inline constexpr std::uint16_t Depth = TIFFTAG_IMAGEDEPTH;
inline constexpr std::uint16_t TileDepth = TIFFTAG_TILEDEPTH;
inline constexpr std::uint16_t Copyright = TIFFTAG_COPYRIGHT;
inline constexpr std::uint16_t PhotoshopResources = TIFFTAG_PHOTOSHOP;
inline constexpr std::uint16_t ExifIfd = TIFFTAG_EXIFIFD;
inline constexpr std::uint16_t IccProfile = TIFFTAG_ICCPROFILE;
inline constexpr std::uint16_t GpsIfd = TIFFTAG_GPSIFD;
inline constexpr std::uint16_t PhotoshopLayers = TIFFTAG_IMAGESOURCEDATA;
inline constexpr std::uint16_t MakerNote = EXIFTAG_MAKERNOTE;
inline constexpr std::uint16_t ExifColorSpace = EXIFTAG_COLORSPACE;
inline constexpr std::uint16_t InteroperabilityIfd = TIFFTAG_INTEROPERABILITYIFD;
}  // namespace tag

/// Field types that the command reads or writes.
namespace type {
inline constexpr std::uint16_t Byte = TIFF_BYTE;
inline constexpr std::uint16_t Short = TIFF_SHORT;
inline constexpr std::uint16_t Long = TIFF_LONG;
inline constexpr std::uint16_t Rational = TIFF_RATIONAL;
inline constexpr std::uint16_t Undefined = TIFF_UNDEFINED;
inline constexpr std::uint16_t Ifd = TIFF_IFD;
inline constexpr std::uint16_t Long8 = TIFF_LONG8;
inline constexpr std::uint16_t Ifd8 = TIFF_IFD8;
}  // namespace type

}  // namespace hueweave::tool
