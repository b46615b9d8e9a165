// SPDX-License-Identifier: MIT
// Whether a target is a file or a folder: by what is there, by "/", and by the name of a picture.
#include "command/support/Batch.h"

namespace hueweave::test {
namespace {

struct TargetRow {
    const char* name;
    const char* words;    ///< in the folder of "scans"; "list" names two files of it
    const char* refusal;  ///< null if it is converted
    Names outputs;        ///< in this folder
};
void PrintTo(const TargetRow& row, std::ostream* out) { *out << row.name; }
class TargetTest : public BatchTest, public testing::WithParamInterface<TargetRow> {};

TEST_P(TargetTest, IsAFileOrAFolder) {
    std::filesystem::create_directories(folder_ / "there.tif");
    WriteBytes(folder_ / "file", "old");
    WriteBytes(folder_ / "list", "scans/a.tif\nscans/b.TIFF\n");
    const auto before = NamesIn(folder_.path());
    const std::string line = "cd " + Quoted(folder_.path()) + "; " + ConvertLine(GetParam().words);
    const Outcome run = RunProgram({.words = {"sh", "-c", line}});
    if (GetParam().refusal != nullptr) {
        EXPECT_THAT(run, SaysOnly(2, GetParam().refusal));
        EXPECT_EQ(NamesIn(folder_.path()), before);
    } else {
        EXPECT_THAT(run, Succeeds());
        for (const std::string& name : GetParam().outputs) {
            EXPECT_TRUE(std::filesystem::is_regular_file(folder_ / name)) << name;
        }
    }
}

constexpr const char* kPicture =
    "c.tif: is the name of a picture, but several outputs need a folder; end it in / if it is to be a folder";
const TargetRow kTargets[] = {
    {"OneToAFile", "scans/a.tif -o c.TIFF", nullptr, {"c.TIFF"}},
    {"OneToAFolderThatIsThere", "scans/a.tif -o there.tif", nullptr, {"there.tif/a.tif"}},
    {"OneToANewFolder", "scans/a.tif -o new/", nullptr, {"new/a.tif"}},
    {"OneToANewFolderCalledLikeAPicture", "scans/a.tif -o c.tif/", nullptr, {"c.tif/a.tif"}},
    {"OneToNeither",
     "scans/a.tif -o converted",
     "converted: is neither a folder nor the name of a picture; name a file such as converted.tif, or end it in / for "
     "a "
     "folder",
     {}},
    {"OneToAnotherExtension",
     "scans/a.tif -o c.txt",
     "c.txt: is neither a folder nor the name of a picture; name a file such as c.tif, or end it in / for a folder",
     {}},
    {"OneToAFileWithoutExtension",
     "scans/a.tif -o file --force",
     "file: is neither a folder nor the name of a picture; name a file such as file.tif, or end it in / for a folder",
     {}},
    {"TwoToANewFolder", "scans/a.tif scans/b.TIFF -o new", nullptr, {"new/a.tif", "new/b.TIFF"}},
    {"TwoToAFolderCalledLikeAPicture", "scans/a.tif scans/b.TIFF -o there.tif", nullptr, {"there.tif/b.TIFF"}},
    {"TwoToAPicture", "scans/a.tif scans/b.TIFF -o c.tif", kPicture, {}},
    {"TwoToAFile", "scans/a.tif scans/b.TIFF -o file", "file: is no folder; name a folder for several outputs", {}},
    {"FolderToANewFolder", "scans -o new.d", nullptr, {"new.d/deep/a.tif"}},
    {"FolderToAPicture", "scans -o c.tif", kPicture, {}},
    {"ListToANewFolder", "--files-from list -o new", nullptr, {"new/b.TIFF"}},
    {"ListToAPicture", "--files-from list -o c.tif", kPicture, {}},
};
INSTANTIATE_TEST_SUITE_P(Every, TargetTest, testing::ValuesIn(kTargets), NameOfRow);

}  // namespace
}  // namespace hueweave::test
