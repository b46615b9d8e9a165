// SPDX-License-Identifier: MIT
// A profile read from a file and from memory, compared with the reference reader, and saved: byte for byte the file
// expected by the reference, and unchanged by a second round.
#include "IccModel.h"
#include "Mutation.h"

HUEWEAVE_FUZZ_MUTATOR(0, IccLayout);

void hueweave::fuzz::RunTarget(FuzzInput& input) {
    static const ScratchFile source, saved, again;
    const Bytes file = input.Rest();
    source.Put(file);
    saved.Put(file);  // so that saving must replace earlier contents
    const test::TagList tags = test::ReadTags(file);
    ICC40::ICCFILE::IccFile4 profile, memory, reread;
    for (auto* read : {&profile, &memory}) {
        const HeapWatch heap;
        Require((read == &memory ? read->ReadFile(file) : read->ReadFile(source.Path())) == 0, "what opens is read");
        Require(heap.Peak() <= IccHeap(file.size()), "heap of a reading");
        CheckTagsOf(*read, tags);
    }
    // A second read adds its tags to those of the first; a reset removes all.
    Require(memory.ReadFile(source.Path()) == 0 && memory.tagList.size() == 2 * tags.size(), "tags are added");
    memory.Reset();
    Require(memory.tagList.empty(), "a reset leaves no tag");
    Require(memory.ReadFile(kNoFile) == -2, "a file that is not there");

    Require(profile.SaveFile(saved.Path()) == 0, "saved");
    const Bytes first = saved.Get();
    Require(first == SavedModel(file, tags), "the file of the model");
    Require(reread.ReadFile(saved.Path()) == 0, "read back");
    // Blocks that shared bytes now have their own: the limit on their sum may accept fewer, never more.
    const test::TagList second = test::ReadTags(first);
    CheckTagsOf(reread, second);
    Require(second == tags, "every tag comes back");
    Require(reread.SaveFile(again.Path()) == 0 && again.Get() == first, "the second round changes nothing");
    Require(profile.SaveFile(nullptr) == 0 && profile.SaveFile(kNoFile) == 0, "nowhere to save");
    Require(source.Get() == file, "the file is as it was");
}
