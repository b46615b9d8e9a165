// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "colour/api/GivenProfile.h"
#include "colour/api/Settings.h"

namespace hueweave::python {

/// A transform for samples of every type. Handles of the library are for one type; that for bytes is made at once, so
/// that a failure shows, and the others when they are needed.
class Transform {
public:
    /// `source` and `target` are pairs (kind, text), where the kind is "data", "path" or "space". Throws a `Failure`.
    Transform(const pybind11::tuple& source, const pybind11::tuple& target, const hw_options& options,
              const std::string& curves);

    /// The method __call__: checks the arguments, converts, and returns the new array or `out`.
    pybind11::object Call(const pybind11::object& array, const pybind11::object& out,
                          const pybind11::object& threads) const;
    /// (way, reason, colours, mean, p999, largest)
    pybind11::tuple Describe() const;
    /// The profile to embed, or None.
    pybind11::object Profile() const;
    /// A pair that makes the same profile anywhere: without a path.
    pybind11::tuple Source() const { return Given(source_); }
    pybind11::tuple Target() const { return Given(target_); }

private:
    static constexpr std::size_t kSampleTypes = 3;
    struct Free {
        void operator()(hw_transform* transform) const { hw_transform_free(transform); }
    };
    static pybind11::tuple Given(const colour::GivenProfile& profile);
    /// The handle for a type of samples. Releases the interpreter's lock while it is made.
    const hw_transform* Handle(hw_samples samples) const;
    const hw_transform* Make(hw_samples samples) const;

    colour::Settings settings_;
    colour::GivenProfile source_, target_;
    mutable std::mutex making_;
    mutable std::array<std::unique_ptr<hw_transform, Free>, kSampleTypes> made_;
    mutable std::array<std::atomic<const hw_transform*>, kSampleTypes> ready_{};
};

}  // namespace hueweave::python
