// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <algorithm>
#include <array>

#include "Seeds.h"
#include "support/MiniProfile.h"
#include "support/ProfileBuilder.h"

namespace hueweave::fuzz {
namespace {

using test::ByteWriter;
using test::CurvedLutSpec;
using test::CurveLayout;
using test::EncodeCurved;
using test::Lcg;
using test::LutShape;
using test::MakeLut;
using test::Mft2;
using test::MftAB;
using test::MiniProfile;
using test::SmoothLut;
using test::XyzBlock;

Bytes OneTag(std::string_view name, const Bytes& block) { return MiniProfile({{name, block}}); }

/// A block of the "mft2" layout of any shape; `spare` bytes more or fewer than its tables need.
Bytes Table(const char* type, unsigned inputs, unsigned outputs, unsigned points, unsigned inputEntries,
            unsigned outputEntries, int spare = 0) {
    ByteWriter out;
    out.Text(type).Big32(0).U8(inputs).U8(outputs).U8(points).U8(0);
    for (int i = 0; i < 9; ++i) out.Big32(i % 4 == 0 ? 0x10000 : 0);
    out.Big16(inputEntries).Big16(outputEntries);
    Lcg values(inputs * 7 + outputs * 31 + points);
    const std::size_t count = inputs * inputEntries + points * points * points * outputs + outputs * outputEntries;
    for (std::size_t i = 0; i < count; ++i) out.Big16(values.Sample());
    Bytes block = out.Done();
    block.resize(static_cast<std::size_t>(static_cast<int>(block.size()) + spare));
    return block;
}

Bytes Text(const char* type, std::size_t size) {
    Bytes block = ByteWriter().Text(type).Big32(0).Fill(120, 'x').Done();
    block.resize(size);
    return block;
}

Bytes CurveBlock(std::uint32_t announced, std::size_t held) {
    ByteWriter out;
    out.Text("curv").Big32(0).Big32(announced);
    for (std::size_t i = 0; i < held; ++i) out.Big16(static_cast<unsigned>(i * 257 & 0xffffU));
    return out.Done();
}

void SowSimpleTags(const Sow& sow) {
    for (const std::size_t size : {0U, 1U, 4U, 7U, 8U, 9U, 11U, 12U, 13U, 19U, 20U, 21U, 43U, 44U, 45U, 100U}) {
        for (const char* name : {"desc", "cprt", "wtpt", "bkpt", "chad", "rTRC", "none", "A2B0", "B2A0"}) {
            sow(std::string(name) + "-of-" + std::to_string(size), OneTag(name, Text("text", size)));
        }
    }
    for (const std::uint32_t announced : {0U, 1U, 2U, 255U, 256U, 257U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        for (const std::size_t held : {0U, 1U, 2U, 256U}) {
            sow("curve-" + std::to_string(announced) + "-of-" + std::to_string(held),
                OneTag("gTRC", CurveBlock(announced, held)));
        }
    }
    for (const char* type : {"mft2", "mft1", "mAB ", "mBA ", "curv", "para", "XYZ ", "text", "desc", "sf32", "none"}) {
        for (const char* name : {"A2B0", "A2B1", "A2B2", "A2B3", "B2A0", "B2A1", "B2A2", "B2A3", "bXYZ"}) {
            sow(std::string(name) + "-as-" + std::string(type, 3), OneTag(name, Text(type, 60)));
        }
    }
}

void SowTables(const Sow& sow) {
    for (unsigned inputs = 0; inputs <= 8; ++inputs) {
        for (unsigned outputs = 0; outputs <= 8; ++outputs) {
            sow("channels-" + std::to_string(inputs) + "-" + std::to_string(outputs),
                OneTag("A2B0", Table("mft2", inputs, outputs, 2, 3, 3)));
        }
    }
    for (unsigned points = 0; points <= 34; ++points) {
        const unsigned outputs = points > 17 ? 1 : 3;
        sow("points-" + std::to_string(points), OneTag("A2B0", Table("mft2", 3, outputs, points, 2, 2)));
    }
    for (const unsigned entries : {0U, 1U, 2U, 3U, 4U, 255U, 256U, 257U, 1024U, 4095U, 4096U, 4097U}) {
        sow("input-entries-" + std::to_string(entries), OneTag("A2B0", Table("mft2", 3, 3, 2, entries, 2)));
        sow("output-entries-" + std::to_string(entries), OneTag("A2B0", Table("mft2", 3, 3, 2, 2, entries)));
    }
    for (const int spare : {-50, -2, -1, 0, 1, 2, 9}) {
        sow("table-with-" + std::to_string(spare), OneTag("A2B0", Table("mft2", 3, 3, 2, 2, 2, spare)));
        sow("bytes-with-" + std::to_string(spare), OneTag("A2B0", Table("mft1", 3, 3, 2, 2, 2, spare)));
    }
}

/// Tables of the container: shared, empty, overlapping, outside, without end.
void SowTagTables(const Sow& sow) {
    const Bytes sound = MiniProfile({{"A2B0", Mft2(SmoothLut(2))}, {"wtpt", XyzBlock(63190, 65536, 54061)}});
    for (std::size_t size = 0; size <= 160; size += 4) {
        Bytes cut = sound;
        cut.resize(size);
        sow("cut-" + std::to_string(size), cut);
    }
    for (const std::size_t part : {std::size_t{2}, std::size_t{3}, std::size_t{10}}) {
        Bytes cut = sound;
        cut.resize(cut.size() - cut.size() / part);
        sow("cut-by-a-part-of-" + std::to_string(part), cut);
    }
    const auto size = static_cast<std::uint32_t>(sound.size());
    for (const std::uint32_t word : {0U, 1U, 3U, 28U, 1000000U, 0x7fffffffU, 0x80000000U, 0xfffffffdU, 0xffffffffU}) {
        for (const std::size_t field : {std::size_t{128}, std::size_t{136}, std::size_t{140}}) {
            ByteWriter out;
            out.Append(sound).PatchBig32(field, word);
            sow("word-" + std::to_string(field) + "-" + std::to_string(word), out.Done());
        }
    }
    for (const std::uint32_t near : {size - 4, size - 3, size - 1, size, size + 1}) {
        ByteWriter out;
        out.Append(sound).PatchBig32(136, near);
        out.PatchBig32(140, 3);
        sow("block-at-" + std::to_string(near), out.Done());
    }
    ByteWriter shared;
    shared.Fill(128).Big32(200);
    for (int i = 0; i < 200; ++i) shared.Text(i % 2 == 0 ? "cprt" : "A2B0").Big32(2532).Big32(600);
    sow("shared-block", shared.Append(Mft2(SmoothLut(2))).Fill(600).Done());
    ByteWriter empty;
    empty.Fill(128).Big32(300);
    for (int i = 0; i < 300; ++i) empty.Text("wtpt").Big32(0).Big32(0);
    sow("empty-blocks", empty.Done());
}

CurvedLutSpec SoundCurved(int inputs, int outputs, int points, int entries) {
    LutShape shape;
    shape.inputs = inputs;
    shape.outputs = outputs;
    shape.points = points;
    shape.inputEntries = shape.outputEntries = entries;
    return Curved(MakeLut(shape, inputs), CurveLayout::Stepped);
}

}  // namespace

void SowCurvedBlocks(const Sow& sow) {
    for (int inputs = 1; inputs <= 4; ++inputs) {
        for (int outputs = 1; outputs <= 3; ++outputs) {
            for (const int entries : {2, 3, 5}) {
                const auto block = EncodeCurved(SoundCurved(inputs, outputs, 3, entries));
                sow("curved-" + std::to_string(inputs) + "-" + std::to_string(outputs) + "-" + std::to_string(entries),
                    block);
            }
        }
    }
    const Bytes sound = EncodeCurved(SoundCurved(3, 3, 3, 5));
    for (const std::size_t field : {std::size_t{12}, std::size_t{20}, std::size_t{24}, std::size_t{28}}) {
        for (const std::uint32_t word : {0U, 1U, 31U, static_cast<std::uint32_t>(sound.size()) - 1,
                                         static_cast<std::uint32_t>(sound.size()), 0x80000000U, 0xffffffffU}) {
            ByteWriter out;
            out.Append(sound).PatchBig32(field, word);
            sow("curved-word-" + std::to_string(field) + "-" + std::to_string(word), out.Done());
        }
    }
    for (const unsigned precision : {0U, 1U, 2U, 3U, 255U}) {
        CurvedLutSpec contents = SoundCurved(3, 3, 2, 3);
        contents.precision = precision;
        sow("curved-precision-" + std::to_string(precision), EncodeCurved(contents));
    }
    for (const unsigned points : {0U, 1U, 2U, 33U, 34U, 255U}) {
        CurvedLutSpec contents = SoundCurved(1, 3, 2, 3);
        contents.gridPoints[0] = static_cast<std::uint8_t>(points);
        contents.grid.resize(std::size_t{points} * 3);
        sow("curved-points-" + std::to_string(points), EncodeCurved(contents));
    }
    CurvedLutSpec contents = SoundCurved(3, 3, 2, 3);
    contents.aCurves[1].pop_back();
    sow("curved-shorter-second", EncodeCurved(contents));
    contents.aFirst = true;
    contents.mCurves = contents.bCurves;
    contents.layout = CurveLayout::Aligned;
    sow("curved-with-matrix-curves", EncodeCurved(contents));
    contents.type = "mBA ";
    sow("curved-back", EncodeCurved(contents));
}

void SowProfiles(const Sow& sow) {
    SowSimpleTags(sow);
    SowTables(sow);
    SowTagTables(sow);
    SowCurvedBlocks([&](const std::string& name, const Bytes& block) { sow(name, OneTag("A2B0", block)); });
    const Bytes table = Mft2(SmoothLut(2));
    for (const char* names : {"A2B0", "A2B1", "A2B2"}) {
        sow(std::string("only-") + names, MiniProfile({{names, table}, {"wtpt", XyzBlock(0, 0, 0)}}));
        sow(std::string("white-") + names,
            MiniProfile({{names, table}, {"wtpt", XyzBlock(0xffffffff, 0x80000000, 1)}}));
    }
    sow("all-tables", MiniProfile({{"A2B0", table}, {"A2B1", Mft2(SmoothLut(3))}, {"A2B2", MftAB(SmoothLut(3))}}));
}

}  // namespace hueweave::fuzz
