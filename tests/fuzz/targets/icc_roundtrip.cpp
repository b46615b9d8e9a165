// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A profile that is read and saved: byte for byte the file expected by the reference, and unchanged by further rounds.
#include "IccModel.h"
#include "Mutation.h"

HUEWEAVE_FUZZ_MUTATOR(0, MutateIcc);

void hueweave::fuzz::RunTarget(FuzzInput& input) {
    static const ScratchFile source, saved, again;
    const Bytes file = input.Rest();
    source.Put(file);
    saved.Put(file);  // so that saving must replace earlier contents
    const test::TagList tags = test::ReadTags(file);

    ICC40::ICCFILE::IccFile4 profile;
    Require(profile.ReadFile(source.Path()) == 0, "read");
    Require(profile.SaveFile(saved.Path()) == 0, "saved");
    const Bytes first = saved.Get();
    Require(first == SavedModel(file, tags), "the file of the model");

    ICC40::ICCFILE::IccFile4 reread;
    Require(reread.ReadFile(saved.Path()) == 0, "read back");
    // Blocks that shared bytes now have their own: the limit on their sum may accept fewer, never more.
    const test::TagList second = test::ReadTags(first);
    CheckProfile(reread, first, second);
    Require(second == tags, "every tag comes back");
    Require(reread.SaveFile(again.Path()) == 0, "saved again");
    Require(again.Get() == first, "the second round changes nothing");
    Require(profile.SaveFile(nullptr) == 0 && profile.SaveFile(kNoFile) == 0, "nowhere to save");
}
