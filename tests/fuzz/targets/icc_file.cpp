// SPDX-License-Identifier: MIT
// A profile read from a file and from memory, compared with the reference reader, and saved: byte for byte the file
// expected by the reference, and unchanged by a second round.
#include "IccModel.h"
#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

using ICC40::ICCFILE::IccFile4;

/// The file that saving should give.
Bytes SavedModel(const Bytes& file, const test::TagList& tags) {
    Bytes header = file;
    header.resize(128);
    std::fill(header.begin() + 56, header.begin() + 64, std::uint8_t{0});  // attributes
    std::fill(header.begin() + 100, header.end(), std::uint8_t{0});        // reserved
    return test::SizedContainer(header, tags);
}

/// The tags must equal those that the reference reads from the file. The header shows when the profile is saved.
void CheckTagsOf(const IccFile4& profile, const test::TagList& tags) {
    Require(profile.tagList.size() == tags.size(), "number of tags");
    for (std::size_t i = 0; i < tags.size() && i <= 200; ++i) {  // enough of a thousand identical ones
        const std::string& name = tags[i].first;
        CheckTag(*profile.tagList[i], name, tags[i].second);
        const auto first = std::find_if(tags.begin(), tags.end(), [&](const auto& tag) { return tag.first == name; });
        const auto place = static_cast<std::size_t>(first - tags.begin());
        Require(profile.GetTag(profile.tagList[i]->tagSig) == profile.tagList[place].get(), "the first tag of a name");
    }
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile source, saved, again;
    const Bytes file = source.Put(input.Rest());
    saved.Put(file);  // so that saving must replace earlier contents
    const test::TagList tags = test::ReadTags(file);
    IccFile4 profile, memory, reread;
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

HUEWEAVE_FUZZ_MUTATOR(0, IccLayout);

}  // namespace hueweave::fuzz
