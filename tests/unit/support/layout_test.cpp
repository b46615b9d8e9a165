// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What streams and settings are made of: fields in their order, and virtual operations in their slots.
#include <cstring>
#include <type_traits>

#include "support/ConfigTXT.h"
#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

template <typename Base>
struct WithRead : Base {
    std::uint64_t Read(unsigned char*, unsigned long, unsigned long) override { return 0; }
};
template <typename Base>
struct WithWrite : Base {
    std::uint64_t Write(unsigned char*, unsigned long, unsigned long) override { return 0; }
};
template <typename Base>
struct WithSeek : Base {
    int Seek(int, int) override { return 0; }
};
template <typename Base>
struct WithHandle : Base {
    void* GetHandle() override { return nullptr; }
};
template <typename Base>
struct WithClose : Base {
    void Close() override {}
};

TEST(IoInterfaceLayout, EveryOperationButTheDestructorIsPure) {
    using Rest = WithHandle<WithClose<IO_Interface>>;
    EXPECT_TRUE(std::is_abstract_v<WithWrite<WithSeek<Rest>>>) << "without Read";
    EXPECT_TRUE(std::is_abstract_v<WithRead<WithSeek<Rest>>>) << "without Write";
    EXPECT_TRUE((std::is_abstract_v<WithRead<WithWrite<Rest>>>)) << "without Seek";
    using Movers = WithRead<WithWrite<WithSeek<IO_Interface>>>;
    EXPECT_TRUE(std::is_abstract_v<WithClose<Movers>>) << "without GetHandle";
    EXPECT_TRUE(std::is_abstract_v<WithHandle<Movers>>) << "without Close";
    EXPECT_FALSE((std::is_abstract_v<WithClose<WithHandle<Movers>>>)) << "the destructor is not pure";
    EXPECT_TRUE(std::has_virtual_destructor_v<IO_Interface>);
}

TEST(IoInterfaceLayout, HasNoFieldsAndItsStreamsTheirsInOrder) {
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

/// Place of a virtual operation in the table, as every compiler of this platform tells it in a pointer to a member.
template <typename Member>
std::uintptr_t Slot(Member member) {
    std::uintptr_t word = 0;
    std::memcpy(&word, &member, sizeof word);
    return (word & ~std::uintptr_t{1}) / sizeof(void*);
}

template <typename Stream>
void ExpectSlots() {
    EXPECT_EQ(Slot(&Stream::Read), 2U) << "behind the two forms of the destructor";
    EXPECT_EQ(Slot(&Stream::Write), 3U);
    EXPECT_EQ(Slot(&Stream::Seek), 4U);
    EXPECT_EQ(Slot(&Stream::GetHandle), 5U);
    EXPECT_EQ(Slot(&Stream::Close), 6U);
}

TEST(IoInterfaceLayout, OperationsStandInSlotOrder) {
    ExpectSlots<IO_Interface>();
    ExpectSlots<IO_File>();
    ExpectSlots<IO_Buf>();
}

TEST(ConfigLayout, IsTheNameAndTheSectionsWithoutATable) {
    using CONFIG::ConfigTXT;
    EXPECT_FALSE(std::is_polymorphic_v<ConfigTXT>);
    const ConfigTXT config;
    EXPECT_EQ(Address(&config), Address(&config.fileName));
    EXPECT_EQ(Address(&config.sections), Address(&config.fileName + 1));
    EXPECT_EQ(sizeof(ConfigTXT), sizeof(std::string) + sizeof config.sections);
}

}  // namespace
}  // namespace hueweave::test
