#include "vdevice/lib/atoms/ShellStream.h"

#include <google/protobuf/unknown_field_set.h>

#include <cstring>

#include "proto/zstats_atoms.pb.h"

namespace zstats::vdevice {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;

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

AtomValue catalogueValue(const Message& message, const FieldDescriptor& field) {
    const Reflection& reflection = *message.GetReflection();
    switch (field.cpp_type()) {
        case FieldDescriptor::CPPTYPE_INT32:
            return reflection.GetInt32(message, &field);
        case FieldDescriptor::CPPTYPE_INT64:
            return reflection.GetInt64(message, &field);
        case FieldDescriptor::CPPTYPE_FLOAT:
            return reflection.GetFloat(message, &field);
        case FieldDescriptor::CPPTYPE_BOOL:
            return reflection.GetBool(message, &field);
        default:
            return reflection.GetString(message, &field);
    }
}

/** A field that the catalogue lacks: its type is guessed from its wire type. */
void appendUnknown(const UnknownFieldSet& unknown, std::vector<AtomValue>* fields) {
    for (int i = 0; i < unknown.field_count(); ++i) {
        const UnknownField& field = unknown.field(i);
        if (field.type() == UnknownField::TYPE_VARINT) {
            fields->emplace_back(static_cast<int64_t>(field.varint()));
        } else if (field.type() == UnknownField::TYPE_FIXED32) {
            const uint32_t bits = field.fixed32();
            float number;
            memcpy(&number, &bits, sizeof(number));
            fields->emplace_back(number);
        } else if (field.type() == UnknownField::TYPE_LENGTH_DELIMITED) {
            fields->emplace_back(field.length_delimited());
        }
    }
}

StreamedAtom unknownAtom(const UnknownFieldSet& unknown) {
    StreamedAtom atom;
    if (unknown.field_count() == 0) return atom;
    const UnknownField& entry = unknown.field(0);
    atom.id = entry.number();
    UnknownFieldSet fields;
    if (entry.type() == UnknownField::TYPE_LENGTH_DELIMITED &&
        fields.ParseFromString(entry.length_delimited())) {
        appendUnknown(fields, &atom.fields);
    }
    return atom;
}

StreamedAtom catalogueAtom(const atoms::Atom& message) {
    std::vector<const FieldDescriptor*> set;
    message.GetReflection()->ListFields(message, &set);
    if (set.empty()) return unknownAtom(message.GetReflection()->GetUnknownFields(message));

    StreamedAtom atom;
    atom.id = set.front()->number();
    const Message& fields = message.GetReflection()->GetMessage(message, set.front());
    fields.GetReflection()->ListFields(fields, &set);
    for (const FieldDescriptor* field : set) atom.fields.push_back(catalogueValue(fields, *field));
    appendUnknown(fields.GetReflection()->GetUnknownFields(fields), &atom.fields);
    return atom;
}

}  // namespace

std::string shellFrame(const std::vector<StreamedAtom>& atoms, bool withUids) {
    std::string message;
    for (const StreamedAtom& atom : atoms) putBytes(&message, 1, atomMessage(atom));
    // As statsd does: a tag for each value, though the declaration says packed.
    for (const StreamedAtom& atom : atoms) putNumber(&message, 2, atom.timestampNs);
    if (withUids) {
        for (const StreamedAtom& atom : atoms) putNumber(&message, 3, atom.uid);
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
        StreamedAtom atom = catalogueAtom(data.atom(i));
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

}  // namespace zstats::vdevice
