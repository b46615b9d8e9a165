// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "system/FileAccess.h"
#include "tiff/PageForm.h"
#include "tiff/codec/TiffHandle.h"

namespace hueweave::tool {

/// Encodes strips and tiles in the form of a page as bytes for the file, with libtiff. For use by one thread at a
/// time.
class TiffEncoder {
public:
    using Sink = std::function<void(const unsigned char* data, std::size_t size)>;

    /// Borrows the target, for its name, and the form in which the page is written.
    TiffEncoder(const FileAccess& target, const PageForm& form, bool bigEndian);
    ~TiffEncoder();

    /// Encodes a strip or tile of `size` bytes, which are overwritten.
    Bytes Encode(unsigned char* pixels, std::size_t size);
    /// The same row by row, for strips too large to be held in memory: `sink` receives the bytes as they are encoded.
    /// Call `BeginRows`, then `Row` for each row from 0 on, then `EndRows`.
    void BeginRows(Sink sink);
    void Row(std::uint32_t row, unsigned char* pixels);
    void EndRows();

private:
    struct Target;
    void Open();
    void Set(std::uint32_t tag, std::uint32_t value);
    [[noreturn]] void Refuse() const;
    const FileAccess& file_;
    const PageForm& form_;
    bool bigEndian_;
    std::unique_ptr<Target> target_;
    TiffHandle handle_;
};

/// Measured memory of a decoder and an encoder in bytes; negligible amounts count as 0.
std::uint64_t CoderMemory(const PageForm& form);

}  // namespace hueweave::tool
