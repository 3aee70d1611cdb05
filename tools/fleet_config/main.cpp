// Writes the metrics of fleet/zstats_config.textproto from the catalogue of atoms.
//
//   fleet_config FILE            rewrites all below the line that begins the metrics
//   fleet_config --check FILE    exits with 1 if the file is not current

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "proto/zstats_atoms.pb.h"

namespace {

using google::protobuf::FieldDescriptor;

constexpr char kBegin[] =
        "\n# The metrics, from the catalogue of atoms (ninja fleet_config_update).\n";
/** A metric's id is its atom's and this. */
constexpr int kMetricBase = 1'000'000;

std::string metricOf(const FieldDescriptor& atom) {
    const std::string id = std::to_string(atom.number());
    std::string text = "\n# " + atom.name() + "\natom_matcher { id: " + id +
                       " simple_atom_matcher { atom_id: " + id + " } }\n";
    const std::string metric = std::to_string(kMetricBase + atom.number()) + " what: " + id;
    if (atom.containing_oneof()->name() == "pushed") {
        return text + "event_metric { id: " + metric + " }\n";
    }
    text += "gauge_metric { id: " + metric +
            " bucket: ONE_HOUR gauge_fields_filter { include_all: true }";
    const bool keyed =
            !atom.message_type()->options().GetExtension(zstats::atoms::one_event_per).empty();
    // An event for each key: without the dimension, statsd keeps one event of each pull.
    if (keyed) text += "\n    dimensions_in_what { field: " + id + " child { field: 1 } }";
    return text + " }\n";
}

std::string metrics() {
    const google::protobuf::Descriptor& catalogue = *zstats::atoms::Atom::descriptor();
    std::string text;
    for (int i = 0; i < catalogue.field_count(); ++i) text += metricOf(*catalogue.field(i));
    return text;
}

int fail(const char* path, const char* reason) {
    fprintf(stderr, "fleet_config: %s: %s\n", path, reason);
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    const bool check = argc == 3 && strcmp(argv[1], "--check") == 0;
    if (argc != 2 && !check) {
        fprintf(stderr, "usage: fleet_config [--check] FILE\n");
        return 2;
    }
    const char* path = argv[argc - 1];
    std::ostringstream read;
    read << std::ifstream(path).rdbuf();
    const std::string before = read.str();
    const size_t begin = before.find(kBegin);
    if (begin == std::string::npos) return fail(path, "has no line that begins the metrics");
    const std::string after = before.substr(0, begin + strlen(kBegin)) + metrics();
    if (before == after) return 0;
    if (check) return fail(path, "is not current; run: ninja -C build/device fleet_config_update");
    if (!(std::ofstream(path) << after).flush()) return fail(path, "cannot be written");
    return 0;
}
