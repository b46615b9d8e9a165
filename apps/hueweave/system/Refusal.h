// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace hueweave::tool {

/// Exit statuses, as `hueweave --help` tells them.
enum class Exit { Done = 0, SomeFailed = 1, Usage = 2, Profile = 3, Input = 4, Output = 5 };

/// `text` with those characters replaced that would do something to a terminal, or make a line look like another one:
/// control characters, line separators, and marks that turn the direction of writing. `by` gives what stands for one.
std::string ReplaceControls(std::string_view text, const std::function<std::string(unsigned code)>& by);
/// `text` on one line: such characters become '?'.
std::string OneLine(std::string_view text);

/// Why a command does not do what it was asked for: the file, the reason and a remedy, on one line.
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

/// Of a file that the system does not let be read: no fault of what stands in it.
class ReadFailure : public Refusal {
public:
    using Refusal::Refusal;
};

/// Why the work on a file failed, for its user, and the status that says so: of a refusal what it says, of any other
/// exception what it means.
std::pair<Exit, std::string> Explain(const std::string& name, const std::exception_ptr& cause);

/// Thrown in all threads of a command after SIGINT or SIGTERM; nothing is reported for the file at hand.
struct Interrupted {};

}  // namespace hueweave::tool
