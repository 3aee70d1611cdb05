// Writes the tables of docs/atoms from the catalogue of atoms, proto/zstats_atoms.proto.
//
// A page names its atoms in a line "<!-- fields: 150005 150006 -->"; their fields follow, to the line
// "<!-- end of fields -->". What their handlers read follows a line "<!-- sources -->", to the line
// "<!-- end of sources -->"; a page of pulled atoms has it. Each atom is on exactly one of the pages.

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/lib/CommandLine.h"
#include "cli/lib/device/AtomSources.h"
#include "proto/zstats_atoms.pb.h"

namespace {

constexpr char kUsage[] =
        "usage: atom_docs [--check] PAGE...\n"
        "Rewrites the tables of pages of docs/atoms.\n"
        "  --check   says which pages are not current instead, and exits with 1\n";

using google::protobuf::FieldDescriptor;
using zstats::cli::ValueSource;

constexpr char kFields[] = "<!-- fields: ";
constexpr char kMarkEnd[] = " -->";
constexpr char kEndOfFields[] = "<!-- end of fields -->";
constexpr char kSources[] = "<!-- sources -->";
constexpr char kEndOfSources[] = "<!-- end of sources -->";
constexpr char kFieldsHead[] = "\n| Atom | Events | Field | Type | Unit |\n|---|---|---|---|---|\n";
constexpr char kSourcesHead[] = "\n| Atom | Reads | Conversion |\n|---|---|---|\n";

bool startsWith(const std::string& text, const char* prefix) {
    return text.compare(0, strlen(prefix), prefix) == 0;
}

bool isPushed(const FieldDescriptor& atom) {
    return atom.containing_oneof()->name() == "pushed";
}

std::string eventsText(const FieldDescriptor& atom) {
    const google::protobuf::MessageOptions& options = atom.message_type()->options();
    if (options.GetExtension(zstats::atoms::never_filled)) return "never one";
    if (isPushed(atom)) return "pushed as they occur";
    const std::string& key = options.GetExtension(zstats::atoms::one_event_per);
    std::string text = key.empty() ? "at most one" : "one for each " + key;
    if (options.GetExtension(zstats::atoms::delta)) text += ", since the pull before";
    return text;
}

/** How a page names sources of a kind: before the first name, and before the first of several. */
struct KindWords {
    const char* one;
    const char* several;
    bool quoted;
};
constexpr KindWords kKindWords[] = {
        {"node ", "nodes ", true},       // kKey
        {"charger ", "charger ", true},  // kCharger
        {"touch service, ", "touch service, ", false},
        {"\"calda\", code ", "\"calda\", codes ", false},
        {"\"thermalservice\", ", "\"thermalservice\", ", false},
        {"\"audio\", ", "\"audio\", ", true},
        {"usage library, ", "usage library, ", false},
        {"file ", "files ", true},
        {"property ", "properties ", true},
};
constexpr const char* kDeviceWords[] = {"", " (on Qualcomm)", " (elsewhere)"};

std::string quoted(const std::string& name) {
    return "`" + name + "`";
}

std::string namesText(const std::vector<const ValueSource*>& run) {
    const KindWords& words = kKindWords[static_cast<size_t>(run.front()->kind)];
    const bool isPattern = run.front()->name.find('*') != std::string::npos;
    std::string text = run.size() == 1 && !isPattern ? words.one : words.several;
    for (const ValueSource* source : run) {
        if (source != run.front()) text += ", ";
        text += words.quoted ? quoted(source->name) : source->name;
    }
    const char* separator = "; beside one that holds a number above 0 ";
    for (const std::string& name : run.front()->beside) {
        text += separator + quoted(name);
        separator = ", ";
    }
    return text;
}

/** What an atom reads, those of one kind and device that follow each other as one item. */
std::string sourcesText(int32_t tag) {
    std::vector<std::vector<const ValueSource*>> runs;
    for (const ValueSource& source : zstats::cli::atomSources()) {
        if (source.tag != tag) continue;
        const ValueSource* last = runs.empty() ? nullptr : runs.back().front();
        if (last == nullptr || last->kind != source.kind || last->device != source.device) {
            runs.emplace_back();
        }
        runs.back().push_back(&source);
    }
    std::string text;
    for (const auto& run : runs) {
        text += (text.empty() ? "" : "; ") + namesText(run) +
                kDeviceWords[static_cast<size_t>(run.front()->device)];
    }
    return text.empty() ? "nothing" : text;
}

std::string sourcesRow(const FieldDescriptor& atom) {
    const google::protobuf::MessageOptions& options = atom.message_type()->options();
    const std::string& conversion = options.GetExtension(zstats::atoms::conversion);
    const char* numbers = atom.message_type()->field_count() == 0           ? "none"
                          : options.ExtensionSize(zstats::atoms::reads) > 1 ? "numbers"
                                                                            : "number";
    return "| " + quoted(atom.name()) + " | " + sourcesText(atom.number()) + " | " +
           (conversion.empty() ? numbers : conversion) + " |\n";
}

/** The rows of one atom: its id and name on the first, a field on each. */
std::string rows(const FieldDescriptor& atom) {
    std::string text;
    std::string head =
            std::to_string(atom.number()) + " `" + atom.name() + "` | " + eventsText(atom);
    const google::protobuf::Descriptor& message = *atom.message_type();
    if (message.field_count() == 0) return "| " + head + " | | | |\n";
    for (int i = 0; i < message.field_count(); ++i) {
        const FieldDescriptor& field = *message.field(i);
        text += "| " + head + " | `" + field.name() + "` | " + field.type_name() + " | " +
                field.options().GetExtension(zstats::atoms::unit) + " |\n";
        head = " | ";
    }
    return text;
}

class Pages {
  public:
    /** The page with its tables made anew. Throws std::runtime_error for a page that it cannot read
     * or whose marks do not pair. */
    std::string renew(const std::string& path) {
        std::ifstream file(path);
        if (!file) throw std::runtime_error(path + ": cannot be read");
        std::string result;
        std::string end;  // of the table that is being replaced
        mAtoms.clear();
        bool sourcesDue = false;
        for (std::string line; std::getline(file, line);) {
            if (!end.empty() && line != end) continue;
            if (end.empty() && (line == kEndOfFields || line == kEndOfSources)) {
                throw std::runtime_error((path + ": '").append(line).append("' ends no table"));
            }
            result += line + "\n";
            end.clear();
            if (startsWith(line, kFields)) {
                readAtoms(path, line);
                result += fieldsTable();
                sourcesDue = !isPushed(*mAtoms.front());
                end = kEndOfFields;
            } else if (line == kSources) {
                result += sourcesTable();
                sourcesDue = false;
                end = kEndOfSources;
            }
        }
        if (!end.empty()) throw std::runtime_error(path + ": there is no '" + end + "'");
        if (sourcesDue) throw std::runtime_error(path + ": there is no '" + kSources + "'");
        return result;
    }

    /** Throws std::runtime_error for an atom that no page has. */
    void expectAll() const {
        const google::protobuf::Descriptor& catalogue = *zstats::atoms::Atom::descriptor();
        for (int i = 0; i < catalogue.field_count(); ++i) {
            const FieldDescriptor& atom = *catalogue.field(i);
            if (mPageOf.count(atom.number()) != 0) continue;
            throw std::runtime_error("no page has the atom " + atom.name() + ": add " +
                                     std::to_string(atom.number()) +
                                     " to the line \"<!-- fields: … -->\" of its family's page");
        }
    }

  private:
    std::string fieldsTable() const {
        std::string text = kFieldsHead;
        for (const FieldDescriptor* atom : mAtoms) text += rows(*atom);
        return text + "\n";
    }

    std::string sourcesTable() const {
        std::string text = kSourcesHead;
        for (const FieldDescriptor* atom : mAtoms) text += sourcesRow(*atom);
        return text + "\n";
    }

    /** Takes the atoms of a "fields" mark for those of the page. */
    void readAtoms(const std::string& path, const std::string& line) {
        const size_t end = line.find(kMarkEnd);
        if (end == std::string::npos) throw std::runtime_error(path + ": '" + line + "' is open");
        std::istringstream ids(line.substr(strlen(kFields), end - strlen(kFields)));
        for (std::string id; ids >> id;) mAtoms.push_back(&atom(path, id));
        if (mAtoms.empty()) throw std::runtime_error(path + ": '" + line + "' names no atom");
    }

    const FieldDescriptor& atom(const std::string& path, const std::string& id) {
        const FieldDescriptor* found =
                zstats::atoms::Atom::descriptor()->FindFieldByNumber(atoi(id.c_str()));
        if (found == nullptr) throw std::runtime_error(path + ": the catalogue has no atom " + id);
        const auto [entry, isNew] = mPageOf.emplace(found->number(), path);
        if (!isNew) throw std::runtime_error(path + ": " + id + " is in " + entry->second + " too");
        return *found;
    }

    std::vector<const FieldDescriptor*> mAtoms;  // of the page
    std::map<int, std::string> mPageOf;
};

std::string contents(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

int run(bool check, const std::vector<std::string>& paths) {
    Pages pages;
    std::map<std::string, std::string> stale;
    for (const std::string& path : paths) {
        const std::string current = pages.renew(path);
        if (current != contents(path)) stale[path] = current;
    }
    for (const auto& [path, text] : stale) {
        if (check) {
            fprintf(stderr,
                    "%s: its tables are not those of proto/zstats_atoms.proto; write them anew "
                    "with\n"
                    "    tools/build build/device atom_docs_update\n",
                    path.c_str());
        } else if (!(std::ofstream(path) << text).flush()) {
            throw std::runtime_error(path + ": cannot be written");
        }
    }
    pages.expectAll();
    return check && !stale.empty() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    bool check = false;
    std::vector<std::string> paths;
    zstats::cli::CommandLine line("atom_docs", kUsage);
    line.flag("check", &check);
    if (const auto ended = line.read(argc, argv, &paths)) return *ended;
    if (paths.empty()) return line.complain("wants PAGE...");
    try {
        return run(check, paths);
    } catch (const std::runtime_error& error) {
        fprintf(stderr, "atom_docs: %s\n", error.what());
        return 1;
    }
}
