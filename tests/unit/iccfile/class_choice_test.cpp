// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Which class a tag gets: its name counts first, the type only where the name leaves it open.
#include <string>
#include <typeinfo>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

struct Choice {
    const char* name;
    const char* type;
    const std::type_info& expected;
};

const Choice kChoices[] = {
    {"chad", "sf32", typeid(CChad)},
    {"chad", "text", typeid(CChad)},
    {"A2B0", "mAB ", typeid(CLut)},
    {"A2B1", "mAB ", typeid(CLut)},
    {"A2B2", "mAB ", typeid(CLut)},
    {"B2A0", "mBA ", typeid(CLut)},
    {"B2A1", "mBA ", typeid(CLut)},
    {"B2A2", "mBA ", typeid(CLut)},
    {"A2B0", "mft2", typeid(CLut16Type)},
    {"A2B1", "mft2", typeid(CLut16Type)},
    {"A2B2", "mft2", typeid(CLut16Type)},
    {"B2A0", "mft2", typeid(CLut16Type)},
    {"B2A1", "mft2", typeid(CLut16Type)},
    {"B2A2", "mft2", typeid(CLut16Type)},
    {"A2B0", "mft1", typeid(CLut8Type)},
    {"A2B0", "mBA ", typeid(CLut8Type)},
    {"B2A0", "mAB ", typeid(CLut8Type)},
    {"A2B2", "text", typeid(CLut8Type)},
    {"A2B3", "mft2", typeid(CDataType)},
    {"B2A3", "mft2", typeid(CDataType)},
    {"A2B/", "mft2", typeid(CDataType)},
    {"gamt", "mft2", typeid(CDataType)},
    {"rXYZ", "XYZ ", typeid(CXYZType)},
    {"gXYZ", "XYZ ", typeid(CXYZType)},
    {"bXYZ", "XYZ ", typeid(CXYZType)},
    {"wtpt", "XYZ ", typeid(CXYZType)},
    {"bkpt", "text", typeid(CXYZType)},
    {"rTRC", "curv", typeid(CCurveType)},
    {"gTRC", "para", typeid(CCurveType)},
    {"bTRC", "text", typeid(CCurveType)},
    {"desc", "desc", typeid(CTextDescriptionType)},
    {"desc", "mluc", typeid(CTextDescriptionType)},
    {"cprt", "text", typeid(CTextType)},
    {"cprt", "mluc", typeid(CTextType)},
    {"targ", "text", typeid(CTextDescriptionType)},
    {"lumi", "XYZ ", typeid(CDataType)},
    {"kTRC", "curv", typeid(CDataType)},
    {"abcd", "desc", typeid(CDataType)},
};

class TagClassTest : public testing::TestWithParam<Choice> {};

TEST_P(TagClassTest, IsChosenByNameAndType) {
    Bytes block = ByteWriter().Text(GetParam().type).Fill(60).Done();
    const std::uint32_t name = ICC40::ICC4_HEADER::Signature(
        {GetParam().name[0], GetParam().name[1], GetParam().name[2], GetParam().name[3], '\0'});
    const auto tag =
        IccFile4().CreateNewTag(static_cast<icTagSignature>(name), block.data(), static_cast<int>(block.size()));
    ASSERT_NE(tag, nullptr);
    const iccTagBase& made = *tag;
    EXPECT_TRUE(typeid(made) == GetParam().expected) << typeid(made).name();
    EXPECT_EQ(static_cast<std::uint32_t>(made.tagSig), name);
    EXPECT_EQ(made.tagSize, block.size());
    EXPECT_TRUE(std::equal(block.begin(), block.end(), made.tagData.get()));
}

INSTANTIATE_TEST_SUITE_P(Every, TagClassTest, testing::ValuesIn(kChoices), [](const auto& row) {
    std::string name;
    for (const char* text : {row.param.name, "_", row.param.type}) {
        for (; *text != '\0'; ++text) {
            const char c = *text;
            name += (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_') ? std::string(1, c) : "x";
        }
    }
    return name;
});

}  // namespace
}  // namespace hueweave::test::icc
