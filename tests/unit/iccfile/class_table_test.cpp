// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The class of a tag, for every name with every type, through the container and by itself.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

enum class Kind { Chad, Lut, Lut16, Lut8, Xyz, Curve, Description, Text, Data };

/// Every kind that the object can be cast to; `Data` for one that is a `CDataType`.
std::vector<Kind> KindsOf(const iccTagBase* tag) {
    std::vector<Kind> kinds;
    if (dynamic_cast<const CChad*>(tag) != nullptr) kinds.push_back(Kind::Chad);
    if (dynamic_cast<const CLut*>(tag) != nullptr) kinds.push_back(Kind::Lut);
    if (dynamic_cast<const CLut16Type*>(tag) != nullptr) kinds.push_back(Kind::Lut16);
    if (dynamic_cast<const CLut8Type*>(tag) != nullptr) kinds.push_back(Kind::Lut8);
    if (dynamic_cast<const CXYZType*>(tag) != nullptr) kinds.push_back(Kind::Xyz);
    if (dynamic_cast<const CCurveType*>(tag) != nullptr) kinds.push_back(Kind::Curve);
    if (dynamic_cast<const CTextDescriptionType*>(tag) != nullptr) kinds.push_back(Kind::Description);
    if (dynamic_cast<const CTextType*>(tag) != nullptr) kinds.push_back(Kind::Text);
    if (dynamic_cast<const CDataType*>(tag) != nullptr) kinds.push_back(Kind::Data);
    return kinds;
}

struct Column {
    const char* type;
    Kind a2b, b2a, unknown;  ///< what the type makes of a table of either direction, and of a name not listed
};
const Column kTypes[] = {
    {"mAB ", Kind::Lut, Kind::Lut8, Kind::Data},         {"mBA ", Kind::Lut8, Kind::Lut, Kind::Data},
    {"mft2", Kind::Lut16, Kind::Lut16, Kind::Data},      {"mft1", Kind::Lut8, Kind::Lut8, Kind::Data},
    {"text", Kind::Lut8, Kind::Lut8, Kind::Description}, {"curv", Kind::Lut8, Kind::Lut8, Kind::Data},
    {"para", Kind::Lut8, Kind::Lut8, Kind::Data},        {"XYZ ", Kind::Lut8, Kind::Lut8, Kind::Data},
    {"sf32", Kind::Lut8, Kind::Lut8, Kind::Data},        {"desc", Kind::Lut8, Kind::Lut8, Kind::Data},
    {"mluc", Kind::Lut8, Kind::Lut8, Kind::Data},        {"data", Kind::Lut8, Kind::Lut8, Kind::Data},
    {"mAB0", Kind::Lut8, Kind::Lut8, Kind::Data},        {"MFT2", Kind::Lut8, Kind::Lut8, Kind::Data},
    {"TEXT", Kind::Lut8, Kind::Lut8, Kind::Data},
};

enum class Rule { Chad, A2B, B2A, Xyz, Curve, Description, Text, Unknown };
struct NamedRule {
    const char* name;
    Rule rule;
};
const NamedRule kNames[] = {
    {"chad", Rule::Chad},    {"A2B0", Rule::A2B},     {"A2B1", Rule::A2B},     {"A2B2", Rule::A2B},
    {"B2A0", Rule::B2A},     {"B2A1", Rule::B2A},     {"B2A2", Rule::B2A},     {"rXYZ", Rule::Xyz},
    {"gXYZ", Rule::Xyz},     {"bXYZ", Rule::Xyz},     {"wtpt", Rule::Xyz},     {"bkpt", Rule::Xyz},
    {"rTRC", Rule::Curve},   {"gTRC", Rule::Curve},   {"bTRC", Rule::Curve},   {"desc", Rule::Description},
    {"cprt", Rule::Text},    {"A2B3", Rule::Unknown}, {"B2A3", Rule::Unknown}, {"A2Bz", Rule::Unknown},
    {"a2b0", Rule::Unknown}, {"D2B0", Rule::Unknown}, {"B2D0", Rule::Unknown}, {"pre0", Rule::Unknown},
    {"pre1", Rule::Unknown}, {"pre2", Rule::Unknown}, {"gamt", Rule::Unknown}, {"kTRC", Rule::Unknown},
    {"lumi", Rule::Unknown}, {"dmnd", Rule::Unknown}, {"dmdd", Rule::Unknown}, {"vued", Rule::Unknown},
    {"targ", Rule::Unknown}, {"text", Rule::Unknown}, {"mft2", Rule::Unknown}, {"kXYZ", Rule::Unknown},
    {"Chad", Rule::Unknown},
};

Kind Expected(Rule rule, const Column& column) {
    switch (rule) {
        case Rule::Chad:
            return Kind::Chad;
        case Rule::A2B:
            return column.a2b;
        case Rule::B2A:
            return column.b2a;
        case Rule::Xyz:
            return Kind::Xyz;
        case Rule::Curve:
            return Kind::Curve;
        case Rule::Description:
            return Kind::Description;
        case Rule::Text:
            return Kind::Text;
        case Rule::Unknown:
            break;
    }
    return column.unknown;
}

class ClassTable : public ProfileOnDisk, public testing::WithParamInterface<NamedRule> {};

TEST_P(ClassTable, GivesTheClassThatNameAndTypeAskFor) {
    for (const Column& column : kTypes) {
        for (const std::size_t size : {4U, 8U, 12U, 64U}) {
            Bytes block = Block(column.type, size);
            const auto tag =
                IccFile4().CreateNewTag(Name(GetParam().name), block.data(), static_cast<int>(block.size()));
            ASSERT_NE(tag, nullptr);
            EXPECT_EQ(KindsOf(tag.get()), std::vector{Expected(GetParam().rule, column)}) << column.type << size;
            EXPECT_EQ(tag->tagSig, Name(GetParam().name));
            EXPECT_EQ(static_cast<std::uint32_t>(tag->sig), Word(column.type));
            EXPECT_EQ(DataOf(*tag), block);
        }
    }
}

TEST_P(ClassTable, HoldsForTagsOfAProfile) {
    std::vector<Entry> tags;
    for (const Column& column : kTypes) tags.push_back({GetParam().name, Block(column.type, 20)});
    EXPECT_EQ(Read(ProfileOf(tags)), 0);
    ASSERT_EQ(file.tagList.size(), std::size(kTypes));
    for (std::size_t i = 0; i < file.tagList.size(); ++i) {
        EXPECT_EQ(KindsOf(file.tagList[i].get()), std::vector{Expected(GetParam().rule, kTypes[i])}) << kTypes[i].type;
    }
}

INSTANTIATE_TEST_SUITE_P(Every, ClassTable, testing::ValuesIn(kNames),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ClassOfATag, IsCrossedForTextsAndKeptSo) {
    Bytes text = Block("text", 16), description = Block("desc", 16);
    IccFile4 file;
    EXPECT_EQ(KindsOf(file.CreateNewTag(Name("cprt"), description.data(), 16).get()), std::vector{Kind::Text});
    EXPECT_EQ(KindsOf(file.CreateNewTag(Name("targ"), text.data(), 16).get()), std::vector{Kind::Description});
    EXPECT_TRUE(file.tagList.empty());  // making a tag does not append it
}

TEST(ClassOfATag, ReadsAParametricCurveAsAList) {
    Bytes block = ByteWriter().Text("para").Big32(0).Big32(2).Big16(0x1234).Big16(0x5678).Big32(0).Done();
    const auto tag = IccFile4().CreateNewTag(Name("rTRC"), block.data(), static_cast<int>(block.size()));
    const auto& curve = dynamic_cast<CCurveType&>(*tag);
    ASSERT_EQ(curve.curveCount, 2U);
    EXPECT_EQ(ValuesOf(curve.curve, 0, 2), (Entries{0x1234, 0x5678}));
}

}  // namespace
}  // namespace hueweave::test::icc
