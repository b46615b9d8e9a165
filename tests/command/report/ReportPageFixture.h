// SPDX-License-Identifier: MIT
#pragma once

#include "command/support/ProfileTest.h"

namespace hueweave::test {

/// Makes pages, and takes them apart.
class ReportPageFixture : public ProfileTest {
protected:
    /// Makes a page and returns it.
    std::string PageOf(const Words& words) const {
        const Outcome run = Hueweave(Words{"report", "-o", page_, "--force"} + words);
        EXPECT_THAT(run, Succeeds());
        return Exists(page_) ? FileBytes(page_) : "";
    }
    /// The numbers in a page.
    static json NumbersOf(const std::string& page) {
        const std::string begin = "<script type=\"application/json\" id=\"report-data\">";
        const std::size_t from = page.find(begin) + begin.size();
        return json::parse(page.substr(from, page.find("</script>", from) - from));
    }
    /// The page without its numbers and its script, which end it.
    static std::string MarkupOf(const std::string& page) { return page.substr(0, page.rfind("<script type=")); }

    const std::string page_ = folder_ / "page.html";
};

}  // namespace hueweave::test
