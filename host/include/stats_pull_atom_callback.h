#pragma once

/*
 * Registration of pulled atoms with statsd, with the names and signatures of the platform's pull
 * library. Metadata that the daemon only sets cannot be asked for. Every function may be called
 * from any thread.
 */

#include <stats_event.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

struct AStatsManager_PullAtomMetadata;
typedef struct AStatsManager_PullAtomMetadata AStatsManager_PullAtomMetadata;

/** New metadata: cool-down 1000 ms, time-out 1500 ms, no additive fields. */
AStatsManager_PullAtomMetadata* AStatsManager_PullAtomMetadata_obtain(void);
void AStatsManager_PullAtomMetadata_release(AStatsManager_PullAtomMetadata* metadata);

/* Milliseconds. Values are stored as they come; statsd applies its own bounds. */
void AStatsManager_PullAtomMetadata_setCoolDownMillis(AStatsManager_PullAtomMetadata* metadata,
                                                      int64_t cool_down_millis);
void AStatsManager_PullAtomMetadata_setTimeoutMillis(AStatsManager_PullAtomMetadata* metadata,
                                                     int64_t timeout_millis);

/** Copies `num_fields` field numbers; a null array with 0 is the empty list. */
void AStatsManager_PullAtomMetadata_setAdditiveFields(AStatsManager_PullAtomMetadata* metadata,
                                                      int32_t* additive_fields, int32_t num_fields);

typedef int32_t AStatsManager_PullAtomCallbackReturn;
enum {
    AStatsManager_PULL_SUCCESS = 0,
    AStatsManager_PULL_SKIP = 1,
};

struct AStatsEventList;
typedef struct AStatsEventList AStatsEventList;

/** Appends a new event to the list, which owns it: the caller must not release it. */
AStatsEvent* AStatsEventList_addStatsEvent(AStatsEventList* pull_data);

/** Fills `data` with the atom's events. Runs on a binder thread. */
typedef AStatsManager_PullAtomCallbackReturn (*AStatsManager_PullAtomCallback)(int32_t atom_tag,
                                                                               AStatsEventList* data,
                                                                               void* cookie);

/**
 * Registers `callback` for an atom and replaces an earlier one. Returns at once: a thread of the
 * library makes the registration, and repeats it when statsd returns. `metadata` is copied and may
 * be null for the defaults; `cookie` is not owned.
 */
void AStatsManager_setPullAtomCallback(int32_t atom_tag, AStatsManager_PullAtomMetadata* metadata,
                                       AStatsManager_PullAtomCallback callback, void* cookie);

/** Ends the atom's registration. Returns at once. */
void AStatsManager_clearPullAtomCallback(int32_t atom_tag);

__END_DECLS
