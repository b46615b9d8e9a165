// SPDX-License-Identifier: MIT
#pragma once

#include <set>

#include "command/support/Command.h"

namespace hueweave::test {

using Names = std::set<std::string>;

/// A folder of three scans, one big-endian and one in a subfolder, and a text file; and a folder for the outputs.
class BatchTest : public testing::Test {
protected:
    BatchTest() {
        fs::create_directories(scans_ + "/deep");
        Shell("tiffcp -B -c zip " + Quoted(Input("photo-16.tif")) + " " + Quoted(a_));
        Shell("tiffcp -c lzw " + Quoted(Input("photo-8.tif")) + " " + Quoted(scans_ + "/b.TIFF"));
        Shell("tiffcp -c none " + Quoted(Input("photo-8.tif")) + " " + Quoted(scans_ + "/deep/a.tif"));
        WriteBytes(scans_ + "/notes.txt", "no image");
    }
    /// Converts the folder, with further arguments.
    Outcome ConvertAll(const Words& more = {}, test::Run how = {}) const {
        return ConvertScan(Words{scans_, "-o", out_} + more, std::move(how));
    }
    /// Copies the first file `count` times, as `name` with a number.
    void Copy(const std::string& name, int count) const {
        for (int i = 0; i < count; ++i) {
            fs::copy_file(a_, scans_ + "/" + name + std::to_string(i) + ".tif");
        }
    }
    Names Outputs() const {
        Names names;
        if (!Exists(out_)) return names;
        for (const auto& entry : fs::recursive_directory_iterator(out_)) {
            if (entry.is_regular_file() && entry.path().extension() != ".jsonl") {
                names.insert(entry.path().lexically_relative(out_));
            }
        }
        return names;
    }
    void RemoveOutputs() const {
        for (const std::string& name : Outputs()) fs::remove(out_ + "/" + name);
    }
    Folder folder_;
    std::string scans_ = folder_ / "scans", out_ = folder_ / "converted", a_ = scans_ + "/a.tif";
};

}  // namespace hueweave::test
