#pragma once

/*
 * Stats events, with the names and signatures of the platform's socket library. Lists, byte arrays,
 * attribution chains and annotations, which the daemon does not write, are left out.
 *
 * An event is used by one thread at a time. No function takes a null event. Byte layout of an
 * event: one object byte, the number of elements, the time stamp, the atom id, then the fields, all
 * in machine byte order without padding.
 */

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

struct AStatsEvent;
typedef struct AStatsEvent AStatsEvent;

/** A new event with the time since boot. Release it with AStatsEvent_release. */
AStatsEvent* AStatsEvent_obtain(void);

/**
 * Completes the event: stores the number of elements or, after an error, replaces the fields by one
 * error field. Further calls are ignored.
 */
void AStatsEvent_build(AStatsEvent* event);

/**
 * Builds the event with the limit of a pushed one and sends it to the stats socket.
 * Returns the number of bytes sent (the event and its 4-byte tag), or a negative errno.
 */
int AStatsEvent_write(AStatsEvent* event);

void AStatsEvent_release(AStatsEvent* event);

/** Must precede all fields. Further calls are ignored. */
void AStatsEvent_setAtomId(AStatsEvent* event, uint32_t atomId);

void AStatsEvent_writeInt32(AStatsEvent* event, int32_t value);
void AStatsEvent_writeInt64(AStatsEvent* event, int64_t value);
void AStatsEvent_writeFloat(AStatsEvent* event, float value);
void AStatsEvent_writeBool(AStatsEvent* event, bool value);
/** A null `value` is written as the empty string. */
void AStatsEvent_writeString(AStatsEvent* event, const char* value);

/** The encoded bytes, built or not; valid until the event is changed or released. */
uint8_t* AStatsEvent_getBuffer(AStatsEvent* event, size_t* size);

__END_DECLS
