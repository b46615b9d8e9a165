// SPDX-License-Identifier: MIT
// The layout of streams and settings: the order of fields, and virtual operations in their slots.
#include <type_traits>

#include "support/ConfigTXT.h"
#include "support/Layout.h"
#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

TEST(IoInterfaceLayout, HasNoFieldsAndItsStreamsHaveTheirsInOrder) {
    EXPECT_TRUE(std::is_abstract_v<IO_Interface>);
    EXPECT_TRUE(std::has_virtual_destructor_v<IO_Interface>);
    EXPECT_EQ(sizeof(IO_Interface), sizeof(void*));
    EXPECT_EQ(sizeof(IO_File), sizeof(void*) + sizeof(std::FILE*));
    EXPECT_EQ(sizeof(IO_Buf), sizeof(void*) + 3 * sizeof(std::uint64_t));
    EXPECT_TRUE((std::is_base_of_v<IO_Interface, IO_File> && std::is_base_of_v<IO_Interface, IO_Buf>));
    unsigned char byte = 0;
    const IO_Buf block(&byte, 1);
    const IO_File file("/dev/null", "rb");
    EXPECT_EQ(Address(&block.begin), Address(&block) + 8);
    EXPECT_EQ(Address(&block.end), Address(&block) + 16);
    EXPECT_EQ(Address(&block.position), Address(&block) + 24);
    EXPECT_EQ(Address(&file.stream), Address(&file) + 8);
}

template <typename Stream>
void ExpectSlots() {
    EXPECT_EQ(Member(&Stream::Read).Slot(), 2U) << "behind the two forms of the destructor";
    EXPECT_EQ(Member(&Stream::Write).Slot(), 3U);
    EXPECT_EQ(Member(&Stream::Seek).Slot(), 4U);
    EXPECT_EQ(Member(&Stream::GetHandle).Slot(), 5U);
    EXPECT_EQ(Member(&Stream::Close).Slot(), 6U);
}

TEST(IoInterfaceLayout, OperationsAreInSlotOrder) {
    ExpectSlots<IO_Interface>();
    ExpectSlots<IO_File>();
    ExpectSlots<IO_Buf>();
}

TEST(ConfigTXTLayout, IsTheNameAndTheSectionsWithoutAVtable) {
    using CONFIG::ConfigTXT;
    EXPECT_FALSE(std::is_polymorphic_v<ConfigTXT>);
    const ConfigTXT config;
    EXPECT_EQ(Address(&config), Address(&config.fileName));
    EXPECT_EQ(Address(&config.sections), Address(&config.fileName + 1));
    EXPECT_EQ(sizeof(ConfigTXT), sizeof(std::string) + sizeof config.sections);
}

}  // namespace
}  // namespace hueweave::test
