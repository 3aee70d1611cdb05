#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace zstats {

using KeyValueMap = std::map<std::string, std::string>;

/**
 * Nodes of the handle factory, for atom handlers: the log lines name the callback object and its
 * members, which forward to these functions. Stateless; any thread.
 */
namespace nodes {

/** Text of the node of a handle-factory key, empty on any failure. */
std::string readText(const std::string& key);

/** The node's text as atoi reads it; -1 when it is empty or the service is absent. */
int32_t readNumber(const std::string& key);

/**
 * Map of the "key: value" lines of a node's text; the last of equal keys wins. Throws
 * std::out_of_range at a line that has only blanks after its colon.
 */
KeyValueMap parseKeyValueFromContent(const std::string& content);

/** The key's value as atoi reads it; -1, with an error line, when the key is absent. */
int32_t getValueByKey(const KeyValueMap& map, const std::string& key);

}  // namespace nodes
}  // namespace zstats
