// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <exception>
#include <functional>
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

/// Why a command refuses to do something: the file, the reason and a remedy, on one line.
class Refusal : public std::exception {
public:
    Refusal(Exit status, const std::string& file, std::string_view reason, std::string_view remedy)
        : status_(status),
          reason_(OneLine(reason)),
          line_(OneLine((file.empty() ? "" : file + ": ") + std::string(reason))) {
        if (!remedy.empty()) line_ += "; " + OneLine(remedy);
    }
    const char* what() const noexcept override { return line_.c_str(); }
    Exit status() const { return status_; }
    const std::string& reason() const { return reason_; }

private:
    Exit status_;
    std::string reason_;
    std::string line_;
};

/// For a file that the system does not allow to be read; its contents are not at fault.
class ReadFailure : public Refusal {
public:
    using Refusal::Refusal;
};

/// A message for the user why a file failed, and the exit status: the text of a refusal, or the meaning of any other
/// exception.
std::pair<Exit, std::string> Explain(const std::string& name, const std::exception_ptr& cause);

/// Thrown in all threads after SIGINT or SIGTERM; nothing is reported for the current file.
struct Interrupted {};

}  // namespace hueweave::tool
