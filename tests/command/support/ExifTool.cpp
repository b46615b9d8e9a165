// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "command/support/ExifTool.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace hueweave::test {
namespace {

/// An exiftool that reads its words from a pipe, one on a line, and prints a mark after each answer.
class Server {
public:
    Server() {
        int words[2], answers[2];
        if (pipe2(words, O_CLOEXEC) != 0 || pipe2(answers, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        child_ = fork();
        if (child_ < 0) throw std::runtime_error("no process");
        if (child_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);  // also where a test ends the process
            dup2(words[0], 0);
            dup2(answers[1], 1);
            execlp("exiftool", "exiftool", "-stay_open", "True", "-@", "-", nullptr);
            _exit(127);
        }
        close(words[0]);
        close(answers[1]);
        in_ = words[1];
        out_ = answers[0];
    }
    ~Server() {
        kill(child_, SIGTERM);
        waitpid(child_, nullptr, 0);
        close(in_);
        close(out_);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string Ask(const std::vector<std::string>& words) const {
        std::string lines;
        for (const std::string& word : words) lines += word + "\n";
        lines += "-execute1\n";  // with a number, the mark is printed whatever the words
        if (write(in_, lines.data(), lines.size()) != static_cast<ssize_t>(lines.size())) {
            throw std::runtime_error("exiftool takes no words");
        }
        constexpr const char* kMark = "{ready1}\n";
        std::string answer;
        char block[65536];
        while (!answer.ends_with(kMark)) {
            const ssize_t got = read(out_, block, sizeof block);
            if (got <= 0) throw std::runtime_error("exiftool has ended: " + answer);
            answer.append(block, static_cast<std::size_t>(got));
        }
        answer.resize(answer.size() - std::string(kMark).size());
        return answer;
    }

private:
    pid_t child_ = -1;
    int in_ = -1, out_ = -1;
};

}  // namespace

std::string ExifTool(const std::vector<std::string>& words) {
    static const Server server;
    return server.Ask(words);
}

}  // namespace hueweave::test
