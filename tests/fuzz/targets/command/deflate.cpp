// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Any bytes as Deflate data of a strip: at once and row by row, they decode to what zlib makes of them in one call, and
// are refused where zlib does not come to their end, where they are too short, or where they go on too far.
#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "FuzzInput.h"
#include "Scene.h"
#include "tiff/codec/DeflateReader.h"

using namespace hueweave::fuzz;
using namespace hueweave::tool;
using hueweave::test::ByteWriter;

namespace {

/// What zlib says of all the bytes at once, with room for `most` more than any strip may have.
struct Plain {
    bool whole = false;  ///< up to the checksum
    Bytes bytes;
};

Plain ByZlib(Bytes raw, std::size_t room) {
    Plain plain;
    plain.bytes.resize(room);
    z_stream stream{};
    Require(inflateInit(&stream) == Z_OK, "zlib begins");
    stream.next_in = raw.data();
    stream.avail_in = static_cast<unsigned>(raw.size());
    stream.next_out = plain.bytes.data();
    stream.avail_out = static_cast<unsigned>(room);
    plain.whole = inflate(&stream, Z_FINISH) == Z_STREAM_END;
    plain.bytes.resize(room - stream.avail_out);
    inflateEnd(&stream);
    return plain;
}

/// A page of one strip of `width` x `height` pixels at byte 8, with the directory behind it.
Bytes FileWith(const Bytes& raw, unsigned width, unsigned height, unsigned fillOrder) {
    ByteWriter file;
    const std::size_t at = 8 + raw.size() + raw.size() % 2;
    file.Text("II").Little16(42).Little32(static_cast<std::uint32_t>(at)).Append(raw).Fill(raw.size() % 2);
    constexpr unsigned kEntries = 9;
    const auto entry = [&](unsigned tag, std::uint32_t value) {
        file.Little16(tag).Little16(4).Little32(1).Little32(value);
    };
    file.Little16(kEntries);
    entry(tag::Width, width);
    entry(tag::Height, height);
    entry(tag::BitsPerSample, 8);
    entry(tag::Compression, COMPRESSION_ADOBE_DEFLATE);
    entry(tag::Photometric, PHOTOMETRIC_RGB);
    entry(tag::FillOrder, fillOrder);
    entry(tag::StripOffsets, 8);
    entry(tag::SamplesPerPixel, 3);
    entry(tag::StripByteCounts, static_cast<std::uint32_t>(raw.size()));
    return file.Little32(0).Done();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchFile memory;
    FuzzInput input(data, size);
    const auto width = static_cast<unsigned>(1 + input.Below(64)), height = static_cast<unsigned>(1 + input.Below(64));
    const bool turned = input.Below(4) == 3;
    const Bytes raw = input.Rest();
    if (raw.empty()) return 0;
    Bytes stored = raw;
    if (turned) TIFFReverseBits(stored.data(), static_cast<tmsize_t>(stored.size()));
    memory.Put(FileWith(stored, width, height, turned ? FILLORDER_LSB2MSB : FILLORDER_MSB2LSB));

    const std::size_t pixels = std::size_t{3} * width * height;
    // Behind the pixels there may be as much again and 1 MiB.
    const std::size_t most = 2 * pixels + (std::size_t{1} << 20);
    const Plain plain = ByZlib(raw, most + 1);
    const bool sound = plain.whole && plain.bytes.size() >= pixels && plain.bytes.size() <= most;
    const auto refusal = RefusalOf([&] {
        const FileAccess file = FileAccess::OpenInput(memory.Path());
        const TiffStructure structure(file);
        const std::vector<TiffPage> pages = ReadPages(structure);
        const PageSource atOnce(structure, pages[0]), byRows(structure, pages[0]);
        DeflateReader reader(atOnce), rows(byRows);
        Bytes whole(pixels), rowed(pixels), bytes = stored;
        const DeflateEnd end = reader.Decode(bytes, whole);
        Require((end == DeflateEnd::Sound) == sound, "zlib and the reader take the same data");
        rows.BeginRows(pages[0].segments[0]);
        DeflateEnd last = DeflateEnd::Sound;
        for (std::size_t row = 0; row < height && last == DeflateEnd::Sound; ++row) {
            last = rows.Row(&rowed[row * 3 * width], std::size_t{3} * width);
        }
        if (last == DeflateEnd::Sound) last = rows.EndRows();
        Require((last == DeflateEnd::Sound) == sound, "rows are taken where the whole is");
        Require(reader.Explain(end).empty() == sound && rows.Explain(last).empty() == sound, "a reason for a refusal");
        if (!sound) return;
        Require(std::equal(whole.begin(), whole.end(), plain.bytes.begin()), "the pixels of zlib");
        Require(rowed == whole, "the same row by row");
    });
    Require(!refusal, "the file around the data is sound");
    return 0;
}
