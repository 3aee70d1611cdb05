// Writes the field tables of docs/atoms from the catalogue of atoms, proto/zstats_atoms.proto.
//
//   atom_docs PAGE...            rewrites the tables
//   atom_docs --check PAGE...    says which pages are not current, and exits with 1
//
// A page asks for the table of some atoms with a line "<!-- fields: 150005 150006 -->"; the table
// ends at the line "<!-- end of fields -->". Each atom belongs to exactly one of the pages.

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "proto/zstats_atoms.pb.h"

namespace {

using google::protobuf::FieldDescriptor;

constexpr char kBegin[] = "<!-- fields: ";
constexpr char kBeginEnd[] = " -->";
constexpr char kEnd[] = "<!-- end of fields -->";
constexpr char kHeader[] = "\n| Atom | Events | Field | Type | Unit |\n|---|---|---|---|---|\n";

bool startsWith(const std::string& text, const char* prefix) {
    return text.compare(0, strlen(prefix), prefix) == 0;
}

std::string eventsText(const FieldDescriptor& atom) {
    const google::protobuf::MessageOptions& options = atom.message_type()->options();
    if (options.GetExtension(zstats::atoms::never_filled)) return "never one";
    if (atom.containing_oneof()->name() == "pushed") return "pushed as they occur";
    const std::string& key = options.GetExtension(zstats::atoms::one_event_per);
    std::string text = key.empty() ? "at most one" : "one for each " + key;
    if (options.GetExtension(zstats::atoms::delta)) text += ", since the pull before";
    return text;
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
        bool inTable = false;
        for (std::string line; std::getline(file, line);) {
            if (inTable && line != kEnd) continue;
            if (line == kEnd && !inTable) throw std::runtime_error(path + ": a table ends twice");
            inTable = startsWith(line, kBegin);
            result += line + "\n";
            if (inTable) result += table(path, line);
        }
        if (inTable) throw std::runtime_error(path + ": a table has no end");
        return result;
    }

    /** Throws std::runtime_error for an atom that no page has. */
    void expectAll() const {
        const google::protobuf::Descriptor& catalogue = *zstats::atoms::Atom::descriptor();
        for (int i = 0; i < catalogue.field_count(); ++i) {
            if (mPageOf.count(catalogue.field(i)->number()) == 0) {
                throw std::runtime_error(catalogue.field(i)->name() + " is on none of the pages");
            }
        }
    }

  private:
    std::string table(const std::string& path, const std::string& line) {
        const size_t end = line.find(kBeginEnd);
        if (end == std::string::npos) throw std::runtime_error(path + ": '" + line + "' is open");
        std::istringstream ids(line.substr(strlen(kBegin), end - strlen(kBegin)));
        std::string text = kHeader;
        for (std::string id; ids >> id;) text += rows(atom(path, id));
        return text + "\n";
    }

    const FieldDescriptor& atom(const std::string& path, const std::string& id) {
        const FieldDescriptor* found =
                zstats::atoms::Atom::descriptor()->FindFieldByNumber(atoi(id.c_str()));
        if (found == nullptr) throw std::runtime_error(path + ": the catalogue has no atom " + id);
        const auto [entry, isNew] = mPageOf.emplace(found->number(), path);
        if (!isNew) throw std::runtime_error(path + ": " + id + " is in " + entry->second + " too");
        return *found;
    }

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
            fprintf(stderr, "%s: its tables are not those of the catalogue\n", path.c_str());
        } else if (!(std::ofstream(path) << text).flush()) {
            throw std::runtime_error(path + ": cannot be written");
        }
    }
    pages.expectAll();
    return check && !stale.empty() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    const bool check = argc > 1 && strcmp(argv[1], "--check") == 0;
    const std::vector<std::string> paths(argv + (check ? 2 : 1), argv + argc);
    if (paths.empty()) {
        fprintf(stderr, "usage: atom_docs [--check] PAGE...\n");
        return 2;
    }
    try {
        return run(check, paths);
    } catch (const std::runtime_error& error) {
        fprintf(stderr, "atom_docs: %s\n", error.what());
        return 1;
    }
}
