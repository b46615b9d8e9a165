// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <string>

#include "engine/CIccEngineS.h"

namespace hueweave::python {

/// One engine as the exported functions without a suffix drive it, with a lock of its own: any number of threads may
/// convert, and one may build.
class Engine {
public:
    Engine() : engine_(std::make_unique<Core>()) {}

    /// All of them return the engine's output space, or 65535. `isPath` distinguishes a path from the bytes of a
    /// profile.
    std::int32_t SetProfile(const std::string& profile, bool isPath, std::int32_t intent, std::int32_t input,
                            std::int32_t output);
    std::int32_t SetIntent(std::int32_t intent, std::int32_t input, std::int32_t output);
    /// Empty curves are none.
    std::int32_t Adjust(double lightness, double chroma, double hue, const std::string& red, const std::string& green,
                        const std::string& blue);
    std::int32_t OutputSpace() const;
    /// Returns 0, or -1 if the engine has no output space. Checks the arrays.
    std::int32_t Convert(const pybind11::object& source, const pybind11::object& dest) const;

private:
    using Core = ICC40::ICC_ENG_S4::CIccEngineS;
    template <typename Operation>
    std::int32_t SpaceAfter(const Operation& operation);
    bool IsUsable() const;
    bool IsWide() const;

    std::unique_ptr<Core> engine_;
    mutable std::shared_mutex lock_;
};

}  // namespace hueweave::python
