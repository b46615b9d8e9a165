// SPDX-License-Identifier: MIT
#include "iccfile/iccTagBase.h"

#include <algorithm>

#include "iccfile/TagReader.h"

namespace ICC40::ICCFILE {

unsigned iccTagBase::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const TagReader block(data, size);
    auto copy = std::make_unique_for_overwrite<unsigned char[]>(block.Size());
    std::copy_n(block.From(0).begin(), block.Size(), copy.get());
    tagData = std::move(copy);
    tagSig = tagName;
    sig = static_cast<icTagTypeSignature>(block.U32(0));
    reserved = 0;
    tagSize = static_cast<std::uint32_t>(block.Size());
    return tagSize;
}

unsigned iccTagBase::Initial(icTagSignature tagName, icTagTypeSignature type) {
    tagSig = tagName;
    sig = type;
    tagSize = 0;
    return 0;
}

int iccTagBase::Read(std::FILE*) { return 0; }

int iccTagBase::Save(std::FILE*) { return 0; }

}  // namespace ICC40::ICCFILE
