// SPDX-License-Identifier: MIT
#include "colour/chart/Cgats.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

namespace hueweave::colour {
namespace {

constexpr char kEndOfText = '\x1a';  // of DOS; in charts made then

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsLineEnd(char c) { return c == '\n' || c == '\r' || c == '\f'; }

struct Word {
    std::string_view text;
    bool first = false;   ///< of its line
    bool quoted = false;  ///< and so no word of the format

    bool Is(std::string_view word) const { return !quoted && text == word; }
};

/// Words and quoted strings. Skips comments.
class WordReader {
public:
    explicit WordReader(std::string_view text) : rest_(text) {}

    std::optional<Word> Next() {
        SkipToWord();
        if (rest_.empty()) return std::nullopt;
        Word word;
        word.first = std::exchange(first_, false);
        word.quoted = rest_.front() == '"';
        if (word.quoted) rest_.remove_prefix(1);
        const auto isEnd = [&](char c) { return IsLineEnd(c) || (word.quoted ? c == '"' : IsBlank(c)); };
        const auto end = std::find_if(rest_.begin(), rest_.end(), isEnd);
        word.text = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
        rest_.remove_prefix(word.text.size());
        if (word.quoted && !rest_.empty() && rest_.front() == '"') rest_.remove_prefix(1);
        return word;
    }

private:
    void SkipToWord() {
        bool comment = false;
        while (!rest_.empty()) {
            const char c = rest_.front();
            if (IsLineEnd(c)) {
                first_ = true;
                comment = false;
            } else if (c == '#') {
                comment = true;
            } else if (!IsBlank(c) && !comment) {
                return;
            }
            rest_.remove_prefix(1);
        }
    }

    std::string_view rest_;
    bool first_ = true;
};

/// The words up to `end`.
std::vector<std::string_view> ReadSection(WordReader& words, std::string_view end) {
    std::vector<std::string_view> section;
    while (const auto word = words.Next()) {
        if (word->Is(end)) return section;
        section.push_back(word->text);
    }
    throw ChartError("ends before " + std::string(end) + ", so it is incomplete");
}

/// Compares what a table announces, if it does, with what it has.
void CheckCount(std::string_view announced, std::size_t count, const char* what) {
    if (announced.empty()) return;
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(announced.data(), announced.data() + announced.size(), number);
    if (error == std::errc() && end == announced.data() + announced.size() && number == count) return;
    throw ChartError("announces " + std::string(announced.substr(0, 20)) + " " + what + " and has " +
                     std::to_string(count));
}

void CheckText(std::string_view text) {
    const auto isControl = [](char c) {
        return static_cast<unsigned char>(c) < ' ' && !IsLineEnd(c) && c != '\t';  // also zeros, as in UTF-16
    };
    if (text.size() > kMostCgats || std::any_of(text.begin(), text.end(), isControl)) {
        throw ChartError("is not a CGATS text");
    }
}

}  // namespace

std::optional<std::size_t> CgatsTable::Column(std::string_view name) const {
    const auto found = std::find(fields.begin(), fields.end(), name);
    if (found == fields.end()) return std::nullopt;
    return static_cast<std::size_t>(found - fields.begin());
}

CgatsTable ReadCgats(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);  // the byte order mark of UTF-8
    text = text.substr(0, text.find(kEndOfText));
    CheckText(text);
    CgatsTable table;
    std::string_view key, fieldCount, setCount;
    bool complete = false;
    WordReader words(text);
    while (const auto word = complete ? std::nullopt : words.Next()) {
        if (table.kind.empty()) table.kind = word->text;
        if (word->Is("BEGIN_DATA_FORMAT")) {
            table.fields = ReadSection(words, "END_DATA_FORMAT");
        } else if (word->Is("BEGIN_DATA")) {
            table.values = ReadSection(words, "END_DATA");
            complete = true;
        } else if (word->first) {
            key = word->text;
        } else {  // only the first word after a keyword is its value
            if (key == "COLOR_REP") table.colours = word->text;
            if (key == "NUMBER_OF_FIELDS") fieldCount = word->text;
            if (key == "NUMBER_OF_SETS") setCount = word->text;
            key = {};
        }
    }
    if (table.fields.empty() || !complete) throw ChartError("has no CGATS table");
    CheckCount(fieldCount, table.fields.size(), "fields");
    if (table.values.size() % table.fields.size() != 0) throw ChartError("has a row with missing values");
    CheckCount(setCount, table.Rows(), "patches");
    if (table.Rows() > kMostPatches) throw ChartError("has more than 100,000 patches");
    return table;
}

}  // namespace hueweave::colour
