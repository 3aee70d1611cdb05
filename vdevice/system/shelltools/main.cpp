#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "vdevice/system/shelltools/Tools.h"

// The small tools of the virtual device in one program, which goes by the name it is called by.

namespace zstats::vdevice {
namespace {

struct Tool {
    const char* name;
    int (*run)(const Arguments&);
};

constexpr Tool kTools[] = {{"asuid", asuidMain},
                           {"chcon", chconMain},
                           {"inpty", inptyMain},
                           {"logcat", logcatMain},
                           {"runcon", runconMain}};

}  // namespace

int usage(const char* text) {
    fprintf(stderr, "usage: %s\n", text);
    return 2;
}

int runCommand(const char* tool, const Arguments& command) {
    std::vector<char*> words;
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execvp(words[0], words.data());
    fprintf(stderr, "%s: %s: %s\n", tool, words[0], strerror(errno));
    return errno == ENOENT ? 127 : 126;
}

}  // namespace zstats::vdevice

int main(int argc, char** argv) {
    using namespace zstats::vdevice;
    const std::string path = argv[0];
    const std::string name = path.substr(path.rfind('/') + 1);
    for (const Tool& tool : kTools) {
        if (name == tool.name) return tool.run(Arguments(argv + 1, argv + argc));
    }
    fprintf(stderr, "shelltools: there is no tool '%s'\n", name.c_str());
    return 2;
}
