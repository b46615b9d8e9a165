// SPDX-License-Identifier: MIT
#include "batch/session/Report.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <string_view>

#include "system/Refusal.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);  ///< between two updates of the progress line
constexpr double kFirstGuess = 0.5;                         ///< seconds before the remaining time is shown
constexpr std::size_t kMostNotes = 4096;  ///< that are remembered; a run without end may write any number
constexpr const char* kRed = "\033[31m";
constexpr const char* kYellow = "\033[33m";
constexpr const char* kPlain = "\033[0m";
constexpr const char* kClearLine = "\r\033[K";

std::size_t Columns() {
    struct winsize size {};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != 0;
}

}  // namespace

std::string Duration(double seconds) {
    const auto whole = static_cast<long>(seconds + 0.5);
    if (whole >= 3600) return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
    return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

std::string ProgressLine(const std::string& name, std::size_t file, std::size_t files, double share, double total,
                         double secondsLeft, std::size_t columns) {
    std::string tail = fmt::format(" {:3.0f}%", 100 * share);
    if (files > 1) tail = fmt::format("{}  total {:3.0f}%", tail, 100 * total);
    if (secondsLeft >= 0) tail += "  " + Duration(secondsLeft) + " left";
    const std::string head = files > 1 ? fmt::format("[{}/{}] ", file, files) : "";
    const std::size_t rest = head.size() + tail.size() + 1;
    std::string shown = OneLine(name);
    const std::size_t room = columns > rest ? columns - rest : 0;
    if (shown.size() > room) {
        std::size_t from = room > 3 ? shown.size() - (room - 3) : shown.size();
        while (from < shown.size() && (static_cast<unsigned char>(shown[from]) & 0xc0U) == 0x80) ++from;
        shown = room > 3 ? "..." + shown.substr(from) : "";  // no part of a UTF-8 character remains
    }
    return (head + shown + tail).substr(0, columns);
}

Report::Report(bool quiet, bool json) : quiet_(quiet), json_(json), begin_(std::chrono::steady_clock::now()) {
    const char* term = std::getenv("TERM");
    terminal_ = ::isatty(STDERR_FILENO) != 0 && term != nullptr && std::string_view(term) != "dumb";
    colour_ = terminal_ && !IsSet("NO_COLOR");
}

Report::~Report() {
    const std::lock_guard lock(mutex_);
    Clear();
}

void Report::Begin(std::size_t files, std::uint64_t bytes) {
    const std::lock_guard lock(mutex_);
    files_ = files;
    bytes_ = bytes;
    begin_ = std::chrono::steady_clock::now();
}

void Report::StartFile(const std::string& name, std::uint64_t bytes) {
    const std::lock_guard lock(mutex_);
    current_[name] = {bytes, 0.0};
    Draw(true);
}

void Report::Progress(const std::string& name, double share) {
    const std::lock_guard lock(mutex_);
    current_[name].share = std::clamp(share, 0.0, 1.0);
    Draw(share >= 1.0);
}

void Report::EndFile(const std::string& name) {
    const std::lock_guard lock(mutex_);
    const auto file = current_.find(name);
    if (file != current_.end()) {
        endedBytes_ += file->second.bytes;
        current_.erase(file);
    }
    ++ended_;
    Draw(true);
}

void Report::Clear() {
    if (!shown_) return;
    WriteText(STDERR_FILENO, kClearLine);
    shown_ = false;
}

void Report::Draw(bool now) {
    if (!terminal_ || quiet_) return;
    try {
        DrawLine(now);
    } catch (const std::bad_alloc&) {
        return;  // skip this update
    }
}

void Report::DrawLine(bool now) {
    const auto time = std::chrono::steady_clock::now();
    if (!now && time - drawn_ < kInterval) return;
    drawn_ = time;
    if (current_.empty()) return Clear();
    double done = static_cast<double>(endedBytes_);
    for (const auto& [name, file] : current_) done += file.share * static_cast<double>(file.bytes);
    const double total = bytes_ > 0 ? std::min(1.0, done / static_cast<double>(bytes_)) : 0.0;
    const double elapsed = std::chrono::duration<double>(time - begin_).count();
    const double left = total > 0.01 && elapsed > kFirstGuess ? elapsed / total - elapsed : -1.0;
    const auto& [name, file] = *current_.begin();
    const std::string line =
        ProgressLine(name, std::min(files_, ended_ + 1), files_, file.share, total, left, Columns() - 1);
    WriteText(STDERR_FILENO, std::string(kClearLine) + line);
    shown_ = true;
}

void Report::Print(const char* colour, const std::string& text) {
    Clear();
    const std::string line = OneLine(text);
    PrintError(colour_ && colour != nullptr ? colour + line + kPlain : line);
}

void Report::Line(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (!quiet_) Print(nullptr, text);
}

void Report::Note(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (noted_.size() >= kMostNotes) noted_.clear();
    if (!quiet_ && noted_.insert(text).second) Print(kYellow, "hueweave: note: " + text);
}

void Report::NoteOfMany(const std::string& text) {
    const std::lock_guard lock(mutex_);
    ++ofMany_[text];
}

void Report::TellNotesOfMany() {
    std::map<std::string, std::size_t> notes;
    {
        const std::lock_guard lock(mutex_);
        notes.swap(ofMany_);
    }
    for (const auto& [text, files] : notes) {
        Note(fmt::format("in {} {} the {}", files, files == 1 ? "file" : "files", text));
    }
}

void Report::Refused(const std::string& text) {
    const std::lock_guard lock(mutex_);
    Print(kRed, "hueweave: " + text);
}

void Report::Json(const std::string& line) {
    const std::lock_guard lock(mutex_);
    if (!json_) return;
    const int error = WriteText(STDOUT_FILENO, line + "\n");
    if (error_ == 0) error_ = error;
}

void Report::LoseJson() {
    const std::lock_guard lock(mutex_);
    if (json_ && error_ == 0) error_ = ENOMEM;
}

int Report::Close() {
    const std::lock_guard lock(mutex_);
    Clear();
    return error_;
}

}  // namespace hueweave::tool
