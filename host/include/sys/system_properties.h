#pragma once

/*
 * System properties, with the names and signatures of the platform's C library.
 *
 * In the virtual device they are read from init's shared memory and written through its socket. In
 * other processes on a PC they are local to the process. Any thread; reading takes no lock.
 */

#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>
#include <time.h>

__BEGIN_DECLS

typedef struct prop_info prop_info;

/** Size of a value with its NUL. */
#define PROP_VALUE_MAX 92
/** For old callers; names may be longer. */
#define PROP_NAME_MAX 32

/** The property's entry, null if it does not exist. Entries are valid as long as the process. */
const prop_info* __system_property_find(const char* name);

/** Calls `callback` once with the name and a consistent copy of the value. */
void __system_property_read_callback(const prop_info* pi,
                                     void (*callback)(void* cookie, const char* name,
                                                      const char* value, uint32_t serial),
                                     void* cookie);

/** Calls `callback` for each property, in no particular order. Returns 0. */
int __system_property_foreach(void (*callback)(const prop_info* pi, void* cookie), void* cookie);

/**
 * Waits until the serial of the property, or the global serial if `pi` is null, differs from
 * `old_serial`, and stores it. False after `relative_timeout`; null means no time limit.
 */
bool __system_property_wait(const prop_info* pi, uint32_t old_serial, uint32_t* new_serial_ptr,
                            const struct timespec* relative_timeout);

/** Copies the value to `value` (PROP_VALUE_MAX bytes). Returns its length, 0 if it is absent. */
int __system_property_get(const char* name, char* value);

/** Returns 0, or -1 when init or the store refused; the reason is logged. */
int __system_property_set(const char* name, const char* value);

__END_DECLS
