// SPDX-License-Identifier: MIT
#include "command/support/ExifTool.h"

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "command/support/Command.h"

namespace hueweave::test {
namespace {

/// An exiftool process that reads its arguments from a pipe, one per line, and prints a mark after each answer.
class Server {
public:
    Server() {
        const std::string answers = folder_ / "answers";
        mkfifo(answers.c_str(), 0600);
        // It ends with this process, even if a test kills that.
        const std::string line = "exec setpriv --pdeathsig TERM exiftool -stay_open True -@ - > " + Quoted(answers);
        words_ = popen(line.c_str(), "we");
        answers_.open(answers);
    }
    ~Server() {
        std::fputs("-stay_open\nFalse\n", words_);
        pclose(words_);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string Ask(const Words& words) {
        for (const std::string& word : words) std::fputs((word + "\n").c_str(), words_);
        std::fputs("-execute1\n", words_);  // with a number, the mark is printed whatever the arguments
        std::fflush(words_);
        std::string answer;
        for (std::string line; std::getline(answers_, line) && line != "{ready1}";) answer += line + "\n";
        if (!answers_) throw std::runtime_error("exiftool has ended: " + answer);
        return answer;
    }

private:
    Folder folder_;
    std::FILE* words_;
    std::ifstream answers_;
};

}  // namespace

std::string ExifTool(const Words& words) {
    static Server server;
    return server.Ask(words);
}

}  // namespace hueweave::test
