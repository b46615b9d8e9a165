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

/// The bytes that `write` writes to an empty file.
inline Bytes WrittenBy(const std::function<void(std::FILE*)>& write) {
    const FileHandle stream(std::tmpfile());
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

/// A tag's data; empty if it has none.
inline Bytes DataOf(const TiffTag& tag) {
    return tag.data ? Bytes(tag.data.get(), tag.data.get() + tag.dataSize) : Bytes();
}
inline Bytes DataOf(const Tiff& tiff, unsigned tag) {
    const TiffTag* found = tiff.GetTag(Sig(tag));
    EXPECT_NE(found, nullptr) << "tag " << tag;
    return found ? DataOf(*found) : Bytes();
}
inline Bytes Image(const Tiff& tiff) { return DataOf(tiff, 273); }

/// The standard output of `action`.
inline std::string Printed(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
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
inline Fields FieldsOf(const Tiff& tiff, unsigned tag) {
    const TiffTag* found = tiff.GetTag(Sig(tag));
    EXPECT_NE(found, nullptr) << "tag " << tag;
    return found ? FieldsOf(*found) : Fields{};
}

inline std::vector<Fields> AllFields(const Tiff& tiff) {
    std::vector<Fields> all;
    for (const auto& tag : tiff.tags) all.push_back(FieldsOf(*tag));
    return all;
}

/// The IFD entries of a written file, whose directory is at offset 8.
inline std::vector<Fields> EntriesOf(const Bytes& file) {
    const auto number = [&](std::size_t at, int width) {
        std::uint32_t n = 0;
        for (int i = 0; i < width; ++i) n |= std::uint32_t{file.at(at + static_cast<std::size_t>(i))} << 8 * i;
        return n;
    };
    std::vector<Fields> entries;
    for (std::size_t i = 0; i < number(8, 2); ++i) {
        const std::size_t at = 10 + 12 * i;
        entries.push_back({number(at, 2), static_cast<int>(number(at + 2, 2)), number(at + 4, 4), number(at + 8, 4)});
    }
    return entries;
}
/// Checks that a file is read as by the plain reference: entries, data and image, and the file that a save writes.
inline void ExpectAsReference(const Bytes& file) {
    Tiff tiff;
    ReferenceTiff reference;
    ASSERT_EQ(ReadFrom(tiff, file), reference.Read(file));
    ASSERT_EQ(tiff.tags.size(), reference.tags.size());
    for (std::size_t i = 0; i < tiff.tags.size(); ++i) {
        const ReferenceTag& expected = reference.tags[i];
        EXPECT_EQ(FieldsOf(*tiff.tags[i]),
                  (Fields{expected.tag, static_cast<int>(expected.type), expected.count, expected.value}));
        EXPECT_EQ(tiff.tags[i]->data != nullptr, expected.data.has_value()) << "tag " << expected.tag;
        EXPECT_THAT(DataOf(*tiff.tags[i]), EqualsBytes(expected.data.value_or(Bytes()))) << "tag " << expected.tag;
    }
    EXPECT_THAT(Saved(tiff), EqualsBytes(reference.Save()));
}
struct NamedFile {
    std::string name;
    TiffBuilder file;
};
inline void ExpectAsReference(const std::vector<NamedFile>& files) {
    for (const NamedFile& row : files) {
        SCOPED_TRACE(row.name);
        ExpectAsReference(row.file.Build());
    }
}
/// Adds the IFD entries of a written file like a read does, without the image.
inline void AddEntries(Tiff& tiff, const Bytes& file, std::FILE* stream) {
    for (const Fields& entry : EntriesOf(file)) {
        tiff.AddTags(Word(static_cast<unsigned>(entry.type), entry.tag), entry.count, entry.value, stream);
    }
}
inline Fields EntryOf(const Bytes& file, unsigned tag) {
    for (const Fields& fields : EntriesOf(file)) {
        if (fields.tag == tag) return fields;
    }
    ADD_FAILURE() << "no entry " << tag;
    return {};
}

inline Bytes Part(const Bytes& bytes, std::size_t from, std::size_t count) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(from, bytes.size()));
    return Bytes(begin,
                 begin + static_cast<std::ptrdiff_t>(std::min(count, static_cast<std::size_t>(bytes.end() - begin))));
}
/// The part of a written file from the image to the end.
inline Bytes FromImage(const Bytes& file) { return Part(file, EntryOf(file, 273).value, file.size()); }
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

/// A tag that counts the destroyed tags of its class.
class MortalTag : public TiffTag {
public:
    MortalTag(unsigned signature, int& deaths) : TiffTag(Sig(signature)), deaths_(deaths) {}
    ~MortalTag() override { ++deaths_; }

private:
    int& deaths_;
};

}  // namespace hueweave::test
