// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A profile read and saved: byte for byte the file of the model, and the same again from then on.
#include "FuzzInput.h"
#include "IccModel.h"
#include "Mutation.h"
#include "iccfile/IccFile4.h"

HUEWEAVE_FUZZ_MUTATOR(0, MutateIcc);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hueweave::fuzz;
    static const ScratchFile source, saved, again;
    source.Put({data, size});
    saved.Put({data, size});  // what was there before does not show through
    const ModelProfile model = ReadModel(Bytes(data, data + size));

    ICC40::ICCFILE::IccFile4 profile;
    Require(profile.ReadFile(source.Path()) == 0, "read");
    Require(profile.SaveFile(saved.Path()) == 0, "saved");
    const Bytes first = saved.Get();
    Require(first == SaveModel(model), "the file of the model");

    ICC40::ICCFILE::IccFile4 reread;
    Require(reread.ReadFile(saved.Path()) == 0, "read back");
    // Blocks that shared bytes have bytes of their own now: the bound on their sum may let fewer through, never more.
    const ModelProfile second = ReadModel(first);
    CheckProfile(reread, second);
    for (std::size_t i = 0; i < second.tags.size() && second.tags.size() == model.tags.size(); ++i) {
        Require(second.tags[i].name == model.tags[i].name && second.tags[i].block == model.tags[i].block,
                "every tag comes back");
    }
    Require(second.tags.size() == model.tags.size(), "all tags come back");
    Require(reread.SaveFile(again.Path()) == 0, "saved again");
    Require(again.Get() == first, "the second round changes nothing");
    Require(profile.SaveFile(nullptr) == 0 && profile.SaveFile("/proc/self/fd/none") == 0, "nowhere to save");
    return 0;
}
