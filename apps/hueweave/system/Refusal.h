// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace hueweave::tool {

/// Exit statuses, as listed by `hueweave --help`.
enum class Exit { Done = 0, SomeFailed = 1, Usage = 2, Profile = 3, Input = 4, Output = 5 };

/// `text` with all characters replaced that could control a terminal or imitate another line: control characters, line
/// separators and text direction marks. `by` returns the replacement.
std::string ReplaceControls(std::string_view text, const std::function<std::string(unsigned code)>& by);
/// `text` on one line: such characters become '?'.
std::string OneLine(std::string_view text);

/// What refused files may have in common; a run reports them in one line.
struct RefusalKind {
    std::string name;     ///< after a number: "bilevel", "without a profile"
    std::string what;     ///< after "refused: ": "bilevel pixels, not RGB"
    bool notRgb = false;  ///< a picture that is not RGB, to which --others applies
};

/// Why a command refuses to do something: the file, the reason and a remedy, on one line.
class Refusal : public std::exception {
public:
    Refusal(Exit status, const std::string& file, std::string_view reason, std::string_view remedy)
        : status_(status),
          reason_(OneLine(reason)),
          remedy_(OneLine(remedy)),
          line_(OneLine((file.empty() ? "" : file + ": ") + std::string(reason))) {
        if (!remedy.empty()) line_ += "; " + remedy_;
    }
    /// The same refusal, of that kind.
    Refusal OfKind(RefusalKind kind) && {
        kind_ = std::move(kind);
        return std::move(*this);
    }
    const char* what() const noexcept override { return line_.c_str(); }
    Exit status() const { return status_; }
    const std::string& reason() const { return reason_; }
    const std::string& remedy() const { return remedy_; }
    const std::optional<RefusalKind>& kind() const { return kind_; }

private:
    Exit status_;
    std::string reason_, remedy_;
    std::string line_;
    std::optional<RefusalKind> kind_;
};

/// For a file that the system does not allow to be read; its contents are not at fault.
class ReadFailure : public Refusal {
public:
    using Refusal::Refusal;
};

/// Why a file failed: a refusal, or the meaning of any other exception.
struct Explanation {
    Exit status;
    std::string line;  ///< for the user: the file, the reason and a remedy
    std::string remedy{};
    std::optional<RefusalKind> kind{};
};
Explanation Explain(const std::string& name, const std::exception_ptr& cause);

/// Thrown in all threads after SIGINT or SIGTERM; nothing is reported for the current file.
struct Interrupted {};

}  // namespace hueweave::tool
