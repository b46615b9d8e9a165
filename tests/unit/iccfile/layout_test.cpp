// SPDX-License-Identifier: MIT
// The layout of container and tags: the order and width of fields, virtual operations in their slots, and the class
// hierarchy.
#include <type_traits>

#include "support/Layout.h"
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICC4_HEADER::icTagBase;
using ICC40::ICCFILE::CLutGrid;
using ICC40::ICCFILE::icTagTypeSignature;

/// Bytes from an object's start to one of its fields.
template <typename Object, typename Field>
std::size_t At(const Object& object, const Field& field) {
    return static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(&field) -
                                    reinterpret_cast<std::uintptr_t>(&object));
}
using Places = std::vector<std::size_t>;

constexpr std::size_t kBase = 32;  // vtable pointer, the two words of the plain struct, two more words, a pointer

TEST(IccFile4Layout, IsTheHeaderAndTheListWithoutABaseOrATable) {
    static_assert(!std::is_polymorphic_v<IccFile4>);
    const IccFile4 file;
    EXPECT_EQ((Places{At(file, file.header), At(file, file.tagList)}), (Places{0, 128}));
    EXPECT_EQ(sizeof(IccFile4), 128 + sizeof(std::vector<void*>));
}

TEST(ProfileHeaderLayout, IsThatOfTheFile) {
    static_assert(std::is_standard_layout_v<ProfileHeader> && std::is_trivially_copyable_v<ProfileHeader>);
    EXPECT_EQ(sizeof(ProfileHeader), 128U);
    const ProfileHeader header;
    EXPECT_EQ((Places{At(header, header.profileSize), At(header, header.cmmType), At(header, header.profileVersion),
                      At(header, header.deviceClass), At(header, header.colorSpace), At(header, header.pcs),
                      At(header, header.dateTime), At(header, header.magic), At(header, header.platform),
                      At(header, header.profileFlags), At(header, header.manufacturer), At(header, header.model),
                      At(header, header.attributes), At(header, header.renderingIntent), At(header, header.illuminant),
                      At(header, header.creator), At(header, header.profileId), At(header, header.headerReserved)}),
              (Places{0, 4, 8, 12, 16, 20, 24, 36, 40, 44, 48, 52, 56, 64, 68, 80, 84, 100}));
}

TEST(TagLayout, OfThePlainStructIsTwoWords) {
    static_assert(!std::is_polymorphic_v<icTagBase> && std::is_standard_layout_v<icTagBase>);
    const icTagBase plain;
    EXPECT_EQ((Places{At(plain, plain.sig), At(plain, plain.reserved)}), (Places{0, 4}));
    EXPECT_EQ(sizeof(icTagBase), 8U);
}

TEST(TagLayout, OfTheBaseHasTheStructInFrontOfItsOwnFields) {
    static_assert(std::is_polymorphic_v<iccTagBase> && std::has_virtual_destructor_v<iccTagBase>);
    static_assert(std::is_convertible_v<iccTagBase*, icTagBase*>, "publicly derived");
    const iccTagBase tag;
    EXPECT_EQ((Places{At(tag, tag.sig), At(tag, tag.reserved), At(tag, tag.tagSig), At(tag, tag.tagSize),
                      At(tag, tag.tagData)}),
              (Places{8, 12, 16, 20, 24}));
    EXPECT_EQ(sizeof(iccTagBase), kBase);
}

TEST(TagLayout, OfSimpleTagsIsWordsBeforeTheRest) {
    const CTextType text;
    EXPECT_EQ(At(text, text.text), kBase);
    const CTextDescriptionType description;
    EXPECT_EQ((Places{At(description, description.textLength), At(description, description.text)}),
              (Places{kBase, kBase + 8}));
    const CXYZType xyz;
    EXPECT_EQ((Places{At(xyz, xyz.rawXYZ), At(xyz, xyz.XYZ)}), (Places{kBase, kBase + 16}));
    const CCurveType curve;
    EXPECT_EQ((Places{At(curve, curve.curveCount), At(curve, curve.curve)}), (Places{kBase, kBase + 8}));
    EXPECT_EQ(sizeof *curve.curve.get(), 2U);
    const CChad chad;
    EXPECT_EQ(At(chad, chad.chad), kBase);
    EXPECT_EQ(sizeof(CDataType), sizeof(iccTagBase)) << "no field of its own";
}

template <typename Lut>
Places PlacesOf(const Lut& lut) {
    return {At(lut, lut.inputChan), At(lut, lut.outputChan), At(lut, lut.clutPoints), At(lut, lut.pad),
            At(lut, lut.matrix),    At(lut, lut.inputEnt),   At(lut, lut.outputEnt),  At(lut, lut.inputTable),
            At(lut, lut.clutTable), At(lut, lut.outputTable)};
}

TEST(TagLayout, OfBothPlainTablesIsTheSame) {
    const CLut16Type wide;
    const CLut8Type narrow;
    const Places places = {kBase, 33, 34, 35, 36, 72, 74, 80, 88, 96};
    EXPECT_EQ(PlacesOf(wide), places);
    EXPECT_EQ(PlacesOf(narrow), places);
}

TEST(TagLayout, OfTheCurvedTableIsItsOffsetsAndThenItsParts) {
    const CLut lut;
    EXPECT_EQ((Places{At(lut, lut.inputChan), At(lut, lut.outputChan), At(lut, lut.lutPad), At(lut, lut.bCurveOffset),
                      At(lut, lut.matrixOffset), At(lut, lut.mCurveOffset), At(lut, lut.clutOffset),
                      At(lut, lut.aCurveOffset), At(lut, lut.bCurves), At(lut, lut.mCurve), At(lut, lut.clut),
                      At(lut, lut.aCurves)}),
              (Places{kBase, 33, 34, 36, 40, 44, 48, 52, 56, 80, 88, 96}));
    const CLutGrid grid;
    EXPECT_EQ(
        (Places{At(grid, grid.gridPoints), At(grid, grid.precision), At(grid, grid.padding), At(grid, grid.gridData)}),
        (Places{0, 16, 17, 24}));
}

template <typename Tag>
class TagSlots : public testing::Test {};
TYPED_TEST_SUITE(TagSlots, AllTags);

TYPED_TEST(TagSlots, HasItsOperationsInTheSameSlots) {
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
