// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "iccfile/IccFile4.h"
#include "iccfile/LutTags.h"
#include "units/Info.h"

namespace ICC40::ICC_ENG_S4 {

/// The colour engine: one device profile, one intent, one input encoding and one output space, with the tables that
/// convert pixels.
///
/// An engine takes nearly 2 MB and must be in static or heap memory, never on a stack. It may be used by one thread at
/// a time, except that several threads may convert pixels while none builds.
///
/// `Unit.OutputSpace` is the status of the engine: 65535 means that it cannot convert.
class CIccEngineS {
public:
    static constexpr int kCells = 16;  ///< cells per axis of the grid

    CIccEngineS();
    CIccEngineS(const CIccEngineS&) = delete;
    CIccEngineS& operator=(const CIccEngineS&) = delete;
    virtual ~CIccEngineS();

    /// Frees the input tables and resets the job; grid, output tables and `File` do not change.
    void Reset();

    /// Binds a profile. Returns 0, 65530 (input encoding) or 65531 (file); also 0 if no table could be built.
    int SetProfile(const char* profile, ICCFILE::Intent intent, ICCFILE::ColorSpaceSignature input,
                   ICCFILE::ColorSpaceSignature output, double lightness, double chroma, double hue);
    /// The same; `second` is ignored.
    int SetProfile(const char* profile, const char* second, ICCFILE::Intent intent, ICCFILE::ColorSpaceSignature input,
                   ICCFILE::ColorSpaceSignature output, double lightness, double chroma, double hue);
    /// The same for a profile in memory (borrowed, and not from `File`), as for a file with these bytes. Since it has
    /// no name to compare, every call reads it, and the next profile is read as well.
    int SetProfile(std::span<const unsigned char> profile, ICCFILE::Intent intent, ICCFILE::ColorSpaceSignature input,
                   ICCFILE::ColorSpaceSignature output, double lightness, double chroma, double hue);
    /// Whether there are tables to convert with. After `SetProfile`, whether they could be built.
    bool Ready() const { return Unit.OutputSpace != ICC_UNIT::kNoSpace && InEntries != 0; }
    /// Rebuilds the tables for the bound profile. Kept: the three adjustments are ignored, the stored ones are used,
    /// and the input encoding is not checked. Returns the output space, or 65535.
    int SetIntent(ICCFILE::Intent intent, ICCFILE::ColorSpaceSignature input, ICCFILE::ColorSpaceSignature output,
                  double lightness, double chroma, double hue);
    /// Returns 65535 without a profile, else the same as `InputColorSpace2RGB`.
    int ConstructEngine(double lightness, double chroma, double hue);
    /// Builds all three stages. Returns the resulting output space, or 65535.
    int InputColorSpace2RGB(double lightness, double chroma, double hue);
    /// Rebuilds the grid if the integer part of an offset (L*, C*, degrees) changed. Returns the output space, or 65535
    /// if the profile has no usable table.
    int Adjust_Lch(double lightness, double chroma, double hue);
    /// Replaces the output stage by three curves of `count` bytes (borrowed); a null array or a count of 0 changes
    /// nothing. Returns the same as `Adjust_Lch`.
    int Adjust_Output(const unsigned char* red, const unsigned char* green, const unsigned char* blue, int count);
    /// The table of the intent, or null; owned by `File`.
    ICCFILE::iccTagBase* GetMft2();
    int Initial(int);        ///< Kept: not implemented, returns 65533
    int DeleteWorkingBuf();  ///< Kept: not implemented, returns 65533

    void Set1DLutIn(const ICCFILE::CLut16Type* lut);  ///< the packed input tables
    void Set3DLut(const ICCFILE::CLut16Type* lut, double lightness, double chroma, double hue);  ///< the grid
    /// The output tables of the output space; an unsupported one sets `OutputSpace` and `BuildResult` to 65535 and
    /// leaves identity tables. `lut` is not read.
    void Set1DLutOut(const ICCFILE::CLut16Type* lut);

    /// Converts 16-bit pixels from `source` to `dest`, which may be the same. Returns 0.
    int Conversion(unsigned short* source, unsigned short* dest, int pixels) const;
    /// According to the input encoding, converts 16-bit pixels as above (without alignment requirements), or 8-bit
    /// pixels in `source`. Kept: 8-bit pixels are converted in place; `dest` is neither read nor written. Returns 0.
    int Conversion(unsigned char* source, unsigned char* dest, int pixels) const;
    int Conversion(unsigned char* source, unsigned short* dest, int pixels) const;  ///< Kept: does nothing, returns 0
    /// Converts a TIFF file; prints three lines. Returns 0.
    int Conversion(const char* source, const char* dest) const;

    ICC_UNIT::Info Unit;
    ICCFILE::IccFile4 File;
    /// Packed input tables: cell index << 16 | 12-bit fraction, `InEntries` entries each.
    std::unique_ptr<std::uint32_t[]> Lut1DInR;
    std::unique_ptr<std::uint32_t[]> Lut1DInG;
    std::unique_ptr<std::uint32_t[]> Lut1DInB;
    /// For each cell (red index slowest) and tetrahedron, for each output channel: constant, red, green, blue.
    std::int32_t Lut3D[kCells * kCells * kCells][6][3][4];
    std::uint32_t Lut1DOutR[65536];
    std::uint32_t Lut1DOutG[65536];
    std::uint32_t Lut1DOutB[65536];
    std::int32_t Shift = 12;     ///< fraction bits of the input tables
    std::int32_t InEntries = 0;  ///< 0, 256 or 65536

private:
    /// Marks the engine as unable to convert: sets `OutputSpace` and `BuildResult` to 65535. Returns 65535.
    int Refuse();
    /// Calls `build` with the table of the intent as a `CLut16Type` and returns the output space. Without a table,
    /// returns 65535 and changes nothing; refuses a table that the units cannot use. If memory runs out, refuses and
    /// rethrows the exception. See Rebuild.h.
    template <typename Build>
    int Rebuild(const Build& build);
    struct Job {
        ICCFILE::Intent intent;
        ICCFILE::ColorSpaceSignature input, output;
        double lightness, chroma, hue;
    };
    /// Implements `SetProfile` for a path or for bytes. If memory runs out, refuses and rethrows the exception.
    template <typename Profile>
    int BindOrRefuse(Profile profile, const Job& job);
    /// The same; an exception leaves the engine partially bound.
    template <typename Profile>
    int Bind(Profile profile, const Job& job);
    /// Stores which profile is bound. Returns whether it may differ from the previous one.
    bool Remember(const char* path);
    bool Remember(std::span<const unsigned char> profile);
    /// Converts 16-bit pixels at any address; does nothing if the tables are not those of the 16-bit path.
    void ConvertWide(const unsigned char* source, unsigned char* dest, int pixels) const;
    /// Builds all three stages from one table.
    void BuildStages(const ICCFILE::CLut16Type& lut, double lightness, double chroma, double hue);

    bool nameless_ = false;  ///< the profile is from memory
};

}  // namespace ICC40::ICC_ENG_S4
