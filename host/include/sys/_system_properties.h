#pragma once

/*
 * Functions of system properties for the platform's libraries, besides <sys/system_properties.h>,
 * with the names and signatures of the platform's C library. Any thread.
 */

#include <sys/system_properties.h>

/** The socket of the property service below /dev/socket, its requests and its answers. */
#define PROP_SERVICE_NAME "property_service"
#define PROP_MSG_SETPROP 1
#define PROP_MSG_SETPROP2 0x00020001
#define PROP_SUCCESS 0
#define PROP_ERROR_READ_CMD 0x0004
#define PROP_ERROR_READ_DATA 0x0008
#define PROP_ERROR_READ_ONLY_PROPERTY 0x000B
#define PROP_ERROR_INVALID_NAME 0x0010
#define PROP_ERROR_INVALID_VALUE 0x0014
#define PROP_ERROR_PERMISSION_DENIED 0x0018
#define PROP_ERROR_INVALID_CMD 0x001B
#define PROP_ERROR_HANDLE_CONTROL_MESSAGE 0x0020
#define PROP_ERROR_SET_FAILED 0x0024

__BEGIN_DECLS

/** Creates the properties of all processes. Once, in init. Returns 0, or -1 with errno. */
int __system_property_area_init(void);

/** Adds a property; only in init. Returns 0, or -1 when it does not fit. */
int __system_property_add(const char* name, unsigned int namelen, const char* value,
                          unsigned int valuelen);

/** Changes a property; only in init. Returns 0, or -1 when the value does not fit. */
int __system_property_update(prop_info* pi, const char* value, unsigned int len);

/** The serial of the property's present value; it differs after a change. */
uint32_t __system_property_serial(const prop_info* pi);

/** A number that differs after a change of any property. */
uint32_t __system_property_area_serial(void);

__END_DECLS
