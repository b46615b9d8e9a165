// SPDX-License-Identifier: MIT
#pragma once

#include "abi/Library.h"
#include "hostile/Hostile.h"

namespace hueweave::test {

/// Exercises all functions of one engine of the shared library.
class EveryCallTest : public HostileTest {
protected:
    /// All results of the engine with this suffix concatenated; `own` is a file for this engine alone.
    Bytes Everything(const char* suffix, const std::string& own) const {
        const EngineApi engine(library_, suffix);
        Bytes results;
        const auto note = [&](std::int32_t status, const Bytes& pixels) {
            results.push_back(static_cast<unsigned char>(status));
            results.insert(results.end(), pixels.begin(), pixels.end());
        };
        Bytes pixels = SamplePixels();
        Bytes curve(256);
        for (std::size_t i = 0; i < curve.size(); ++i) curve[i] = static_cast<unsigned char>(255 - i);
        note(engine.SetProfile(path_.c_str(), nullptr, 0, 0, 8), {});
        note(engine.Convert2(pixels.data(), nullptr, 100), pixels);
        note(engine.SetIntent(1, 0, 10), {});
        note(engine.Adjust(4, 3, 2, curve.data(), curve.data(), curve.data(), 256), {});
        note(engine.Convert2(pixels.data(), nullptr, 100), pixels);
        note(engine.ConvertFile(source_.c_str(), own.c_str()), {});
        note(0, ReadFile(own));
        note(engine.SetProfile(dir_.File("absent").c_str(), nullptr, 0, 0, 8), {});
        note(library_.Get<decltype(&func1)>("func1")(), {});
        return results;
    }

    const Library library_;
    const LutContents lut_ = SmoothLut(9);  // gets resampled
    const std::string path_ =
        Put("both.icc", MiniProfile({{"A2B0", Mft2(lut_)}, {"A2B1", MftAB(lut_)}, {"wtpt", XyzBlock(1, 2, 3)}}));
    const std::string source_ = Put("source.tif", MiniTiff{10, 10, 3, 8, SamplePixels(), Bytes(50, 1)}.Build());
};

}  // namespace hueweave::test
