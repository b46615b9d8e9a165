// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/CIccEngineS.h"
#include "pipeline/PixelRun.h"
#include "support/ReferencePipeline.h"
#include "support/TempDir.h"

namespace hueweave::test {

/// The output spaces that there are.
std::vector<int> OutputSpaces();

/// Whether the stage tables are the same, entry by entry. A stage that was never built is not compared.
testing::AssertionResult SameTables(const ICC40::ICC_ENG_S4::CIccEngineS& engine, const ReferenceEngine& reference);
/// Whether spaces, intent, adjustments and build result are the same.
testing::AssertionResult SameState(const ICC40::ICC_ENG_S4::CIccEngineS& engine, const ReferenceEngine& reference);

/// An engine and its reference, driven side by side; every step must leave both with the same result, state and
/// tables.
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
    /// Pixels through both, in place for 8 bit, into another buffer for 16 bit.
    void Convert(const Bytes& pixels);

    ICC40::ICC_ENG_S4::CIccEngineS& Engine() { return *engine_; }
    ReferenceEngine& Reference() { return reference_; }

private:
    static ReferenceEngine::Disk WriteAll(const TempDir& dir, const std::map<std::string, ProfileBuilder>& profiles);
    void ExpectSame(int result, int expected);

    TempDir dir_;
    std::unique_ptr<ICC40::ICC_ENG_S4::CIccEngineS> engine_;
    ReferenceEngine reference_;
};

}  // namespace hueweave::test
