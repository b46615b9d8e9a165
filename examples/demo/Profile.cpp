// SPDX-License-Identifier: MIT
#include "Profile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "Device.h"

namespace demo {
namespace {

constexpr int kPoints = 33;
constexpr int kInputEntries = 1024;
constexpr int kOutputEntries = 256;
/// The grid axes use the cube root of the light, so that the nodes are perceptually even.
constexpr double kAxis = 3.0;
/// The output curves apply an exponent to the grid values, which are stored with the inverse exponent.
constexpr double kBend = 1.15;

class BigEndian {
public:
    void U16(int value) {
        bytes.push_back(static_cast<unsigned char>(value >> 8));
        bytes.push_back(static_cast<unsigned char>(value));
    }
    void U32(std::uint32_t value) {
        U16(static_cast<int>(value >> 16));
        U16(static_cast<int>(value & 0xffffU));
    }
    void Text(std::string_view text) { bytes.insert(bytes.end(), text.begin(), text.end()); }
    void Zeros(std::size_t count) { bytes.insert(bytes.end(), count, 0); }
    void Pad() {
        while (bytes.size() % 4 != 0) bytes.push_back(0);
    }
    void Add(const std::vector<unsigned char>& block) { bytes.insert(bytes.end(), block.begin(), block.end()); }

    std::vector<unsigned char> bytes;
};

int Word(double fraction) { return static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * 65535.0)); }

/// A value of 0 to 1 with the inverse exponent of the output curves.
double Bent(double value) { return std::pow(std::clamp(value, 0.0, 1.0), 1.0 / kBend); }

/// Lab in the 16-bit encoding of tables, as fractions: L* = 100 is 65280, a* = b* = 0 is 32768.
Triple Encoded(const Triple& lab) {
    return {lab[0] / 100.0 * 65280.0 / 65535.0, (lab[1] * 256.0 + 32768.0) / 65535.0,
            (lab[2] * 256.0 + 32768.0) / 65535.0};
}

std::vector<unsigned char> Table() {
    BigEndian block;
    block.Text("mft2");
    block.U32(0);
    block.bytes.insert(block.bytes.end(), {3, 3, kPoints, 0});
    for (int i = 0; i < 9; ++i) block.U32(i % 4 == 0 ? 65536 : 0);  // no matrix
    block.U16(kInputEntries);
    block.U16(kOutputEntries);
    for (int channel = 0; channel < 3; ++channel) {
        for (int i = 0; i < kInputEntries; ++i) {
            block.U16(Word(std::cbrt(Linearised(channel, i / (kInputEntries - 1.0)))));
        }
    }
    const auto light = [](int node) { return std::pow(node / (kPoints - 1.0), kAxis); };
    for (int r = 0; r < kPoints; ++r) {
        for (int g = 0; g < kPoints; ++g) {
            for (int b = 0; b < kPoints; ++b) {
                const Triple stored = Encoded(LabOfScene(SceneOfFiltered({light(r), light(g), light(b)})));
                for (double value : stored) block.U16(Word(Bent(value)));
            }
        }
    }
    for (int channel = 0; channel < 3; ++channel) {
        for (int i = 0; i < kOutputEntries; ++i) block.U16(Word(std::pow(i / (kOutputEntries - 1.0), kBend)));
    }
    block.Pad();
    return block.bytes;
}

std::vector<unsigned char> Description(std::string_view text) {
    BigEndian block;
    block.Text("desc");
    block.U32(0);
    block.U32(static_cast<std::uint32_t>(text.size() + 1));
    block.Text(text);
    block.Zeros(1 + 4 + 4 + 2 + 1 + 67);  // terminator; no Unicode, no Macintosh text
    block.Pad();
    return block.bytes;
}

std::vector<unsigned char> Text(std::string_view text) {
    BigEndian block;
    block.Text("text");
    block.U32(0);
    block.Text(text);
    block.Zeros(1);
    block.Pad();
    return block.bytes;
}

std::vector<unsigned char> White() {
    BigEndian block;
    block.Text("XYZ ");
    block.U32(0);
    for (double value : {0.96422, 1.0, 0.82521}) block.U32(static_cast<std::uint32_t>(std::lround(value * 65536.0)));
    return block.bytes;
}

void Header(BigEndian& file, std::uint32_t size) {
    file.U32(size);
    file.U32(0);
    file.U32(0x02400000);
    file.Text("scnrRGB Lab ");
    for (int part : {2026, 1, 1, 0, 0, 0}) file.U16(part);
    file.Text("acsp");
    file.Zeros(24);
    file.U32(0);
    for (std::uint32_t word : {0xF6D6U, 0x10000U, 0xD32DU}) file.U32(word);  // D50
    file.Zeros(48);
}

}  // namespace

std::vector<unsigned char> ScannerProfile() {
    struct Tag {
        std::string_view name;
        std::vector<unsigned char> block;
    };
    const Tag tags[] = {{"desc", Description("Demonstration scanner")},
                        {"cprt", Text("No copyright, use freely")},
                        {"wtpt", White()},
                        {"A2B0", Table()}};
    constexpr std::uint32_t kEntries = 5;  // two tags share the table
    std::uint32_t offset = 132 + 12 * kEntries;
    BigEndian directory, data;
    for (const Tag& tag : tags) {
        const auto size = static_cast<std::uint32_t>(tag.block.size());
        for (std::string_view name : {tag.name, std::string_view("A2B1")}) {
            if (name != tag.name && tag.name != "A2B0") continue;
            directory.Text(name);
            directory.U32(offset);
            directory.U32(size);
        }
        data.Add(tag.block);
        offset += size;
    }
    BigEndian file;
    Header(file, offset);
    file.U32(kEntries);
    file.Add(directory.bytes);
    file.Add(data.bytes);
    return file.bytes;
}

void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path + ": is there room, and may you write there?");
}

}  // namespace demo
