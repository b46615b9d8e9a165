// SPDX-License-Identifier: MIT
#include "command/support/ExifTool.h"

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace hueweave::test {

std::string ExifTool(const Words& words) {
    // It reads its arguments from a pipe, one per line, and ends with this process, even if a test kills that.
    static const Folder folder;
    static const std::string path = folder / "answers";
    static std::FILE* const questions = [] {
        mkfifo(path.c_str(), 0600);
        return popen(("exec setpriv --pdeathsig TERM exiftool -stay_open True -@ - > " + Quoted(path)).c_str(), "we");
    }();
    static std::ifstream answers(path);
    for (const std::string& word : words) std::fputs((word + "\n").c_str(), questions);
    std::fputs("-execute1\n", questions);  // with a number, a mark follows the answer whatever the arguments
    std::fflush(questions);
    std::string answer;
    for (std::string line; std::getline(answers, line) && line != "{ready1}";) answer += line + "\n";
    if (!answers) throw std::runtime_error("exiftool has ended: " + answer);
    return answer;
}

}  // namespace hueweave::test
