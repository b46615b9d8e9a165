// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gmock/gmock.h>
#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/TempDir.h"

namespace hueweave::test {

/// What a program did.
struct Outcome {
    int status = -1;  ///< exit status, or -1
    int signal = 0;   ///< that ended it, or 0
    std::string out, err;
    long peakKb = 0;  ///< largest memory in KiB
};

inline void PrintTo(const Outcome& run, std::ostream* out) {
    *out << "status " << run.status << ", signal " << run.signal << ", said: " << run.err
         << ", and printed: " << run.out;
}
MATCHER(Succeeds, "") { return arg.status == 0; }
/// The run ended with this status and said this among others; or this line and nothing else.
MATCHER_P2(Says, status, part, "") { return arg.status == status && arg.err.find(part) != std::string::npos; }
MATCHER_P2(SaysOnly, status, line, "") {
    return arg.status == status && arg.err == "hueweave: " + std::string(line) + "\n";
}

/// The run ended with this status and printed nothing but why, and what to do about it, on one line.
MATCHER_P2(Refuses, status, reason, "") {
    return arg.status == status && arg.out.empty() && arg.err.starts_with("hueweave: ") &&
           arg.err.find('\n') == arg.err.size() - 1 && arg.err.find(reason) != std::string::npos &&
           arg.err.find("; ") != std::string::npos;
}

using Words = std::vector<std::string>;
/// The words of both.
Words operator+(Words words, const Words& more);

/// How a program is run.
struct Run {
    Words words{};
    std::string input{};  ///< path of standard input; empty for none
    std::map<std::string, std::string> setenv{};
    std::function<void()> inChild{};         ///< before the program starts: limits
    std::function<void(pid_t)> meanwhile{};  ///< in the parent, while it runs
};
Outcome RunProgram(const Run& run);

/// For `Run::meanwhile`: sends a signal after so many milliseconds.
std::function<void(pid_t)> SignalAfter(int milliseconds, int signal);
/// For `Run::meanwhile`: SIGTERM, and SIGKILL ten seconds later for a program that does not heed it. The second waits
/// until all threads of the program wait, for input, for a reader, for each other.
void Terminate(pid_t child);
void TerminateIdle(pid_t child);
/// For `Run::inChild`: what the modes of files forbid is forbidden to the superuser too.
void HeedModes();
/// For `Run::setenv`: calls of the system that fail, as faults.c understands them.
std::map<std::string, std::string> Faults(const std::string& faults, const std::string& seen = "");

/// The command under test with these words, run as `how` says.
Outcome Hueweave(const Words& words, Run how = {});
/// `convert` by the profile of the scanner, with these words after it.
Outcome ConvertScan(const Words& more, Run how = {});
/// The same as a line of shell.
std::string ConvertLine(const std::string& words);
/// Another program by a line of shell. Fails the test if the line fails. Returns its standard output.
std::string Shell(const std::string& line);

/// The name of a row of INSTANTIATE_TEST_SUITE_P.
inline constexpr auto NameOfRow = [](const auto& row) { return std::string(row.param.name); };

/// A path in single quotes.
std::string Quoted(const std::string& path);
/// A file that make-inputs made.
std::string Input(const std::string& name);
std::vector<std::string> Lines(const std::string& text);
std::string FileBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::string& bytes);
bool Exists(const std::string& path);
/// Names of everything in a folder, hidden ones too, sorted.
std::vector<std::string> NamesIn(const std::string& folder);

/// An empty folder that is gone afterwards.
class Folder : public TempDir {
public:
    std::string operator/(const std::string& name) const { return File(name); }
    std::string path() const { return Path(); }
};

}  // namespace hueweave::test
