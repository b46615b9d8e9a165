// SPDX-License-Identifier: MIT
// The colours that the numbers of two profiles describe: in doubles from the device to the result, with no rounding
// between the stages. Little CMS rounds to 16 bits after each table even when it is asked for doubles. Reads the bytes
// of the profiles itself and shares no code with colour/ and, but for the formulas of CIELAB and CIEDE2000, with Little
// CMS.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "judges/colours/Truth.h"
#include "support/ReferenceProfile.h"

namespace hueweave::judge {

using Triple = std::array<double, 3>;  ///< XYZ or CIELAB

inline const Bytes& TagOf(const test::TagList& tags, const std::string& name, const std::string& type) {
    const Bytes* const block = test::FindTag(tags, name);
    if (block == nullptr || test::SignatureText(test::Big32At(*block, 0)) != type) {
        throw std::runtime_error(name + " is not a tag of type " + type);
    }
    return *block;
}

/// Equidistant values over 0 to 1, linear in between, or an exponent. Inputs beyond are clamped.
class PlainCurve {
public:
    /// `count` of the words from `first` on.
    PlainCurve(const std::uint16_t* first, int count) {
        std::transform(first, first + count, std::back_inserter(values_),
                       [](std::uint16_t word) { return word / 65535.0; });
    }
    /// A block of type "curv": no entries for a straight line, one for an exponent.
    explicit PlainCurve(const Bytes& block) {
        const std::size_t count = test::Big32At(block, 8);
        if (count == 0) values_ = {0, 1};
        if (count == 1) exponent_ = test::Big16At(block, 12) / 256.0;
        for (std::size_t i = 0; i < count; ++i) values_.push_back(test::Big16At(block, 12 + 2 * i) / 65535.0);
    }

    double Of(double x) const {
        x = std::clamp(x, 0.0, 1.0);
        if (exponent_ != 0) return std::pow(x, exponent_);
        const double place = x * static_cast<double>(values_.size() - 1);
        const std::size_t cell = std::min(static_cast<std::size_t>(place), values_.size() - 2);
        return values_[cell] + (values_[cell + 1] - values_[cell]) * (place - static_cast<double>(cell));
    }
    /// The input for which `Of` is `y`, exactly. The entries have to rise.
    double Reversed(double y) const {
        if (exponent_ != 0) return std::pow(std::clamp(y, 0.0, 1.0), 1 / exponent_);
        if (std::adjacent_find(values_.begin(), values_.end(), std::greater_equal<>()) != values_.end()) {
            throw std::runtime_error("a curve of the target does not rise");
        }
        y = std::clamp(y, values_.front(), values_.back());
        const auto above = std::upper_bound(values_.begin() + 1, values_.end() - 1, y);
        const double part = (y - above[-1]) / (above[0] - above[-1]);
        return (static_cast<double>(above - values_.begin()) - 1 + part) / static_cast<double>(values_.size() - 1);
    }

private:
    std::vector<double> values_;
    double exponent_ = 0;
};

/// How a grid is interpolated. Profiles do not say it; Little CMS uses tetrahedra.
enum class Interpolation { Tetrahedral, Trilinear };

/// A table of type "mft2" from RGB: curves, a grid, and curves. Its results are 0 to 1.
class PlainTable {
public:
    PlainTable(const Bytes& block, Interpolation interpolation) : interpolation_(interpolation) {
        for (unsigned i = 0; i < 9; ++i) {
            if (test::Big32At(block, 12 + 4 * i) != (i % 4 == 0 ? 65536 : 0)) throw std::runtime_error("has a matrix");
        }
        const auto lut = test::DecodeLutTag(block);
        if (!lut || lut->inputs != 3 || lut->outputs != 3 || lut->inputEntries < 2 || lut->outputEntries < 2) {
            throw std::runtime_error("has a truncated table, or one of another shape");
        }
        lut_ = *lut;
        for (int c = 0; c < 3; ++c) {
            first_.emplace_back(lut_.input.data() + c * lut_.inputEntries, lut_.inputEntries);
            last_.emplace_back(lut_.output.data() + c * lut_.outputEntries, lut_.outputEntries);
        }
    }

    Triple Of(const Rgb& device) const {
        Cell cell;
        Triple parts, result;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double place = first_[axis].Of(device[axis]) * (lut_.points - 1);
            cell[axis] = std::min(static_cast<int>(place), lut_.points - 2);
            parts[axis] = place - cell[axis];
        }
        const bool trilinear = interpolation_ == Interpolation::Trilinear;
        for (std::size_t c = 0; c < 3; ++c) {
            result[c] = last_[c].Of(trilinear ? Weighted(cell, parts, c) : AlongEdges(cell, parts, c));
        }
        return result;
    }

private:
    using Cell = std::array<int, 3>;

    double Node(const Cell& at, std::size_t channel) const {
        const int n = (at[0] * lut_.points + at[1]) * lut_.points + at[2];
        return lut_.grid.at(static_cast<std::size_t>(3 * n) + channel) / 65535.0;
    }
    /// By tetrahedra: from the nearest corner of a cell to the farthest, along the axes with the largest parts first.
    double AlongEdges(Cell corner, const Triple& parts, std::size_t channel) const {
        std::array<std::size_t, 3> order{0, 1, 2};
        std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return parts[a] > parts[b]; });
        double value = Node(corner, channel);
        for (const std::size_t axis : order) {
            const double before = Node(corner, channel);
            ++corner[axis];
            value += (Node(corner, channel) - before) * parts[axis];
        }
        return value;
    }
    /// All eight corners of a cell, weighted.
    double Weighted(const Cell& cell, const Triple& parts, std::size_t channel) const {
        double value = 0;
        for (std::size_t n = 0; n < 8; ++n) {
            Cell corner = cell;
            double weight = 1;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const bool far = (n >> axis & 1) != 0;
                corner[axis] += far ? 1 : 0;
                weight *= far ? parts[axis] : 1 - parts[axis];
            }
            value += weight * Node(corner, channel);
        }
        return value;
    }

    Interpolation interpolation_;
    test::LutContents lut_;
    std::vector<PlainCurve> first_, last_;
};

/// Three curves and the colorants, in XYZ.
class PlainMatrix {
public:
    explicit PlainMatrix(const test::TagList& tags) {
        const std::string names = "rgb";
        for (std::size_t c = 0; c < 3; ++c) {
            curves_.emplace_back(TagOf(tags, names[c] + std::string("TRC"), "curv"));
            const Bytes& block = TagOf(tags, names[c] + std::string("XYZ"), "XYZ ");
            for (std::size_t i = 0; i < 3; ++i) {
                columns_[c][i] = static_cast<std::int32_t>(test::Big32At(block, 8 + 4 * i)) / 65536.0;
            }
        }
    }

    Triple ToXyz(const Rgb& device) const {
        Triple xyz{};
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t i = 0; i < 3; ++i) xyz[i] += columns_[c][i] * curves_[c].Of(device[c]);
        }
        return xyz;
    }
    /// Clipped to 0 to 1. By Cramer's rule.
    Rgb FromXyz(const Triple& xyz) const {
        const auto determinant = [](const Triple& a, const Triple& b, const Triple& c) {
            return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
                   a[2] * (b[0] * c[1] - b[1] * c[0]);
        };
        const auto& [r, g, b] = columns_;
        const double all = determinant(r, g, b);
        return {curves_[0].Reversed(determinant(xyz, g, b) / all), curves_[1].Reversed(determinant(r, xyz, b) / all),
                curves_[2].Reversed(determinant(r, g, xyz) / all)};
    }

private:
    std::vector<PlainCurve> curves_;
    std::array<Triple, 3> columns_{};
};

/// The perceptual intent, from a profile with a table or a matrix to one of curves and a matrix.
class Unrounded {
public:
    Unrounded(const Bytes& source, const Bytes& target, Interpolation interpolation = Interpolation::Tetrahedral)
        : target_(test::ReadTags(target)) {
        // From version 4 on, Little CMS would compensate the black point.
        if (test::ByteAt(target, 8) >= 4) throw std::runtime_error("the target is of version 4");
        const test::TagList tags = test::ReadTags(source);
        isLab_ = test::SignatureText(test::Big32At(source, 20)) == "Lab ";
        if (test::FindTag(tags, "A2B0") != nullptr) {
            table_.emplace(TagOf(tags, "A2B0", "mft2"), interpolation);
        } else {
            matrix_.emplace(tags);
        }
    }

    /// Clipped to 0 to 1.
    Rgb Of(const Rgb& device) const { return target_.FromXyz(XyzOf(device)); }
    /// XYZ of a colour of the source.
    Triple XyzOf(const Rgb& device) const {
        if (!table_) return matrix_->ToXyz(device);
        const Triple x = table_->Of(device);
        constexpr double kXyz = 65535.0 / 32768.0, kLight = 65535.0 / 652.8, kChroma = 65535.0 / 256.0;
        if (!isLab_) return {x[0] * kXyz, x[1] * kXyz, x[2] * kXyz};
        const cmsCIELab lab{x[0] * kLight, x[1] * kChroma - 128, x[2] * kChroma - 128};
        cmsCIEXYZ xyz;
        cmsLab2XYZ(nullptr, &xyz, &lab);
        return {xyz.X, xyz.Y, xyz.Z};
    }
    /// CIEDE2000 between two colours of the target.
    double Difference(const Rgb& one, const Rgb& other) const {
        const auto lab = [&](const Rgb& colour) {
            const Triple x = target_.ToXyz(colour);
            const cmsCIEXYZ xyz{x[0], x[1], x[2]};
            cmsCIELab seen;
            cmsXYZ2Lab(nullptr, &seen, &xyz);
            return seen;
        };
        const cmsCIELab a = lab(one), b = lab(other);
        return cmsCIE2000DeltaE(&a, &b, 1, 1, 1);
    }
    /// Compares `converted` with the unrounded colours for `pixels`.
    Differences Compare(const std::vector<Rgb>& pixels, const std::vector<Rgb>& converted) const {
        std::vector<double> all;
        for (std::size_t n = 0; n < pixels.size(); ++n) all.push_back(Difference(Of(pixels[n]), converted.at(n)));
        return Summary(all);
    }

private:
    PlainMatrix target_;
    bool isLab_ = false;
    std::optional<PlainTable> table_;
    std::optional<PlainMatrix> matrix_;  ///< if there is no table
};

}  // namespace hueweave::judge
