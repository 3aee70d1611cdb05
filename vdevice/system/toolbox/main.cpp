#include <cstdio>
#include <cstring>
#include <string>

#include "vdevice/system/toolbox/Tools.h"

// The small tools of the virtual device in one program, which goes by the name it is called by.

namespace zstats::vdevice {
namespace {

struct Tool {
    const char* name;
    int (*run)(const Arguments&);
};

constexpr Tool kTools[] = {{"asuid", asuidMain},   {"getprop", getpropMain},
                           {"logcat", logcatMain}, {"setprop", setpropMain},
                           {"start", startMain},   {"stop", stopMain}};

}  // namespace

int usage(const char* text) {
    fprintf(stderr, "usage: %s\n", text);
    return 2;
}

}  // namespace zstats::vdevice

int main(int argc, char** argv) {
    using namespace zstats::vdevice;
    const std::string path = argv[0];
    const std::string name = path.substr(path.rfind('/') + 1);
    for (const Tool& tool : kTools) {
        if (name == tool.name) return tool.run(Arguments(argv + 1, argv + argc));
    }
    fprintf(stderr, "toolbox: there is no tool '%s'\n", name.c_str());
    return 2;
}
