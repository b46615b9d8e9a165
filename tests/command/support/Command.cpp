// SPDX-License-Identifier: MIT
#include "command/support/Command.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace hueweave::test {
namespace {

[[noreturn]] void Become(const Run& run, int out, int err) {
    const int in = open(run.input.empty() ? "/dev/null" : run.input.c_str(), O_RDONLY);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    for (const auto& [name, value] : run.setenv) setenv(name.c_str(), value.c_str(), 1);
    // The tests themselves may run under nohup or in the background of a shell, which ignore signals.
    for (const int signal : {SIGHUP, SIGINT}) std::signal(signal, SIG_DFL);
    for (const auto& [resource, value] : run.limits) {
        const struct rlimit both { value, value };
        setrlimit(resource, &both);
    }
    if (run.inChild) run.inChild();
    std::vector<char*> words;
    for (const std::string& word : run.words) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execvp(words[0], words.data());
    _exit(127);
}

}  // namespace

Outcome RunProgram(const Run& run) {
    const int out = memfd_create("out", MFD_CLOEXEC), err = memfd_create("err", MFD_CLOEXEC);
    // A child's peak includes its parent's memory at the time of the fork, even after exec.
    malloc_trim(0);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) Become(run, out, err);
    if (run.meanwhile) run.meanwhile(child);
    int status = 0;
    struct rusage usage {};
    wait4(child, &status, 0, &usage);
    Outcome outcome;
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    outcome.peakKb = usage.ru_maxrss;
    outcome.out = FileBytes("/proc/self/fd/" + std::to_string(out));
    outcome.err = FileBytes("/proc/self/fd/" + std::to_string(err));
    close(out), close(err);
    return outcome;
}

void Terminate(pid_t child, int signal) {
    kill(child, signal);
    for (int tries = 0; tries < 200; ++tries) {
        siginfo_t ended{};
        waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT | WNOHANG);
        if (ended.si_pid == child) return;
        usleep(50000);
    }
    kill(child, SIGKILL);
}

void TerminateIdle(pid_t child) {
    // Whether no thread has another state than that of sleep.
    const std::string find = "! grep -qsv ') S ' /proc/" + std::to_string(child) + "/task/*/stat";
    const auto waits = [&] { return RunProgram({.words = {"sh", "-c", find}}).status == 0; };
    // Repeated for a while, because a thread may also wait for a lock or for the disk.
    for (int idle = 0, tries = 0; idle < 12 && tries < 4000; ++tries) {
        usleep(5000);
        idle = waits() ? idle + 1 : 0;
    }
    Terminate(child);
}

void HeedModes() {
    if (geteuid() != 0) return;
    const bool dropped = prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) == 0 &&
                         prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0) == 0;
    if (!dropped && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(126);
}

std::map<std::string, std::string> Faults(const std::string& faults, const std::string& seen) {
    return {{"LD_PRELOAD", HUEWEAVE_FAULTS},
            {"ASAN_OPTIONS", "verify_asan_link_order=0"},
            {"HUEWEAVE_FAULT", faults},
            {"HUEWEAVE_FAULT_SEEN", seen}};
}

Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

Outcome Hueweave(const Words& words, Run how) {
    how.words = Words{HUEWEAVE_COMMAND} + words;
    return RunProgram(how);
}

Outcome ConvertScan(const Words& more, Run how) {
    return Hueweave(Words{"convert", "--precision", "library", "--profile", Input("scanner.icc")} + more,
                    std::move(how));
}

std::string ConvertLine(const std::string& words) {
    return HUEWEAVE_COMMAND " convert --precision library --profile " + Quoted(Input("scanner.icc")) + " " + words;
}

std::string Shell(const std::string& line) {
    const Outcome outcome = RunProgram({.words = {"sh", "-ec", line}});
    EXPECT_EQ(outcome.status, 0) << line << "\n" << outcome.err;
    return outcome.out;
}

std::string Quoted(const std::string& path) { return "'" + path + "'"; }

std::string Input(const std::string& name) { return std::string(HUEWEAVE_COMMAND_INPUTS) + "/" + name; }

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::size_t CountOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; at += part.size()) ++count;
    return count;
}

std::string FileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.good()) << path;
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteBytes(const std::string& path, const std::string& bytes) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

bool Exists(const std::string& path) { return fs::exists(fs::symlink_status(path)); }

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace hueweave::test
