#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

typedef struct prop_info prop_info;
#define PROP_VALUE_MAX 92
#define PROP_NAME_MAX 32

const prop_info* __system_property_find(const char* name);
void __system_property_read_callback(const prop_info* pi,
                                     void (*callback)(void* cookie, const char* name,
                                                      const char* value, uint32_t serial),
                                     void* cookie);
int __system_property_set(const char* name, const char* value);
int __system_property_get(const char* name, char* value)
        __attribute__((deprecated("use __system_property_read_callback")));

__END_DECLS
