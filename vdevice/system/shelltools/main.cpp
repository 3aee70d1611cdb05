#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/lib/CommandLine.h"
#include "vdevice/system/shelltools/Tools.h"

// The small tools of the virtual device in one program, selected by its name.

namespace zstats::vdevice {
namespace {

struct Tool {
    const char* name;
    const char* wants;
    size_t leastWords;
    int (*run)(const Arguments&);
    const char* description;
};

constexpr Tool kTools[] = {
        {"asuid", "UID COMMAND...", 2, asuidMain,
         "Runs the command as user and group UID, a number or a name, without other groups.\n"},
        {"chcon", "LABEL FILE...", 2, chconMain, "Gives the files the SELinux label.\n"},
        {"inpty", "COMMAND...", 1, inptyMain, "Runs the command in a pseudo-terminal.\n"},
        {"runcon", "LABEL COMMAND...", 2, runconMain, "Runs the command with the SELinux label.\n"}};

constexpr char kLogcatHelp[] =
        "usage: logcat [-d]\n"
        "Prints the device's log, and goes on with what is logged.\n"
        "  -d    ends at the log's present end\n";

int runTool(const Tool& tool, int argc, char** argv) {
    Arguments words;
    cli::CommandLine line(tool.name, std::string("usage: ") + tool.name + " " + tool.wants + "\n" +
                                             tool.description);
    line.endOptionsAtWord();
    if (const auto ended = line.read(argc, argv, &words)) return *ended;
    if (words.size() < tool.leastWords) return line.complain(std::string("wants ") + tool.wants);
    return tool.run(words);
}

int runLogcat(int argc, char** argv) {
    bool dump = false;
    cli::CommandLine line("logcat", kLogcatHelp);
    line.letter('d', &dump);
    if (const auto ended = line.read(argc, argv)) return *ended;
    return logcatMain(dump);
}

}  // namespace

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
    if (name == "logcat") return runLogcat(argc, argv);
    for (const Tool& tool : kTools) {
        if (name == tool.name) return runTool(tool, argc, argv);
    }
    fprintf(stderr, "shelltools: there is no tool '%s'\n", name.c_str());
    return zstats::cli::kExitUsage;
}
