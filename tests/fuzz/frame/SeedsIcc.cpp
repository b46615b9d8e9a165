// SPDX-License-Identifier: MIT
#include "Seeds.h"
#include "support/MiniProfile.h"
#include "support/ProfileBuilder.h"

namespace hueweave::fuzz {
namespace {

using namespace test;

Bytes OneTag(const std::string& name, const Bytes& block) { return MiniProfile({{name, block}}); }

/// A table in an A2B0 tag, `spare` bytes longer or shorter than its contents.
Bytes Table(const char* type, LutShape shape, int spare = 0) {
    shape.inputKind = shape.outputKind = CurveKind::Random;
    shape.grid = GridKind::Random;
    const LutContents lut = MakeLut(shape);
    Bytes block = TableHead(type, shape, 0x10000).Big16s(lut.input).Big16s(lut.grid).Big16s(lut.output).Done();
    block.resize(static_cast<std::size_t>(static_cast<int>(block.size()) + spare));
    return OneTag("A2B0", block);
}

Bytes Cut(Bytes bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}

Bytes Text(const char* type, std::size_t size) {
    return Cut(ByteWriter().Text(type).Big32(0).Fill(120, 'x').Done(), size);
}

Bytes CurveBlock(std::uint32_t announced, std::size_t held) {
    ByteWriter out = ByteWriter().Text("curv").Big32(0).Big32(announced);
    for (unsigned i = 0; i < held; ++i) out.Big16(i * 257);
    return out.Done();
}

void SowSimpleTags(const Sow& sow) {
    for (const std::size_t size : {0U, 1U, 4U, 7U, 8U, 9U, 11U, 12U, 13U, 19U, 20U, 21U, 43U, 44U, 45U, 100U}) {
        for (const char* name : {"desc", "cprt", "wtpt", "bkpt", "chad", "rTRC", "none", "A2B0", "B2A0"}) {
            sow(std::string(name) + Name("-of", size), OneTag(name, Text("text", size)));
        }
    }
    for (const std::uint32_t announced : {0U, 1U, 2U, 255U, 256U, 257U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        for (const std::size_t held : {0U, 1U, 2U, 256U}) {
            sow(Name(Name("curve", announced) + "-of", held), OneTag("gTRC", CurveBlock(announced, held)));
        }
    }
    for (const char* type : {"mft2", "mft1", "mAB ", "mBA ", "curv", "para", "XYZ ", "text", "desc", "sf32", "none"}) {
        for (const char* name : {"A2B0", "A2B1", "A2B2", "A2B3", "B2A0", "B2A1", "B2A2", "B2A3", "bXYZ"}) {
            sow(std::string(name) + "-as-" + type, OneTag(name, Text(type, 60)));
        }
    }
}

void SowTables(const Sow& sow) {
    for (int inputs = 0; inputs <= 8; ++inputs) {
        for (int outputs = 0; outputs <= 8; ++outputs) {
            sow(Name("channels", inputs, outputs), Table("mft2", {inputs, outputs, 2, 3, 3}));
        }
    }
    for (int points = 0; points <= 34; ++points) {
        sow(Name("points", points), Table("mft2", {3, points > 17 ? 1 : 3, points, 2, 2}));
    }
    for (const int entries : {0, 1, 2, 3, 4, 255, 256, 257, 1024, 4095, 4096, 4097}) {
        sow(Name("input-entries", entries), Table("mft2", {3, 3, 2, entries, 2}));
        sow(Name("output-entries", entries), Table("mft2", {3, 3, 2, 2, entries}));
    }
    for (const int spare : {-50, -2, -1, 0, 1, 2, 9}) {
        sow(Name("table-with", spare), Table("mft2", {3, 3, 2, 2, 2}, spare));
        sow(Name("bytes-with", spare), Table("mft1", {3, 3, 2, 2, 2}, spare));
    }
}

/// A valid file with some words changed.
Bytes Patched(const Bytes& sound, std::initializer_list<std::pair<std::size_t, std::uint32_t>> words) {
    ByteWriter out = ByteWriter().Append(sound);
    for (const auto& [place, word] : words) out.PatchBig32(place, word);
    return out.Done();
}

/// Tag tables: shared, empty, overlapping, pointing outside, without end.
void SowTagTables(const Sow& sow) {
    const Bytes sound = MiniProfile({{"A2B0", Mft2(SmoothLut(2))}, {"wtpt", XyzBlock(63190, 65536, 54061)}});
    for (std::size_t size = 0; size < sound.size(); size += size < 160 ? 4 : 50) {
        sow(Name("cut", size), Cut(sound, size));
    }
    const auto size = static_cast<std::uint32_t>(sound.size());
    for (const std::uint32_t word : {0U, 1U, 3U, 28U, 1000000U, 0x7fffffffU, 0x80000000U, 0xfffffffdU, 0xffffffffU}) {
        for (const std::size_t field : {128U, 136U, 140U}) {
            sow(Name("word", field, word), Patched(sound, {{field, word}}));
        }
    }
    for (const std::uint32_t near : {size - 4, size - 3, size - 1, size, size + 1}) {
        sow(Name("block-at", near), Patched(sound, {{136, near}, {140, 3}}));
    }
    ByteWriter shared = ByteWriter().Fill(128).Big32(200);
    for (int i = 0; i < 200; ++i) shared.Text(i % 2 == 0 ? "cprt" : "A2B0").Big32(2532).Big32(600);
    sow("shared-block", shared.Append(Mft2(SmoothLut(2))).Fill(600).Done());
    ByteWriter empty = ByteWriter().Fill(128).Big32(300);
    for (int i = 0; i < 300; ++i) empty.Text("wtpt").Big32(0).Big32(0);
    sow("empty-blocks", empty.Done());
}

CurvedLutSpec SoundCurved(int inputs, int outputs, int points, int entries) {
    return Curved(MakeLut({inputs, outputs, points, entries, entries}, inputs), CurveLayout::Stepped);
}

/// Blocks of tables of curves and a grid, valid and with each of their offsets and counts wrong.
void SowCurvedBlocks(const Sow& sow) {
    for (int inputs = 1; inputs <= 4; ++inputs) {
        for (int outputs = 1; outputs <= 3; ++outputs) {
            for (const int entries : {2, 3, 5}) {
                sow(Name("curved", inputs, outputs, entries), EncodeCurved(SoundCurved(inputs, outputs, 3, entries)));
            }
        }
    }
    const Bytes sound = EncodeCurved(SoundCurved(3, 3, 3, 5));
    const auto size = static_cast<std::uint32_t>(sound.size());
    for (const std::size_t field : {12U, 20U, 24U, 28U}) {
        for (const std::uint32_t word : {0U, 1U, 31U, size - 1, size, 0x80000000U, 0xffffffffU}) {
            sow(Name("curved-word", field, word), Patched(sound, {{field, word}}));
        }
    }
    for (const unsigned precision : {0U, 1U, 2U, 3U, 255U}) {
        CurvedLutSpec contents = SoundCurved(3, 3, 2, 3);
        contents.precision = precision;
        sow(Name("curved-precision", precision), EncodeCurved(contents));
    }
    for (const unsigned points : {0U, 1U, 2U, 33U, 34U, 255U}) {
        CurvedLutSpec contents = SoundCurved(1, 3, 2, 3);
        contents.gridPoints[0] = static_cast<std::uint8_t>(points);
        contents.grid.resize(std::size_t{points} * 3);
        sow(Name("curved-points", points), EncodeCurved(contents));
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

}  // namespace

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
