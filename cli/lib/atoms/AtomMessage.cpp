#include "cli/lib/atoms/AtomMessage.h"

#include <google/protobuf/unknown_field_set.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <vector>

#include "proto/zstats_atoms.pb.h"

namespace zstats::cli {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::UnknownField;

AtomValue knownValue(const Message& message, const FieldDescriptor& field) {
    const google::protobuf::Reflection& reflection = *message.GetReflection();
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

/** A field that the catalogue lacks, or a string that statsd hashed into a number. */
AtomValue unknownValue(const UnknownField& unknown, const FieldDescriptor* field) {
    switch (unknown.type()) {
        case UnknownField::TYPE_VARINT:
            if (field != nullptr) return hashedString(unknown.varint());
            return static_cast<int64_t>(unknown.varint());
        case UnknownField::TYPE_FIXED32: {
            const uint32_t bits = unknown.fixed32();
            float number;
            memcpy(&number, &bits, sizeof(number));
            return number;
        }
        case UnknownField::TYPE_FIXED64:
            return static_cast<int64_t>(unknown.fixed64());
        case UnknownField::TYPE_LENGTH_DELIMITED:
            return unknown.length_delimited();
        default:
            return std::string();
    }
}

void addFields(const Message& message, std::multimap<int, AtomValue>* fields) {
    std::vector<const FieldDescriptor*> set;
    const google::protobuf::Reflection& reflection = *message.GetReflection();
    reflection.ListFields(message, &set);
    for (const FieldDescriptor* field : set) {
        fields->emplace(field->number(), knownValue(message, *field));
    }
    const auto& unknown = reflection.GetUnknownFields(message);
    for (int i = 0; i < unknown.field_count(); ++i) {
        const int number = unknown.field(i).number();
        fields->emplace(number, unknownValue(unknown.field(i),
                                             message.GetDescriptor()->FindFieldByNumber(number)));
    }
}

}  // namespace

std::string hashedString(uint64_t hash) {
    char text[32];
    snprintf(text, sizeof(text), "hash:%016" PRIx64, hash);
    return text;
}

AtomMessage readAtomMessage(const atoms::Atom& atom) {
    AtomMessage event;
    std::vector<const FieldDescriptor*> set;
    const google::protobuf::Reflection& reflection = *atom.GetReflection();
    reflection.ListFields(atom, &set);
    if (!set.empty()) {
        event.id = set.front()->number();
        addFields(reflection.GetMessage(atom, set.front()), &event.fields);
        return event;
    }
    const auto& unknown = reflection.GetUnknownFields(atom);
    google::protobuf::UnknownFieldSet fields;
    if (unknown.field_count() == 0) return event;
    event.id = unknown.field(0).number();
    if (unknown.field(0).type() == UnknownField::TYPE_LENGTH_DELIMITED &&
        fields.ParseFromString(unknown.field(0).length_delimited())) {
        for (int i = 0; i < fields.field_count(); ++i) {
            event.fields.emplace(fields.field(i).number(), unknownValue(fields.field(i), nullptr));
        }
    }
    return event;
}

}  // namespace zstats::cli
