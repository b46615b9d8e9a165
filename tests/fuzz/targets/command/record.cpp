// SPDX-License-Identifier: MIT
// Any bytes as the record of earlier runs: it is read, only complete lines about an output in its current state count,
// it stays as it is, and a line in the record of another run is found beside it. `hueweave status` counts the same.
#include "Scene.h"
#include "batch/record/Resume.h"
#include "batch/status/Status.h"

namespace hueweave::fuzz {
namespace {

using namespace tool;

constexpr const char* kRecord = "/.hueweave.jsonl";
constexpr std::size_t kLongestName = 60;
constexpr const char* kSettings = "0123456789abcdef0123456789abcdef";

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
    const std::string fingerprint(64, "0123456789abcdef"[input.Below(16)]);
    const Bytes before = input.Rest();
    folder.Clear();
    const std::string record = folder.path() + kRecord;
    test::WriteFile(record, before);
    test::WriteFile(folder / name, Bytes(17, 0x42));

    const auto work = [&] {
        {
            ResumeRecord earlier(folder.path(), true);
            earlier.Load();
            // Whatever the record holds, it cannot contain the time of the file that was just written.
            Require(!earlier.IsDone(name, fingerprint), "nothing is done that no line records");
            const FileAccess output = FileAccess::OpenInput(folder / name);
            earlier.Begin();
            earlier.Add(DoneLine{name, fingerprint, kSettings, output.State().version, {5, 6}});
            earlier.NoteNamed();
        }
        const Bytes after = test::ReadFile(record);
        Require(after == before, "what stood there stays");
        ResumeRecord later(folder.path(), true);
        later.Load();
        Require(later.IsDone(name, fingerprint), "the line that was added is found");
        Require(!later.IsDone(name, std::string(64, 'x')), "another fingerprint is another conversion");
        Require(later.IsDone(name, kSettings, FileVersion{5, 6}), "the same size and time of the source");
        Require(!later.IsDone(name, kSettings, FileVersion{5, 7}), "another time of the source");
        const Progress progress = Status(folder.path()).Count(nullptr);
        Require(progress.done == 1, "one output is done, whatever the other record says");
        Require(!later.IsDone(name + "2", fingerprint), "another output is not done");
        test::WriteFile(folder / name, Bytes(18, 0x42));
        Require(!later.IsDone(name, fingerprint), "an output that changed is not done");
    };
    MustSucceed(work, "a record that is a plain file can be used");
}

}  // namespace hueweave::fuzz
