// SPDX-License-Identifier: MIT
// Any bytes as Deflate data of a strip: at once and row by row, they decode to the output of a single call of zlib, and
// are refused if zlib does not reach their end, if they are too short, or if they continue too far.
#include <tiffio.h>
#include <zlib.h>

#include "Scene.h"
#include "support/TiffBuilder.h"
#include "tiff/codec/DeflateReader.h"

namespace hueweave::fuzz {
namespace {

using namespace tool;

/// A page of one strip.
Bytes FileWith(const Bytes& raw, unsigned width, unsigned height, unsigned fillOrder) {
    test::TiffBuilder file;
    file.Long(tag::Width, width).Long(tag::Height, height).Long(tag::BitsPerSample, 8);
    file.Long(tag::Compression, COMPRESSION_ADOBE_DEFLATE).Long(tag::Photometric, PHOTOMETRIC_RGB);
    file.Long(tag::FillOrder, fillOrder).StripOffsets().Long(tag::SamplesPerPixel, 3).StripByteCounts();
    return file.Strip(raw).Build();
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile memory;
    const auto width = static_cast<unsigned>(1 + input.Below(64)), height = static_cast<unsigned>(1 + input.Below(64));
    const bool turned = input.Below(4) == 3;
    const Bytes raw = input.Rest();
    if (raw.empty()) return;
    Bytes stored = raw;
    if (turned) TIFFReverseBits(stored.data(), static_cast<tmsize_t>(stored.size()));
    memory.Put(FileWith(stored, width, height, turned ? FILLORDER_LSB2MSB : FILLORDER_MSB2LSB));

    const std::size_t pixels = std::size_t{3} * width * height;
    // After the pixels there may be as many bytes again plus 1 MiB.
    const std::size_t most = 2 * pixels + (std::size_t{1} << 20);
    Bytes plain(most + 1);
    uLongf size = plain.size();
    const bool ends = uncompress(plain.data(), &size, raw.data(), raw.size()) == Z_OK;
    const bool sound = ends && size >= pixels && size <= most;
    const auto decode = [&] {
        const FileAccess file = FileAccess::OpenInput(memory.Path());
        const TiffStructure structure(file);
        const TiffPage page = ReadPages(structure)[0];
        const PageSource atOnce(structure, page), byRows(structure, page);
        DeflateReader reader(atOnce), rows(byRows);
        Bytes whole(pixels), rowed(pixels), bytes = stored;
        const DeflateEnd end = reader.Decode(bytes, whole);
        Require((end == DeflateEnd::Sound) == sound, "zlib and the reader take the same data");
        rows.BeginRows(page.segments[0]);
        DeflateEnd last = DeflateEnd::Sound;
        for (std::size_t at = 0; at < pixels && last == DeflateEnd::Sound; at += std::size_t{3} * width) {
            last = rows.Row(&rowed[at], std::size_t{3} * width);
        }
        if (last == DeflateEnd::Sound) last = rows.EndRows();
        Require((last == DeflateEnd::Sound) == sound, "rows are taken where the whole is");
        Require(reader.Explain(end).empty() == sound && rows.Explain(last).empty() == sound, "a reason for a refusal");
        if (!sound) return;
        Require(std::equal(whole.begin(), whole.end(), plain.begin()), "the pixels of zlib");
        Require(rowed == whole, "the same row by row");
    };
    MustSucceed(decode, "the file around the data is sound");
}

}  // namespace hueweave::fuzz
