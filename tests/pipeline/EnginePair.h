// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "engine/CIccEngineS.h"
#include "support/PixelRun.h"
#include "support/ReferencePipeline.h"
#include "support/TempDir.h"

namespace hueweave::test {

/// An engine and its reference, driven side by side; after every step both must have the same result, state and tables.
class EnginePair {
public:
    /// Profiles by file name.
    explicit EnginePair(const std::map<std::string, ProfileBuilder>& profiles);

    void SetProfile(const std::string& name, int intent, int input, int output, double lightness = 0, double chroma = 0,
                    double hue = 0);
    void SetIntent(int intent, int input, int output);
    void ConstructEngine(double lightness, double chroma, double hue);
    void AdjustLch(double lightness, double chroma, double hue);
    void AdjustOutput(const Bytes& red, const Bytes& green, const Bytes& blue, int count);
    /// Converts pixels of the current input encoding with both: in place for 8 bits, into another buffer for 16 bits.
    void Convert();

    ICC40::ICC_ENG_S4::CIccEngineS& Engine() { return *engine_; }

private:
    static ReferenceEngine::Disk WriteAll(const TempDir& dir, const std::map<std::string, ProfileBuilder>& profiles);
    void ExpectSame(int result, int expected);
    void ExpectSameTables();

    TempDir dir_;
    std::unique_ptr<ICC40::ICC_ENG_S4::CIccEngineS> engine_;
    ReferenceEngine reference_;
};

}  // namespace hueweave::test
