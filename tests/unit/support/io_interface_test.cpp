// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What holds for both streams: their shape, and use through the interface.
#include <cstring>
#include <memory>
#include <type_traits>

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

TEST(IoInterfaceTest, EveryOperationButTheDestructorIsPure) {
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

TEST(IoInterfaceTest, HasNoFields) {
    EXPECT_EQ(sizeof(IO_Interface), sizeof(void*));
    EXPECT_EQ(sizeof(IO_File), sizeof(void*) + sizeof(std::FILE*));
    EXPECT_EQ(sizeof(IO_Buf), sizeof(void*) + 3 * sizeof(std::uint64_t));
    EXPECT_TRUE((std::is_base_of_v<IO_Interface, IO_File>));
    EXPECT_TRUE((std::is_base_of_v<IO_Interface, IO_Buf>));
}

TEST(IoInterfaceTest, FieldsOfABlockStandInOrder) {
    unsigned char byte = 0;
    const IO_Buf stream(&byte, 1);
    EXPECT_EQ(Address(&stream.begin), Address(&stream) + 8);
    EXPECT_EQ(Address(&stream.end), Address(&stream) + 16);
    EXPECT_EQ(Address(&stream.position), Address(&stream) + 24);
}

TEST(IoInterfaceTest, TheHandleIsTheFirstFieldOfBoth) {
    unsigned char byte = 0;
    IO_Buf block(&byte, 1);
    IO_File file("/dev/null", "rb");
    EXPECT_EQ(Address(&file.stream), Address(&file) + 8);
    EXPECT_EQ(Address(block.GetHandle()), block.begin);
    EXPECT_EQ(file.GetHandle(), file.stream);
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

TEST(IoInterfaceTest, OperationsStandInSlotOrder) {
    ExpectSlots<IO_Interface>();
    ExpectSlots<IO_File>();
    ExpectSlots<IO_Buf>();
}

/// Uses a stream of at least 8 bytes as one that knows no more than the interface does; the bytes read.
ByteList CopyAround(IO_Interface& stream) {
    ByteList bytes(4);
    stream.Seek(2, 0);
    stream.Read(bytes.data(), 2, 2);
    stream.Seek(-4, 2);
    stream.Write(bytes.data(), 1, 4);
    stream.Seek(0, 0);
    stream.Read(bytes.data(), 4, 1);
    return bytes;
}

TEST(IoInterfaceTest, OneWayOfUseServesAFileAndABlock) {
    const TempDir folder;
    const std::string path = folder.File("bytes");
    PutFile(path, Rising(9, 'a'));
    const std::unique_ptr<IO_Interface> file = std::make_unique<IO_File>(path.c_str(), "r+b");
    ByteList memory = Rising(9, 'a');
    const std::unique_ptr<IO_Interface> block = std::make_unique<IO_Buf>(memory.data(), 9);

    EXPECT_EQ(CopyAround(*file), Rising(4, 'a'));
    EXPECT_EQ(CopyAround(*block), Rising(4, 'a'));
    file->Close();
    block->Close();

    const ByteList expected = {'a', 'b', 'c', 'd', 'e', 'c', 'd', 'e', 'f'};
    EXPECT_EQ(FileBytes(path), expected);
    EXPECT_EQ(memory, expected);
}

TEST(IoInterfaceTest, AFileCountsItemsAndABlockTellsItsPosition) {
    const TempDir folder;
    PutFile(folder.File("bytes"), Rising(9, 0));
    const std::unique_ptr<IO_Interface> file = std::make_unique<IO_File>(folder.File("bytes").c_str(), "r+b");
    ByteList memory = Rising(9, 0);
    const std::unique_ptr<IO_Interface> block = std::make_unique<IO_Buf>(memory.data(), 9);
    ByteList bytes(6);

    EXPECT_EQ(file->Read(bytes.data(), 2, 3), 3U);
    EXPECT_EQ(block->Read(bytes.data(), 2, 3), Address(memory.data() + 6));
    EXPECT_EQ(file->Seek(1, 0), 0);
    EXPECT_EQ(block->Seek(1, 0), 1);
    EXPECT_EQ(file->Write(bytes.data(), 3, 2), 2U);
    EXPECT_EQ(block->Write(bytes.data(), 3, 2), Address(memory.data() + 7));
}

}  // namespace
}  // namespace hueweave::test
