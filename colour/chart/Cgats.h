// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace hueweave::colour {

/// A chart that cannot be used. what() is the reason, such as "has no patches". The caller knows the name of the file
/// and what to do about it.
class ChartError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The first table of a CGATS text, such as a .ti3, .cie, .it8 or .val file. Borrows the text.
struct CgatsTable {
    std::string_view kind;                 ///< the first word, such as "CTI3" or "IT8.7/2"
    std::string_view colours;              ///< the keyword COLOR_REP, such as "XYZ_RGB"; may be empty
    std::vector<std::string_view> fields;  ///< names of the columns, at least one
    std::vector<std::string_view> values;  ///< row by row

    std::size_t Rows() const { return values.size() / fields.size(); }
    std::string_view At(std::size_t row, std::size_t column) const { return values[row * fields.size() + column]; }
    /// The first column of this name.
    std::optional<std::size_t> Column(std::string_view name) const;
};

/// The largest text and table that are read. 6,000 patches with 36 spectral bands take 2 MB.
inline constexpr std::size_t kMostCgats = std::size_t{4} << 20;
inline constexpr std::size_t kMostPatches = 100'000;

/// Reads untrusted text of at most `kMostCgats` bytes. Throws a ChartError for other texts, and for a table that is
/// incomplete. A value takes 16 bytes, and at least two of the text.
///
/// Little CMS has a reader as well, but that of version 2.14 crashes for a table that announces its number of fields
/// twice, and opens the files that a text includes.
CgatsTable ReadCgats(std::string_view text);

}  // namespace hueweave::colour
