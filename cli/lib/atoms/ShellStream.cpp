#include "cli/lib/atoms/ShellStream.h"

#include <cstring>

#include "cli/lib/atoms/AtomMessage.h"
#include "proto/zstats_atoms.pb.h"

namespace zstats::cli {
namespace {

enum WireType : uint32_t { kVarint = 0, kLengthDelimited = 2, kFixed32 = 5 };

void putVarint(std::string* out, uint64_t value) {
    for (; value >= 0x80; value >>= 7) *out += static_cast<char>(value | 0x80);
    *out += static_cast<char>(value);
}

void putTag(std::string* out, uint32_t field, WireType type) {
    putVarint(out, static_cast<uint64_t>(field) << 3 | type);
}

void putBytes(std::string* out, uint32_t field, std::string_view bytes) {
    putTag(out, field, kLengthDelimited);
    putVarint(out, bytes.size());
    *out += bytes;
}

void putNumber(std::string* out, uint32_t field, int64_t number) {
    putTag(out, field, kVarint);
    putVarint(out, static_cast<uint64_t>(number));
}

void putField(std::string* out, uint32_t field, const AtomValue& value) {
    struct Writer {
        std::string* out;
        uint32_t field;
        void operator()(int32_t number) const { putNumber(out, field, number); }
        void operator()(int64_t number) const { putNumber(out, field, number); }
        void operator()(bool truth) const { putNumber(out, field, truth ? 1 : 0); }
        void operator()(const std::string& text) const { putBytes(out, field, text); }
        void operator()(float number) const {
            putTag(out, field, kFixed32);
            char bytes[sizeof(number)];
            memcpy(bytes, &number, sizeof(number));
            out->append(bytes, sizeof(bytes));
        }
    };
    std::visit(Writer{out, field}, value);
}

std::string atomMessage(const StreamedAtom& atom) {
    std::string fields;
    for (size_t i = 0; i < atom.fields.size(); ++i) {
        putField(&fields, static_cast<uint32_t>(i + 1), atom.fields[i]);
    }
    std::string message;
    putBytes(&message, static_cast<uint32_t>(atom.id), fields);
    return message;
}

}  // namespace

std::string shellFrame(const std::vector<StreamedAtom>& atoms, bool withUids) {
    std::string message;
    for (const StreamedAtom& atom : atoms) {
        putBytes(&message, 1, atomMessage(atom));
        // As statsd does: after its atom and with a tag, although it is declared packed.
        putNumber(&message, 2, atom.timestampNs);
        if (withUids) putNumber(&message, 3, atom.uid);
    }
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
