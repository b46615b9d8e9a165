// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <exception>
#include <map>
#include <mutex>
#include <string>

#include "batch/session/Session.h"
#include "system/Refusal.h"

namespace hueweave::tool {

/// The files of a run that were refused. Those of one kind are reported together, in one line. Shared by threads.
class RefusedFiles {
public:
    /// Borrows the session.
    explicit RefusedFiles(const Session& session) : session_(session) {}

    /// Reports a file, or counts it if it belongs to a kind. `name` is for messages. If memory runs out, the file is
    /// counted all the same.
    void Add(const Item& item, const std::string& name, const std::exception_ptr& cause);
    /// Prints the line of each kind.
    void TellKinds() const;
    std::size_t count() const { return count_; }
    /// How many there are of each kind: "144 bilevel, 80 grey"; empty without any kind.
    std::string Kinds() const;
    /// The status of the files if they have it in common, otherwise `Exit::Input`.
    Exit CommonStatus() const;

private:
    struct Group {
        std::size_t files = 0;
        std::string first, what, remedy;
    };
    void Record(const Item& item, const std::string& reason);
    bool Take(const std::string& name, const Explanation& why);

    const Session& session_;
    std::mutex mutex_;
    std::size_t count_ = 0;
    std::array<std::size_t, 6> byStatus_{};
    std::map<std::string, Group> kinds_;  ///< by name
};

}  // namespace hueweave::tool
