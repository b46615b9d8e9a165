// SPDX-License-Identifier: MIT
// Prints a digest of every table that an engine builds and of every file that it writes, one per line. Two builds of
// the library agree bit for bit if this program prints the same for both. It links only the core, so that it runs under
// an emulator; its profiles depend on no function of the mathematics library.
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "color/CLCH.h"
#include "engine/CIccEngineS.h"
#include "engine/kernels/Kernels.h"
#include "support/MiniProfile.h"
#include "support/ProfileBuilder.h"
#include "support/TempDir.h"
#include "tiff/CTiff.h"

namespace {

using namespace hueweave::test;
using ICC40::ICC_ENG_S4::CIccEngineS;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::Intent;

/// 64-bit FNV-1a.
class Digest {
public:
    void Byte(unsigned value) { hash_ = (hash_ ^ (value & 0xffU)) * 1099511628211ULL; }
    void Word(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8) Byte(value >> shift);
    }
    template <typename Table>
    void Words(const Table* table, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) Word(static_cast<std::uint32_t>(table[i]));
    }
    void Block(const Bytes& bytes) {
        for (unsigned char byte : bytes) Byte(byte);
    }
    void Print(const std::string& name) const {
        std::printf("%016llx %s\n", static_cast<unsigned long long>(hash_), name.c_str());
    }

private:
    std::uint64_t hash_ = 14695981039346656037ULL;
};

struct Shape {
    const char* name;
    int points, inputEntries, outputEntries;
    bool smooth;
};
constexpr Shape kShapes[] = {{"smooth-33", 33, 1024, 256, true}, {"smooth-17", 17, 256, 4096, true},
                             {"smooth-9", 9, 4096, 3, true},     {"random-5", 5, 17, 2, false},
                             {"random-25", 25, 3, 256, false},   {"random-2", 2, 2, 17, false}};

Bytes Profile(const Shape& shape) {
    LutContents lut =
        StraightLut(shape.points, shape.smooth ? LabGrid(shape.points) : ScatteredGrid(shape.points, 2026),
                    shape.inputEntries, shape.outputEntries);
    const auto bend = [](Curve& curves, int entries, std::uint64_t least, std::uint64_t more) {
        for (std::size_t i = 0; i < curves.size(); ++i) {
            const std::uint64_t x = curves[i], by = least + more * (i / AsIndex(entries));
            curves[i] = static_cast<std::uint16_t>((x * (65535U - by) + by * (x * x / 65535U)) / 65535U);
        }
    };
    bend(lut.input, shape.inputEntries, 20000, 9000);
    bend(lut.output, shape.outputEntries, 5000, 2000);
    ProfileBuilder profile;
    for (const char* name : {"A2B0", "A2B1", "A2B2"}) profile.Raw(name, Mft2(lut));
    return profile.Xyz("wtpt", 62000, 65536, 50000).Build();
}

void DigestTables(const CIccEngineS& engine, const std::string& name) {
    const auto entries = static_cast<std::size_t>(engine.InEntries);
    Digest digest;
    digest.Word(static_cast<std::uint32_t>(engine.Unit.OutputSpace));
    digest.Word(static_cast<std::uint32_t>(engine.Unit.BuildResult));
    for (const auto* table : {&engine.Lut1DInR, &engine.Lut1DInG, &engine.Lut1DInB})
        digest.Words(table->get(), entries);
    for (const auto& cell : engine.Lut3D) digest.Words(&cell[0][0][0], 72);
    for (const auto* table : {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}) digest.Words(table, 65536);
    digest.Print(name);
}

/// Colour conversions that no engine uses, as the bits of their doubles.
void DigestColours() {
    using ColorLch::CLCH;
    Lcg random(2026);
    Digest digest;
    CLCH color(63195.0, 65535.0, 54073.0);
    const auto add = [&digest](double value) {
        const auto bits = std::bit_cast<std::uint64_t>(value);
        digest.Word(static_cast<std::uint32_t>(bits));
        digest.Word(static_cast<std::uint32_t>(bits >> 32));
    };
    // Only results that depend on the four operations and on rounding to single precision: the last bit of a power or
    // an angle depends on the mathematics library.
    for (int i = 0; i < 20000; ++i) {
        color.SetColorSpace(static_cast<ColorLch::ColorSpace>(i % 4));
        // One call per statement: compilers differ in the order in which they evaluate arguments.
        const double r = random.Sample() / 257.0;
        const double g = random.Sample() / 257.0;
        const double b = random.Sample() / 257.0;
        color.PutData_RGB(r, g, b);
        for (double value : {color.X, color.Y, color.Z}) add(value);
    }
    digest.Print("colours");
}

/// Pixels through every loop that this processor can run. All must give the same, which is printed once.
void DigestKernels(const CIccEngineS& engine, bool wide, const std::string& name) {
    const ICC40::ICC_ENG_S4::Stages stages = {{engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()},
                                              &engine.Lut3D[0][0],
                                              {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}};
    constexpr int kPixels = 20011;  // not a multiple of the block size
    Lcg random(2026);
    Bytes pixels(6 * kPixels);
    for (std::size_t at = 0; at < pixels.size(); at += 2) {
        const auto sample = static_cast<std::uint16_t>(random.Sample());
        if (wide) {
            std::memcpy(pixels.data() + at, &sample, 2);  // in native byte order
        } else {
            pixels[at] = static_cast<unsigned char>(sample & 0xffU);
            pixels[at + 1] = static_cast<unsigned char>(sample >> 8);
        }
    }
    Bytes first;
    for (const auto* kernel : ICC40::ICC_ENG_S4::Kernels()) {
        Bytes result(pixels.size());
        (wide ? kernel->words : kernel->bytes)(stages, pixels.data(), result.data(), kPixels);
        if (first.empty()) first = result;
        if (result != first) {
            std::printf("kernel %s differs\n", kernel->name);
            std::exit(1);
        }
    }
    Digest digest;
    for (std::size_t at = 0; at < first.size(); at += 2) {
        std::uint16_t sample = 0;
        std::memcpy(&sample, first.data() + at, 2);
        digest.Word(wide ? sample : static_cast<std::uint32_t>(first[at] << 8 | first[at + 1]));
    }
    digest.Print(name);
}

/// A file in the library's own layout whose image has every sample value.
void SavePicture(const std::string& path, int bits, const std::string& profile) {
    Lcg random(2026);
    Orvix_Tiff_STL2::CTiff image;
    image.CreateNew(256, 64, 300, 3, bits, 1);
    unsigned char* to = image.GetImageBuf();
    for (std::size_t i = 0; i < image.ImageBytes(); ++i) to[i] = static_cast<unsigned char>(random.Sample() >> 8);
    image.SetIccProfile(profile.c_str());
    image.SaveFile(path.c_str());
}

void Digests(const Shape& shape, const TempDir& dir) {
    const std::string profile = dir.File("profile.icc");
    WriteFile(profile, Profile(shape));
    const auto engine = std::make_unique<CIccEngineS>();
    for (int space = 8; space < 40; ++space) {
        const int input = space % 2;
        for (int intent = 0; intent < 4; ++intent) {
            // Tables vary in one parameter at a time; all pairs would take an hour under an emulator.
            if (intent != 0 && space != 8 && space != 23) continue;
            engine->SetProfile(profile.c_str(), static_cast<Intent>(intent), static_cast<ColorSpaceSignature>(input),
                               static_cast<ColorSpaceSignature>(space), 0, 0, 0);
            DigestTables(*engine, std::string(shape.name) + " space " + std::to_string(space) + " intent " +
                                      std::to_string(intent));
        }
    }
    for (int width = 0; width < 2; ++width) {
        engine->SetProfile(profile.c_str(), static_cast<Intent>(0), static_cast<ColorSpaceSignature>(width),
                           static_cast<ColorSpaceSignature>(8 + width), 0, 0, 0);
        DigestKernels(*engine, width == 1, std::string(shape.name) + " pixels of width " + std::to_string(width));
        const std::string source = dir.File("source.tif"), dest = dir.File("dest.tif");
        SavePicture(source, 8 + 8 * width, profile);
        engine->Conversion(source.c_str(), dest.c_str());
        Digest files;
        files.Block(ReadFile(source));
        files.Block(ReadFile(dest));
        engine->File.SaveFile(profile.c_str());
        files.Block(ReadFile(profile));
        files.Print(std::string(shape.name) + " files of width " + std::to_string(width));
        engine->Adjust_Lch(-3.7, 12.2, 33.0);
        DigestTables(*engine, std::string(shape.name) + " adjusted, width " + std::to_string(width));
        WriteFile(profile, Profile(shape));
        engine->Unit.ProfileName.reset();
    }
}

}  // namespace

int main() {
    DigestColours();
    const TempDir dir;
    for (const Shape& shape : kShapes) Digests(shape, dir);
    return 0;
}
