// SPDX-License-Identifier: MIT
#pragma once

#include "command/support/Command.h"

namespace hueweave::test {

/// A kind of TIFF file, and the shell line that makes one.
struct Kind {
    const char* name;
    const char* recipe;  ///< a shell line from $in to $out
};
inline void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

/// One file, converted with the scanner's profile in a folder of its own.
class FileTest : public testing::Test {
protected:
    /// Makes the source from a photograph with a shell line from $in to $out.
    void Make(const std::string& recipe, const std::string& photo = Input("photo-8.tif")) const {
        Shell("in=" + Quoted(photo) + "; out=" + Quoted(in_) + "; " + recipe);
    }
    Outcome Convert(const Words& more = {}, test::Run how = {}) const {
        return ConvertScan(Words{in_, "-o", out_} + more, std::move(how));
    }
    /// Expects the source to be refused for this reason and the folder to stay unchanged.
    void ExpectRefusal(const std::string& reason, const Words& more = {}, int status = 4) const {
        const auto before = NamesIn(folder_.path());
        EXPECT_THAT(Convert(more), Refuses(status, reason));
        EXPECT_EQ(NamesIn(folder_.path()), before) << reason;
    }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

}  // namespace hueweave::test
