#include "cli/lib/atoms/ShellStream.h"

#include <google/protobuf/unknown_field_set.h>

#include <cstring>

#include "cli/lib/atoms/AtomMessage.h"
#include "proto/zstats_atoms.pb.h"

namespace zstats::cli {
namespace {

using google::protobuf::UnknownFieldSet;

/** Adds a field as its type is encoded. */
struct FieldWriter {
    UnknownFieldSet* out;
    int number;
    void operator()(int32_t value) const { (*this)(static_cast<int64_t>(value)); }
    void operator()(int64_t value) const { out->AddVarint(number, static_cast<uint64_t>(value)); }
    void operator()(bool value) const { out->AddVarint(number, value ? 1 : 0); }
    void operator()(const std::string& value) const { out->AddLengthDelimited(number, value); }
    void operator()(float value) const {
        uint32_t bits;
        memcpy(&bits, &value, sizeof(bits));
        out->AddFixed32(number, bits);
    }
};

}  // namespace

std::string shellFrame(const std::vector<StreamedAtom>& atoms, bool withUids) {
    UnknownFieldSet data;
    for (const StreamedAtom& atom : atoms) {
        UnknownFieldSet fields;
        for (size_t i = 0; i < atom.fields.size(); ++i) {
            std::visit(FieldWriter{&fields, static_cast<int>(i + 1)}, atom.fields[i]);
        }
        UnknownFieldSet message;
        fields.SerializeToString(message.AddLengthDelimited(atom.id));
        message.SerializeToString(data.AddLengthDelimited(1));
        // As statsd does: after its atom and with a tag, although it is declared packed.
        FieldWriter{&data, 2}(atom.timestampNs);
        if (withUids) FieldWriter{&data, 3}(atom.uid);
    }
    std::string message;
    data.SerializeToString(&message);
    const uint64_t size = message.size();
    std::string frame(sizeof(size), '\0');
    memcpy(frame.data(), &size, sizeof(size));
    return frame + message;
}

std::optional<std::vector<StreamedAtom>> parseShellData(std::string_view message) {
    atoms::ShellData data;
    if (!data.ParseFromArray(message.data(), static_cast<int>(message.size()))) return std::nullopt;
    std::vector<StreamedAtom> result;
    for (int i = 0; i < data.atom_size(); ++i) {
        AtomMessage read = readAtomMessage(data.atom(i));
        StreamedAtom atom;
        atom.id = read.id;
        for (auto& field : read.fields) atom.fields.push_back(std::move(field.second));
        if (i < data.elapsed_timestamp_nanos_size()) {
            atom.timestampNs = data.elapsed_timestamp_nanos(i);
        }
        if (i < data.logging_uid_size()) atom.uid = data.logging_uid(i);
        result.push_back(std::move(atom));
    }
    return result;
}

std::optional<std::string> ShellFrameCutter::next() {
    uint64_t size = 0;
    if (mBroken || mPending.size() < sizeof(size)) return std::nullopt;
    memcpy(&size, mPending.data(), sizeof(size));
    mBroken = size > kMaxMessage;
    if (mBroken || mPending.size() - sizeof(size) < size) return std::nullopt;
    std::string message = mPending.substr(sizeof(size), size);
    mPending.erase(0, sizeof(size) + size);
    return message;
}

}  // namespace zstats::cli
