#pragma once

/*
 * System properties, with the names and signatures of the platform's C library.
 *
 * On the virtual device they are read from init's shared memory and written through its socket; in
 * a process on a PC they live in that process. Any thread; reading takes no lock.
 */

#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

typedef struct prop_info prop_info;

/** Room for a value and its NUL. */
#define PROP_VALUE_MAX 92
/** Kept for old callers; names may be longer. */
#define PROP_NAME_MAX 32

/** The property's entry, null if it does not exist. Entries live as long as the process. */
const prop_info* __system_property_find(const char* name);

/** Calls `callback` once with the name and a consistent copy of the value. */
void __system_property_read_callback(const prop_info* pi,
                                     void (*callback)(void* cookie, const char* name,
                                                      const char* value, uint32_t serial),
                                     void* cookie);

/** Copies the value to `value` (PROP_VALUE_MAX bytes). Returns its length, 0 if it is absent. */
int __system_property_get(const char* name, char* value);

/** Returns 0, or -1 when init or the store refused; the reason is logged. */
int __system_property_set(const char* name, const char* value);

__END_DECLS
