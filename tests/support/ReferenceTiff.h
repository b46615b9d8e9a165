// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/ByteWriter.h"

namespace hueweave::test {

/// One entry of a directory. The data are the bytes in the file; those of tag 273 become the image.
struct ReferenceTag {
    unsigned tag = 0;
    unsigned type = 0;
    std::uint32_t count = 0;
    std::uint32_t value = 0;
    std::optional<Bytes> data;
    bool lost = false;  ///< more than 4 bytes that lie outside the file, or more than a directory may use

    std::int64_t Size() const;        ///< width x count; 0 if that is above 2^31 - 1
    std::int64_t StoredSize() const;  ///< the same; 0 if it is above 4 and there are no data
    std::uint32_t Value() const;
};

/// A minimal reader and writer for TIFF files: from bytes to bytes.
class ReferenceTiff {
public:
    /// Returns 0, -2 or -3.
    int Read(const Bytes& file);
    /// Updates the offsets in the tags and returns the file.
    Bytes Save();
    void RemoveIcc();

    ReferenceTag* Find(unsigned tag);
    std::uint32_t ValueOf(unsigned tag);  ///< 0 if absent

    std::vector<ReferenceTag> tags;

private:
    class Stream;
    void ReadTag(Stream& stream, ReferenceTag tag, std::size_t& used);
    void ReadImage(Stream& stream);
    void Attach(Stream& stream, std::int64_t offset, std::uint32_t n);
    void ReadStrips(Stream& stream);
    void Pack(std::int64_t width, std::int64_t height, std::size_t sampleBytes, std::size_t fileSize);
};

/// Converts `pixels` pixels of three samples in place.
using PixelConverter = std::function<void(unsigned char* samples, int pixels)>;

struct ReferenceRun {
    Bytes file;
    std::string log;  ///< standard output
};

/// A whole conversion. `source` is empty for a file that cannot be opened; `sampleBytes` is 1 or 2, the engine's input
/// width, whatever the file says.
ReferenceRun ConvertTiff(const std::optional<Bytes>& source, const std::string& sourcePath, int sampleBytes,
                         const PixelConverter& convert);

}  // namespace hueweave::test
