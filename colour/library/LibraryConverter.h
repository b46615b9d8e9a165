// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "colour/base/Bytes.h"
#include "colour/base/RgbConverter.h"
#include "colour/library/PackedTables.h"
#include "colour/library/Rendering.h"

namespace ICC40::ICC_ENG_S4 {
class CIccEngineS;
}

namespace hueweave::colour {

/// Converts pixels with an engine.
class LibraryConverter : public RgbConverter {
public:
    /// `profile` must be supported by the engine, and the space one of the engine's. `bits` is 8 or 16. Throws a
    /// ProfileError for what the engine refuses.
    LibraryConverter(const Bytes& profile, const Rendering& rendering, unsigned bits);
    ~LibraryConverter() override;

    void Convert(unsigned char* rgb, std::size_t pixels) const override;
    unsigned bits() const override { return bits_; }
    /// What the engine can produce.
    Range range() const override { return range_; }
    /// The profile of the result; empty if no profile can describe it.
    Bytes OutputProfile() const;

private:
    void ConvertRun(unsigned char* rgb, std::size_t pixels) const;
    void MapWide(unsigned char* rgb, std::size_t pixels) const;

    Rendering rendering_;
    unsigned bits_;
    std::unique_ptr<ICC40::ICC_ENG_S4::CIccEngineS> engine_;
    std::unique_ptr<const PackedTables> packed_;  ///< null where the engine converts the pixels
    std::vector<std::uint16_t> map_;              ///< maps the engine's samples to those of the space, if they differ
    Range range_{};
};

}  // namespace hueweave::colour
