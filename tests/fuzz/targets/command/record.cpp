// SPDX-License-Identifier: MIT
// Any bytes as the record of earlier runs: it is read, only complete lines about an output in its current state count,
// and a line that is appended is found again after whatever the record held before.
#include <fcntl.h>

#include <algorithm>

#include "FuzzInput.h"
#include "Scene.h"
#include "batch/session/Resume.h"

namespace hueweave::fuzz {
namespace {

using namespace tool;

constexpr const char* kRecord = "/.hueweave.jsonl";
constexpr std::size_t kLongestName = 60;

/// A valid file name of any bytes.
std::string NameOf(FuzzInput& input) {
    const Bytes bytes = input.Take(input.Below(kLongestName) + 1);
    std::string name(bytes.begin(), bytes.end());
    for (char& c : name) c = c == '/' || c == '\0' ? '_' : c;
    return name + ".tif";
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFolder folder;
    const std::string name = NameOf(input);
    const std::string fingerprint = "fingerprint-" + std::to_string(input.U8());
    const Bytes before = input.Rest();
    folder.Clear();
    const std::string record = folder.path() + kRecord;
    test::WriteFile(record, before);
    test::WriteFile(folder / name, Bytes(17, 0x42));

    const auto refusal = RefusalOf([&] {
        {
            ResumeRecord earlier(folder.path(), true);
            earlier.Load();
            // Whatever the record holds, it cannot contain the time of the file that was just written.
            Require(!earlier.IsDone(name, fingerprint), "nothing is done that no line tells of");
            const FileAccess output = FileAccess::OpenInput(folder / name);
            earlier.Begin();
            earlier.Add(name, fingerprint, output);
            earlier.NoteNamed();
        }
        const Bytes after = test::ReadFile(record);
        Require(after.size() > before.size() && std::equal(before.begin(), before.end(), after.begin()),
                "what stood there stays");
        ResumeRecord later(folder.path(), true);
        later.Load();
        Require(later.IsDone(name, fingerprint), "the line that was added is found");
        Require(!later.IsDone(name, fingerprint + "2"), "another fingerprint is another conversion");
        Require(!later.IsDone(name + "2", fingerprint), "another output is not done");
        test::WriteFile(folder / name, Bytes(18, 0x42));
        Require(!later.IsDone(name, fingerprint), "an output that changed is not done");
    });
    Require(!refusal, "a record that is a plain file can be used");
}

}  // namespace hueweave::fuzz
