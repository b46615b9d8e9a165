// SPDX-License-Identifier: MIT
// The layout of container and tags: the places of fields, virtual operations in their slots, and the class hierarchy.
#include <type_traits>

#include "support/Layout.h"
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICC4_HEADER::icTagBase;
using ICC40::ICCFILE::CLutGrid;
using ICC40::ICCFILE::icTagTypeSignature;

using Places = std::vector<std::size_t>;
/// Bytes from an object's start to each of its fields.
template <typename Object, typename... Fields>
Places PlacesIn(const Object& object, const Fields&... fields) {
    return {reinterpret_cast<std::uintptr_t>(&fields) - reinterpret_cast<std::uintptr_t>(&object)...};
}

constexpr std::size_t kBase = 32;  // vtable pointer, the two words of the plain struct, two more words, a pointer

TEST(IccFile4Layout, IsTheHeaderAndTheListWithoutABaseOrAVtable) {
    static_assert(!std::is_polymorphic_v<IccFile4>);
    const IccFile4 file;
    EXPECT_EQ(PlacesIn(file, file.header, file.tagList), (Places{0, 128}));
    EXPECT_EQ(sizeof(IccFile4), 128 + sizeof(std::vector<void*>));
}

TEST(ProfileHeaderLayout, MatchesTheFileFormat) {
    static_assert(std::is_standard_layout_v<ProfileHeader> && std::is_trivially_copyable_v<ProfileHeader>);
    EXPECT_EQ(sizeof(ProfileHeader), 128U);
    const ProfileHeader h;
    EXPECT_EQ(PlacesIn(h, h.profileSize, h.cmmType, h.profileVersion, h.deviceClass, h.colorSpace, h.pcs, h.dateTime,
                       h.magic, h.platform, h.profileFlags, h.manufacturer, h.model, h.attributes, h.renderingIntent,
                       h.illuminant, h.creator, h.profileId, h.headerReserved),
              (Places{0, 4, 8, 12, 16, 20, 24, 36, 40, 44, 48, 52, 56, 64, 68, 80, 84, 100}));
}

TEST(TagLayout, OfThePlainStructIsTwoWords) {
    static_assert(!std::is_polymorphic_v<icTagBase> && std::is_standard_layout_v<icTagBase>);
    const icTagBase plain;
    EXPECT_EQ(PlacesIn(plain, plain.sig, plain.reserved), (Places{0, 4}));
    EXPECT_EQ(sizeof(icTagBase), 8U);
}

TEST(TagLayout, OfTheBaseHasTheStructInFrontOfItsOwnFields) {
    static_assert(std::is_polymorphic_v<iccTagBase> && std::has_virtual_destructor_v<iccTagBase>);
    static_assert(std::is_convertible_v<iccTagBase*, icTagBase*>, "publicly derived");
    const iccTagBase tag;
    EXPECT_EQ(PlacesIn(tag, tag.sig, tag.reserved, tag.tagSig, tag.tagSize, tag.tagData), (Places{8, 12, 16, 20, 24}));
    EXPECT_EQ(sizeof(iccTagBase), kBase);
}

TEST(TagLayout, OfSimpleTagsIsWordsBeforeTheRest) {
    const CTextType text;
    EXPECT_EQ(PlacesIn(text, text.text), (Places{kBase}));
    const CTextDescriptionType description;
    EXPECT_EQ(PlacesIn(description, description.textLength, description.text), (Places{kBase, kBase + 8}));
    const CXYZType xyz;
    EXPECT_EQ(PlacesIn(xyz, xyz.rawXYZ, xyz.XYZ), (Places{kBase, kBase + 16}));
    const CCurveType curve;
    EXPECT_EQ(PlacesIn(curve, curve.curveCount, curve.curve), (Places{kBase, kBase + 8}));
    EXPECT_EQ(sizeof *curve.curve.get(), 2U);
    const CChad chad;
    EXPECT_EQ(PlacesIn(chad, chad.chad), (Places{kBase}));
    EXPECT_EQ(sizeof(CDataType), sizeof(iccTagBase)) << "no field of its own";
}

template <typename Lut>
void ExpectPlacesOfATable() {
    const Lut lut;
    EXPECT_EQ(PlacesIn(lut, lut.inputChan, lut.outputChan, lut.clutPoints, lut.pad, lut.matrix, lut.inputEnt,
                       lut.outputEnt, lut.inputTable, lut.clutTable, lut.outputTable),
              (Places{kBase, 33, 34, 35, 36, 72, 74, 80, 88, 96}));
}

TEST(TagLayout, OfBothPlainTablesIsTheSame) {
    ExpectPlacesOfATable<CLut16Type>();
    ExpectPlacesOfATable<CLut8Type>();
}

TEST(TagLayout, OfTheCurvedTableIsItsOffsetsAndThenItsParts) {
    const CLut lut;
    EXPECT_EQ(
        PlacesIn(lut, lut.inputChan, lut.outputChan, lut.lutPad, lut.bCurveOffset, lut.matrixOffset, lut.mCurveOffset,
                 lut.clutOffset, lut.aCurveOffset, lut.bCurves, lut.mCurve, lut.clut, lut.aCurves),
        (Places{kBase, 33, 34, 36, 40, 44, 48, 52, 56, 80, 88, 96}));
    const CLutGrid grid;
    EXPECT_EQ(PlacesIn(grid, grid.gridPoints, grid.precision, grid.padding, grid.gridData), (Places{0, 16, 17, 24}));
}

template <typename Tag>
class IccTagBaseVtable : public testing::Test {};
TYPED_TEST_SUITE(IccTagBaseVtable, AllTags);

TYPED_TEST(IccTagBaseVtable, HasItsOperationsInTheSameSlots) {
    const auto fromBlock =
        static_cast<unsigned (TypeParam::*)(icTagSignature, unsigned char*, int)>(&TypeParam::Initial);
    const auto fromType = static_cast<unsigned (TypeParam::*)(icTagSignature, icTagTypeSignature)>(&TypeParam::Initial);
    EXPECT_EQ(Member(fromBlock).Slot(), 2U) << "behind the two forms of the destructor";
    EXPECT_EQ(Member(fromType).Slot(), 3U);
    EXPECT_EQ(Member(&TypeParam::Read).Slot(), 4U);
    EXPECT_EQ(Member(&TypeParam::Save).Slot(), 5U);
}

TEST(TagLayout, OfACurveHasAnOperationThatIsNotVirtual) {
    const auto withoutSize =
        static_cast<unsigned (CCurveType::*)(icTagSignature, unsigned char*)>(&CCurveType::Initial);
    EXPECT_FALSE(Member(withoutSize).IsVirtual());
}

}  // namespace
}  // namespace hueweave::test::icc
