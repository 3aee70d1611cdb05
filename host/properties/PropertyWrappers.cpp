#include <android-base/parsebool.h>
#include <android-base/parseint.h>
#include <android-base/properties.h>
#include <cutils/properties.h>
#include <errno.h>
#include <inttypes.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "host/properties/PropertyStore.h"

// The property functions of two platform libraries, over the one store. Debian's libbase has the
// second set as well, but over a map of its own; the definitions here come first at link time.

int property_get(const char* key, char* value, const char* default_value) {
    const int length = __system_property_get(key, value);
    if (length > 0 || default_value == nullptr) return length;
    const size_t size = std::min<size_t>(strlen(default_value), PROPERTY_VALUE_MAX - 1);
    memcpy(value, default_value, size);
    value[size] = '\0';
    return static_cast<int>(size);
}

int property_set(const char* key, const char* value) {
    return __system_property_set(key, value);
}

int8_t property_get_bool(const char* key, int8_t default_value) {
    if (key == nullptr) return default_value;
    return android::base::GetBoolProperty(key, default_value != 0) ? 1 : 0;
}

int64_t property_get_int64(const char* key, int64_t default_value) {
    char value[PROPERTY_VALUE_MAX];
    if (key == nullptr || property_get(key, value, "") == 0) return default_value;
    char* end = nullptr;
    errno = 0;
    const intmax_t number = strtoimax(value, &end, 0);
    return errno == ERANGE || end == value ? default_value : number;
}

int32_t property_get_int32(const char* key, int32_t default_value) {
    const int64_t number = property_get_int64(key, default_value);
    const bool fits = number >= std::numeric_limits<int32_t>::min() &&
                      number <= std::numeric_limits<int32_t>::max();
    return fits ? static_cast<int32_t>(number) : default_value;
}

namespace android::base {

std::string GetProperty(const std::string& key, const std::string& default_value) {
    char value[PROP_VALUE_MAX];
    return __system_property_get(key.c_str(), value) > 0 ? value : default_value;
}

bool GetBoolProperty(const std::string& key, bool default_value) {
    switch (ParseBool(GetProperty(key, ""))) {
        case ParseBoolResult::kTrue:
            return true;
        case ParseBoolResult::kFalse:
            return false;
        default:
            return default_value;
    }
}

bool SetProperty(const std::string& key, const std::string& value) {
    return __system_property_set(key.c_str(), value.c_str()) == 0;
}

template <typename T>
T GetIntProperty(const std::string& key, T default_value, T min, T max) {
    T number;
    return ParseInt(GetProperty(key, ""), &number, min, max) ? number : default_value;
}

template <typename T>
T GetUintProperty(const std::string& key, T default_value, T max) {
    T number;
    return ParseUint(GetProperty(key, ""), &number, max) ? number : default_value;
}

template int8_t GetIntProperty(const std::string&, int8_t, int8_t, int8_t);
template int16_t GetIntProperty(const std::string&, int16_t, int16_t, int16_t);
template int32_t GetIntProperty(const std::string&, int32_t, int32_t, int32_t);
template int64_t GetIntProperty(const std::string&, int64_t, int64_t, int64_t);
template uint8_t GetUintProperty(const std::string&, uint8_t, uint8_t);
template uint16_t GetUintProperty(const std::string&, uint16_t, uint16_t);
template uint32_t GetUintProperty(const std::string&, uint32_t, uint32_t);
template uint64_t GetUintProperty(const std::string&, uint64_t, uint64_t);

}  // namespace android::base
