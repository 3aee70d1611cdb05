#pragma once

/*
 * What the platform's own libraries ask of system properties besides <sys/system_properties.h>,
 * with the names and signatures of the platform's C library. Any thread.
 */

#include <sys/system_properties.h>

__BEGIN_DECLS

/** The serial that goes with the property's present value; another value has another. */
uint32_t __system_property_serial(const prop_info* pi);

/** A number that differs after a change of any property. */
uint32_t __system_property_area_serial(void);

__END_DECLS
