// SPDX-License-Identifier: MIT
// The classes' shape: the class hierarchy, the order of virtual operations and fields, and the forms of construction.
#include <cstring>
#include <type_traits>

#include "support/Layout.h"
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

using Orvix_Tiff_STL2::DataType;
using std::is_same_v;
using File = std::FILE;

// Fields and their widths.
static_assert(is_same_v<decltype(TiffTag::tag), TiffTagSignature> && is_same_v<decltype(TiffTag::type), FieldType>);
static_assert(is_same_v<decltype(TiffTag::count), std::uint32_t> && is_same_v<decltype(TiffTag::value), std::uint32_t>);
static_assert(is_same_v<decltype(Tiff::ifdOffset), std::uint32_t>);
static_assert(is_same_v<decltype(Tiff::writeIfdOffset), std::int32_t>);
static_assert(is_same_v<decltype(CTiff::width), std::int32_t> && is_same_v<decltype(CTiff::height), std::int32_t>);
static_assert(is_same_v<decltype(CTiff::samples), std::int32_t> && is_same_v<decltype(CTiff::bits), std::int32_t>);
static_assert(is_same_v<decltype(CTiff::rowBytes), std::int32_t>);
static_assert(is_same_v<decltype(CTiff::resolution), std::int32_t>);
static_assert(is_same_v<decltype(CTiff::imageBuf), unsigned char*>, "lent, not owned");
static_assert(sizeof DataType == 12 * 4 && sizeof DataType[0] == 4);
static_assert(sizeof(FieldType) == 4 && std::is_signed_v<std::underlying_type_t<FieldType>>);
static_assert(sizeof(TiffTagSignature) == 4 && std::is_unsigned_v<std::underlying_type_t<TiffTagSignature>>);

/// The kinds of tag differ only in behaviour, and are made only from an IFD entry.
template <typename Kind>
constexpr bool kIsAKindOfTag =
    std::is_base_of_v<TiffTag, Kind> && sizeof(Kind) == sizeof(TiffTag) &&
    std::has_virtual_destructor_v<Kind>&& std::is_constructible_v<Kind, unsigned, unsigned, unsigned, File*> &&
    !std::is_default_constructible_v<Kind> && !std::is_constructible_v<Kind, TiffTagSignature> &&
    !std::is_constructible_v<Kind, TiffTagSignature, FieldType, unsigned, unsigned, unsigned char*> &&
    is_same_v<decltype(&Kind::SaveFile), decltype(&TiffTag::SaveFile)> &&
    is_same_v<decltype(&Kind::GetData), decltype(&TiffTag::GetData)> &&
    is_same_v<decltype(&Kind::ValueIsOffset), decltype(&TiffTag::ValueIsOffset)>;
static_assert(kIsAKindOfTag<BitsPerSampleTag> && kIsAKindOfTag<ResolutionTag> && kIsAKindOfTag<Exif_IFD_Tag>);
static_assert(is_same_v<decltype(&BitsPerSampleTag::GetValue), unsigned (BitsPerSampleTag::*)() const>);
static_assert(is_same_v<decltype(&ResolutionTag::GetValue), unsigned (ResolutionTag::*)() const>);
static_assert(is_same_v<decltype(&Exif_IFD_Tag::GetValue), unsigned (TiffTag::*)() const>, "the plain one");

static_assert(std::is_base_of_v<Tiff, CTiff> && std::has_virtual_destructor_v<Tiff>);
static_assert(is_same_v<decltype(&CTiff::ReadFile), int (CTiff::*)(const char*)>, "the image's own");
static_assert(is_same_v<decltype(&CTiff::SetTagValue), int (CTiff::*)(TiffTagSignature, unsigned)>, "its own, too");

/// Checks that operations are virtual and have slots one after the other, the first at 2.
template <typename... Operations>
void ExpectSlots(Operations... operations) {
    std::uintptr_t slot = 2;
    for (const Member& operation : {Member(operations)...}) EXPECT_EQ(operation.Slot(), slot++);
}

TEST(TiffLayout, VirtualFunctionsFollowTheDestructors) {
    ExpectSlots(&TiffTag::GetValue, &TiffTag::SaveFile, &TiffTag::GetData);
    ExpectSlots(&BitsPerSampleTag::GetValue);
    ExpectSlots(&ResolutionTag::GetValue);
    ExpectSlots(&Tiff::Reset, &Tiff::CheckFile, &Tiff::ReadTiff, &Tiff::SaveTiff, &Tiff::ReadFile, &Tiff::SaveFile,
                &Tiff::CreateTag, &Tiff::WriteHeader);
    EXPECT_EQ(Member(&CTiff::ReadFile).Slot(), 6U);
}

template <typename... Operations>
void ExpectPlain(Operations... operations) {
    for (const Member& operation : {Member(operations)...}) EXPECT_FALSE(operation.IsVirtual());
}

TEST(TiffLayout, OtherOperationsAreNotVirtual) {
    using Set = int (CTiff::*)(TiffTagSignature, unsigned short, unsigned, unsigned, unsigned char*);
    ExpectPlain(&TiffTag::ValueIsOffset, &Tiff::ReadImage, &Tiff::ReadMultiStripOffset, &Tiff::Pack<unsigned char>,
                &Tiff::Pack<unsigned short>, &Tiff::AddTags, &Tiff::SetTag, &Tiff::GetTag, &Tiff::SetTagValue,
                &Tiff::GetTagValue, &Tiff::WriteIFD, &Tiff::WriteTagData, &Tiff::WriteImageData,
                &Tiff::WriteData_Exif_IFD_Tag, static_cast<Set>(&CTiff::SetTag), &CTiff::SetTagValue, &CTiff::GetXY,
                &CTiff::SetXY, &CTiff::GetImageBuf, &CTiff::SetImageBuf, &CTiff::RemoveIcc, &CTiff::SetIccProfile,
                &CTiff::SaveIccProfile);
}

TEST(TiffLayout, FieldsAreInOrder) {
    const TiffTag tag;
    ExpectInOrder({&tag, &tag.tag, &tag.type, &tag.count, &tag.value, &tag.data});
    const CTiff tiff;
    ExpectInOrder({&tiff, &tiff.ifdOffset, &tiff.tags, &tiff.writeIfdOffset, &tiff.width, &tiff.height, &tiff.samples,
                   &tiff.bits, &tiff.rowBytes, &tiff.resolution, &tiff.imageBuf});
    EXPECT_EQ(static_cast<const void*>(static_cast<const Tiff*>(&tiff)), static_cast<const void*>(&tiff));
}

}  // namespace
}  // namespace hueweave::test
