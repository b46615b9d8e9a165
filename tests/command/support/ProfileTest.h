// SPDX-License-Identifier: MIT
#pragma once

#include "command/support/Json.h"

namespace hueweave::test {

/// A test with a generated profile and the 16-bit photograph.
class ProfileTest : public testing::Test {
protected:
    /// Converts the photograph with this profile.
    Outcome ConvertBy(const std::string& profile, const Words& more = {}) const {
        return Hueweave(Words{"convert", "--precision", "library", "--accept-error", "100", "--profile", profile, in_,
                              "-o", out_, "--force"} +
                        more);
    }
    /// Embeds this profile in the photograph.
    void Embed(const std::string& profile, const std::string& path, const std::string& photo = "photo-16.tif") const {
        Shell("convert-im6 " + Quoted(Input(photo)) + " -profile " + Quoted(profile) + " -compress none " +
              Quoted(path));
    }
    void Bake(const std::string& profile) const {
        ASSERT_EQ(Hueweave({"bake", profile, "-o", baked_, "--force"}).status, 0);
    }
    Folder folder_;
    const std::string in_ = Input("photo-16.tif"), out_ = folder_ / "out.tif";
    const std::string profile_ = folder_ / "device.icc", baked_ = folder_ / "baked.icc";
};

}  // namespace hueweave::test
