// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace hueweave::tool {

/// The messages of a run: text on standard error, and lines of JSON on standard output. Shared by threads. A message
/// that cannot be written does not stop the conversion; for lines of JSON, `Close` returns the error.
class Report {
public:
    Report(bool quiet, bool json);
    ~Report();

    /// Sets the number of files and the total size of the sources in bytes.
    void Begin(std::size_t files, std::uint64_t bytes);
    void StartFile(const std::string& name, std::uint64_t bytes);
    /// The share of a file that is done, 0 to 1.
    void Progress(const std::string& name, double share);
    void EndFile(const std::string& name);

    void Line(const std::string& text);        ///< prints a line, unless quiet
    void Note(const std::string& text);        ///< the same, marked as a note; repeated notes are omitted
    void NoteOfMany(const std::string& text);  ///< counted, and printed by `TellNotesOfMany`
    void TellNotesOfMany();
    void Refused(const std::string& text);  ///< printed even if quiet
    void Json(const std::string& line);
    /// Notes that a line of JSON could not be created for lack of memory.
    void LoseJson();
    /// The error number of the first line of JSON that could not be written, 0 for none.
    int Close();

private:
    struct Current {
        std::uint64_t bytes;
        double share;
    };
    void Clear();
    void Draw(bool now);
    void DrawLine(bool now);
    void Print(const char* colour, const std::string& text);

    bool quiet_, json_, terminal_, colour_;
    std::mutex mutex_;
    std::map<std::string, Current> current_;
    std::set<std::string> noted_;
    std::map<std::string, std::size_t> ofMany_;  ///< number of files, by note
    std::size_t files_ = 0, ended_ = 0;
    std::uint64_t bytes_ = 0, endedBytes_ = 0;
    std::chrono::steady_clock::time_point begin_, drawn_;
    bool shown_ = false;  ///< a progress line is on the terminal
    int error_ = 0;       ///< of the first line of JSON that could not be written
};

/// "1:05:09", "2:07" or "0:09".
std::string Duration(double seconds);
/// The progress line, cut to `columns`.
std::string ProgressLine(const std::string& name, std::size_t file, std::size_t files, double share, double total,
                         double secondsLeft, std::size_t columns);

}  // namespace hueweave::tool
