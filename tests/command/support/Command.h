// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/types.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/TempDir.h"

namespace hueweave::test {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// The result of a program.
struct Outcome {
    int status = -1;  ///< exit status, or -1
    int signal = 0;   ///< the signal that ended it, or 0
    std::string out, err;
    long peakKb = 0;  ///< peak memory in KiB
};

inline void PrintTo(const Outcome& run, std::ostream* out) {
    *out << "status " << run.status << ", signal " << run.signal << ", said: " << run.err
         << ", and printed: " << run.out;
}
MATCHER(Succeeds, "") { return arg.status == 0; }
/// The run ended with this status, and its messages include these; or it printed these; or its only message is this
/// line.
template <typename... Parts>
auto Says(int status, const Parts&... parts) {
    return AllOf(testing::Field("status", &Outcome::status, status),
                 testing::Field("err", &Outcome::err, HasSubstr(parts))...);
}
template <typename... Parts>
auto Prints(int status, const Parts&... parts) {
    return AllOf(testing::Field("status", &Outcome::status, status),
                 testing::Field("out", &Outcome::out, HasSubstr(parts))...);
}
MATCHER_P2(SaysOnly, status, line, "") {
    return arg.status == status && arg.err == "hueweave: " + std::string(line) + "\n";
}

/// The run ended with this status and printed only one line: the reason and the remedy.
MATCHER_P2(Refuses, status, reason, "") {
    return arg.status == status && arg.out.empty() && arg.err.starts_with("hueweave: ") &&
           arg.err.find('\n') == arg.err.size() - 1 && arg.err.find(reason) != std::string::npos &&
           arg.err.find("; ") != std::string::npos;
}

using Words = std::vector<std::string>;
/// Both lists joined.
Words operator+(Words words, const Words& more);

/// How a program is run.
struct Run {
    Words words{};
    std::string input{};  ///< path of standard input; empty for none
    std::map<std::string, std::string> setenv{};
    std::map<__rlimit_resource, rlim_t> limits{};  ///< by RLIMIT_..., soft and hard
    std::function<void()> inChild{};               ///< runs before the program starts
    std::function<void(pid_t)> meanwhile{};        ///< runs in the parent while the program runs
};
Outcome RunProgram(const Run& run);

/// For `Run::meanwhile`: a signal, then SIGKILL ten seconds later for a program that ignores it. The second function
/// first waits until all threads of the program are waiting for input, for a reader or for each other.
void Terminate(pid_t child, int signal = SIGTERM);
void TerminateIdle(pid_t child);
/// For `Run::inChild`: makes file modes apply to the superuser too.
void HeedModes();
/// For `Run::setenv`: system calls that fail, in the syntax of faults.c.
std::map<std::string, std::string> Faults(const std::string& faults, const std::string& seen = "");

/// Runs the command under test with these arguments, as `how` says.
Outcome Hueweave(const Words& words, Run how = {});
/// `convert` with the scanner's profile, followed by these arguments.
Outcome ConvertScan(const Words& more, Run how = {});
/// The same as a shell line.
std::string ConvertLine(const std::string& words);
/// Runs a shell line with other programs. Fails the test if the line fails. Returns its standard output.
std::string Shell(const std::string& line);

/// The name of a row, for INSTANTIATE_TEST_SUITE_P.
inline constexpr auto NameOfRow = [](const auto& row) { return std::string(row.param.name); };

/// A path in single quotes.
std::string Quoted(const std::string& path);
/// The path of a file made by make-inputs.
std::string Input(const std::string& name);
std::vector<std::string> Lines(const std::string& text);
std::size_t CountOf(const std::string& text, const std::string& part);
std::string FileBytes(const std::string& path);
/// Makes the folders above the file, too.
void WriteBytes(const std::string& path, const std::string& bytes);
bool Exists(const std::string& path);
/// Names of all files in a folder, including hidden ones, sorted.
std::vector<std::string> NamesIn(const std::string& folder);

/// An empty folder that is deleted at the end of its scope.
class Folder : public TempDir {
public:
    std::string operator/(const std::string& name) const { return File(name); }
    std::string path() const { return Path(); }
};

}  // namespace hueweave::test
