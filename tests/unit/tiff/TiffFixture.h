// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/FileHandle.h"
#include "support/ByteWriter.h"
#include "support/Matchers.h"
#include "support/ReferenceTiff.h"
#include "support/TempDir.h"
#include "support/TiffBuilder.h"
#include "tiff/CTiff.h"

namespace hueweave::test {

using Orvix_Tiff_STL2::BitsPerSampleTag;
using Orvix_Tiff_STL2::CTiff;
using Orvix_Tiff_STL2::Exif_IFD_Tag;
using Orvix_Tiff_STL2::FieldType;
using Orvix_Tiff_STL2::ResolutionTag;
using Orvix_Tiff_STL2::Tiff;
using Orvix_Tiff_STL2::TiffTag;
using Orvix_Tiff_STL2::TiffTagSignature;

/// The output of a save of a list without tags.
inline const std::string kEmptyList = "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***\n";
/// Bytes per item of the types 0 to 13.
inline constexpr unsigned kWidths[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 4, 8, 8, 4};

constexpr TiffTagSignature Sig(unsigned tag) { return static_cast<TiffTagSignature>(tag); }
constexpr FieldType Type(int code) { return static_cast<FieldType>(code); }
/// The first 32-bit word of an IFD entry.
constexpr unsigned Word(unsigned type, unsigned tag) { return type * 65536U + tag; }

/// A stream over a nameless file of these bytes, positioned at its start.
inline FileHandle StreamOf(const Bytes& bytes) {
    FileHandle stream(std::tmpfile());
    if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), stream.get());
    std::fflush(stream.get());
    std::rewind(stream.get());
    return stream;
}

/// A file of these bytes, after `write` has written from its end on.
inline Bytes WrittenBy(const std::function<void(std::FILE*)>& write, const Bytes& before = {}) {
    const FileHandle stream = StreamOf(before);
    std::fseek(stream.get(), 0, SEEK_END);
    write(stream.get());
    std::fseek(stream.get(), 0, SEEK_END);
    Bytes bytes(static_cast<std::size_t>(std::ftell(stream.get())));
    std::rewind(stream.get());
    EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), stream.get()), bytes.size());
    return bytes;
}

/// A block allocated as a caller does it, to be adopted.
inline unsigned char* Given(const Bytes& bytes) {
    auto* made = new unsigned char[bytes.size()];
    std::copy(bytes.begin(), bytes.end(), made);
    return made;
}
/// A tag that adopts a caller's bytes.
inline std::unique_ptr<TiffTag> Adopting(unsigned tag, int type, std::uint32_t count, const Bytes& bytes) {
    return std::make_unique<TiffTag>(Sig(tag), Type(type), count, 7, Given(bytes));
}
/// A tag with its own data.
inline std::unique_ptr<TiffTag> Made(unsigned tag, int type, std::uint32_t count, std::uint32_t value,
                                     const Bytes& data) {
    auto made = std::make_unique<TiffTag>(Sig(tag), Type(type), count, value, nullptr);
    std::copy(data.begin(), data.end(), made->Allocate(data.size()));
    return made;
}

inline Bytes SavedTag(const TiffTag& tag) {
    return WrittenBy([&](std::FILE* f) { tag.SaveFile(f); });
}
inline Bytes Saved(Tiff& tiff) {
    return WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.SaveTiff(f), 0); });
}

/// Reads the file into `tiff` and returns the status.
inline int ReadFrom(Tiff& tiff, const Bytes& file) {
    const FileHandle stream = StreamOf(file);
    return tiff.ReadTiff(stream.get());
}

/// A file that is read on construction.
class TiffOf : public CTiff {  // has a member `Bytes` of its own
public:
    explicit TiffOf(const test::Bytes& file) { EXPECT_EQ(ReadFrom(*this, file), 0); }
    explicit TiffOf(const TiffBuilder& file) : TiffOf(file.Build()) {}
};

/// An image whose tags are made by the test, where it says how.
class TiffWithFactory : public CTiff {
public:
    std::function<std::unique_ptr<TiffTag>(unsigned word, unsigned count, unsigned value, std::FILE* f)> make;
    std::unique_ptr<TiffTag> CreateTag(unsigned word, unsigned count, unsigned value, std::FILE* f) override {
        return make ? make(word, count, value, f) : CTiff::CreateTag(word, count, value, f);
    }
};

/// A tag's data; empty if it has none.
inline Bytes DataOf(const TiffTag& tag) {
    return tag.data ? Bytes(tag.data.get(), tag.data.get() + tag.dataSize) : Bytes();
}
/// The first tag of a signature, which must exist.
inline const TiffTag& Found(const Tiff& tiff, unsigned tag) {
    const TiffTag* found = tiff.GetTag(Sig(tag));
    if (found == nullptr) throw std::runtime_error("no tag " + std::to_string(tag));
    return *found;
}
inline Bytes DataOf(const Tiff& tiff, unsigned tag) { return DataOf(Found(tiff, tag)); }
inline Bytes Image(const Tiff& tiff) { return DataOf(tiff, 273); }

/// The standard output of `action`.
inline std::string Printed(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

/// The text of the exception that `action` throws; null if it throws none.
inline const char* Thrown(const std::function<void()>& action) {
    try {
        action();
    } catch (const char* text) {
        return text;
    }
    return nullptr;
}

inline std::vector<unsigned> Signatures(const Tiff& tiff) {
    std::vector<unsigned> all;
    for (const auto& tag : tiff.tags) all.push_back(tag->tag);
    return all;
}

/// The fields of an IFD entry, compared as one.
struct Fields {
    unsigned tag;
    int type;
    std::uint32_t count;
    std::uint32_t value;
    bool operator==(const Fields&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const Fields& f) {
    return out << f.tag << ": type " << f.type << ", count " << f.count << ", value " << f.value;
}
inline Fields FieldsOf(const TiffTag& tag) { return {tag.tag, tag.type, tag.count, tag.value}; }
inline Fields FieldsOf(const Tiff& tiff, unsigned tag) { return FieldsOf(Found(tiff, tag)); }
inline std::vector<Fields> AllFields(const Tiff& tiff) {
    std::vector<Fields> all;
    for (const auto& tag : tiff.tags) all.push_back(FieldsOf(*tag));
    return all;
}

/// Compares many bytes quickly, and one by one to report a difference.
inline void ExpectBytes(const Bytes& bytes, const Bytes& expected) {
    if (bytes == expected) return;
    EXPECT_THAT(bytes, EqualsBytes(expected));
}
/// Checks that a file is read as by the plain reference: status, entries, their values and data and the image, before a
/// save and after it, and the file that a save writes.
inline void ExpectRead(const std::string& name, const Bytes& file) {
    if (testing::Test::HasFailure()) return;  // one file is enough to read
    SCOPED_TRACE(name);
    Tiff tiff;
    ReferenceTiff reference;
    EXPECT_EQ(ReadFrom(tiff, file), reference.Read(file));
    for (const bool saved : {false, true}) {
        ASSERT_EQ(tiff.tags.size(), reference.tags.size());
        for (std::size_t i = 0; i < tiff.tags.size(); ++i) {
            const TiffTag& tag = *tiff.tags[i];
            const ReferenceTag& expected = reference.tags[i];
            SCOPED_TRACE(testing::Message() << "entry " << i << ", tag " << tag.tag << (saved ? ", saved" : ""));
            EXPECT_EQ(FieldsOf(tag),
                      (Fields{expected.tag, static_cast<int>(expected.type), expected.count, expected.value}));
            EXPECT_EQ(tag.data != nullptr, expected.data.has_value());
            ExpectBytes(DataOf(tag), expected.data.value_or(Bytes()));
            EXPECT_EQ(tag.GetValue(), expected.Value());
            EXPECT_EQ(tag.Size(), expected.Size());
            EXPECT_EQ(tag.ValueIsOffset(), expected.Size() > 4);
        }
        ExpectBytes(Saved(tiff), reference.Save());
    }
}
inline void ExpectRead(const std::string& name, const TiffBuilder& file) { ExpectRead(name, file.Build()); }

/// Up to `count` bytes.
inline Bytes Part(const Bytes& bytes, std::size_t from, std::size_t count) {
    const auto rest = std::span(bytes).subspan(std::min(from, bytes.size()));
    const auto part = rest.first(std::min(count, rest.size()));
    return Bytes(part.begin(), part.end());
}
/// The part of the saved file from the image to the end.
inline Bytes FromImage(Tiff& tiff) {
    const Bytes file = Saved(tiff);
    return Part(file, Found(tiff, 273).value, file.size());
}
/// Padded with zeros.
inline Bytes Padded(Bytes bytes, std::size_t size) {
    bytes.resize(size, 0);
    return bytes;
}
inline Bytes Joined(const std::vector<Bytes>& parts) {
    ByteWriter out;
    for (const Bytes& part : parts) out.Append(part);
    return out.Done();
}

}  // namespace hueweave::test
