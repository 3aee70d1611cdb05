#include <cstdio>
#include <map>

#include "host/properties/PropertyStore.h"
#include "vdevice/system/toolbox/Tools.h"

namespace zstats::vdevice {
namespace {

using zstats::properties::PropertyArea;
using zstats::properties::requestProperty;

int request(const char* tool, const std::string& name, const std::string& value) {
    const int result = requestProperty(zstats::properties::kServicePath, {name, value});
    if (result == 0) return 0;
    fprintf(stderr, "%s: failed to set property '%s' to '%s': error %d\n", tool, name.c_str(),
            value.c_str(), result);
    return 1;
}

int control(const char* action, const Arguments& arguments) {
    const std::string name = std::string("ctl.") + action;
    int status = 0;
    for (const std::string& service : arguments) status |= request(action, name, service);
    return status;
}

int listProperties() {
    const auto area = PropertyArea::map(zstats::properties::kAreaPath);
    if (area == nullptr) {
        perror(zstats::properties::kAreaPath);
        return 1;
    }
    std::map<std::string, std::string> sorted;
    area->forEach([&](const char* name, const char* value) { sorted[name] = value; });
    for (const auto& [name, value] : sorted) printf("[%s]: [%s]\n", name.c_str(), value.c_str());
    return 0;
}

}  // namespace

int getpropMain(const Arguments& arguments) {
    if (arguments.empty()) return listProperties();
    if (arguments.size() > 2) return usage("getprop [NAME [DEFAULT]]");
    char value[PROP_VALUE_MAX] = {};
    const bool found = __system_property_get(arguments[0].c_str(), value) > 0;
    printf("%s\n", found || arguments.size() == 1 ? value : arguments[1].c_str());
    return 0;
}

int setpropMain(const Arguments& arguments) {
    if (arguments.size() != 2) return usage("setprop NAME VALUE");
    return request("setprop", arguments[0], arguments[1]);
}

int startMain(const Arguments& arguments) {
    return arguments.empty() ? usage("start SERVICE...") : control("start", arguments);
}

int stopMain(const Arguments& arguments) {
    return arguments.empty() ? usage("stop SERVICE...") : control("stop", arguments);
}

}  // namespace zstats::vdevice
