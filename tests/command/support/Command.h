// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace hueweave::test {

/// What a program did.
struct Outcome {
    int status = -1;  ///< exit status, or -1
    int signal = 0;   ///< that ended it, or 0
    std::string out, err;
    long peakKb = 0;  ///< largest memory in KiB
};

/// How a program is run.
struct Run {
    std::vector<std::string> words;
    std::string input;  ///< path of standard input; empty for none
    std::map<std::string, std::string> setenv{};
    std::function<void()> inChild{};         ///< before the program starts: limits
    std::function<void(pid_t)> meanwhile{};  ///< in the parent, while it runs
};
Outcome RunProgram(const Run& run);

/// For `Run::meanwhile`: returns once all threads of the program wait, for input, for a reader, for each other.
void WaitUntilIdle(pid_t child);
/// For `Run::meanwhile`: SIGTERM, and SIGKILL ten seconds later for a program that does not heed it.
void Terminate(pid_t child);
/// For `Run::inChild`: what the modes of files forbid is forbidden to the superuser too.
void HeedModes();
/// For `Run::setenv`: calls of the system that fail, as faults.c understands them.
std::map<std::string, std::string> Faults(const std::string& faults, const std::string& seen = "");

/// The command under test with these words.
Outcome Hueweave(std::vector<std::string> words);
/// Another program by a line of shell. Fails the test if the line fails. Returns its standard output.
std::string Shell(const std::string& line);

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
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace hueweave::test
