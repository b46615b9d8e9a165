// SPDX-License-Identifier: MIT
#pragma once

#include "colour/PixelConverter.h"
#include "command/support/OpenedTiff.h"
#include "picture/Writing.h"

namespace hueweave::test {

/// Leaves samples as they are.
struct SameColours : colour::RgbConverter {
    explicit SameColours(unsigned bits) : bits_(bits) {}
    void Convert(unsigned char*, std::size_t) const override {}
    unsigned bits() const override { return bits_; }
    Range range() const override { return {}; }

private:
    unsigned bits_;
};

/// A file as the rewriter of its format writes it with the same colours and this many bytes of memory.
template <typename Structure>
std::string Rewritten(const std::string& path, std::uint64_t memory, unsigned bits, const auto& rewrite) {
    const Folder folder;
    const tool::FileAccess file = tool::FileAccess::OpenInput(path);
    const tool::FileAccess target = tool::FileAccess::Scratch(folder.path(), "out");
    const colour::PixelConverter converter(std::make_unique<SameColours>(bits));
    tool::WriteSettings settings;
    settings.memory = memory;
    tool::Measured measured;
    rewrite(Structure(file), &converter, target, settings, measured);
    const tool::Bytes bytes = target.Read({0, target.Size()});
    return {bytes.begin(), bytes.end()};
}

}  // namespace hueweave::test
