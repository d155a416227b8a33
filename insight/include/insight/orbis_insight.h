/*
 * What a host can learn beyond the datatypes, in C: findings, health, where values came from, and messages as JSON.
 *
 * The library orbis-insight has one exported function, OrbisInsightTable, which returns a table of functions. It observes the
 * requests of the collectors to the operating system and sends none of its own, except where a function says so. A host installs it
 * once, before it creates a plug-in object, collects, and ends each pass with endPass; findings, health and explain then report on
 * that pass.
 *
 * The rules are those of orbis_border.h: no C++ types cross the border, texts are UTF-8 with a length, a structure states its own
 * size and grows only at its end, the version changes only when an older host could not use the table, and the library is never
 * unloaded. Every function may be called on any thread. JSON is that of protocol buffers; its schemas are
 * orbis/insight/findings.proto, health.proto and explanation.proto.
 */
/* NOLINTBEGIN(modernize-*): this is C. */
#ifndef ORBIS_INSIGHT_H
#define ORBIS_INSIGHT_H

#include "HostBorder/orbis_border.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Version of the table that this header describes. */
#define ORBIS_INSIGHT_VERSION 1u
/* This header has hideDisk and waits, and skipSleepingDisks. */
#define ORBIS_INSIGHT_HAS_WAITS 1
#define ORBIS_INSIGHT_HAS_SLEEP 1

/* The result of a function; freed with OrbisInsight.free. */
typedef struct OrbisInsightResult {
    uint32_t structSize;
    int32_t isFailure; /* not 0: `text` is an error message in English */
    OrbisText text;    /* JSON, or empty for a function without an answer */
} OrbisInsightResult;

typedef struct OrbisInsight {
    uint32_t structSize;
    uint32_t version; /* ORBIS_INSIGHT_VERSION */

    /* Starts to observe the current machine, for the rest of the process. `capacity` limits what is kept of one pass, in bytes; 0
     * is 64 MiB. Fails when it was called before. A plug-in object that was created earlier is not observed. */
    const OrbisInsightResult*(ORBIS_CALL* install)(size_t capacity);
    /* Ends a pass: the functions below report on the calls since the last endPass. Call it after each pass; a pass that is never
     * ended fills the journal, which is a finding. */
    const OrbisInsightResult*(ORBIS_CALL* endPass)(void);
    /* A FindingsReport: all findings that hold after the pass. Entries with isNew were not in the report of the pass before. */
    const OrbisInsightResult*(ORBIS_CALL* findings)(void);
    /* A HealthReport of the disks that the pass read. */
    const OrbisInsightResult*(ORBIS_CALL* health)(void);
    /* A MessageExplanation of a message that was collected in the pass: its datatype by full name, the serialised message, its item
     * id. */
    const OrbisInsightResult*(ORBIS_CALL* explain)(const OrbisText* datatype, const OrbisText* message, const OrbisText* itemId);
    /* Any message of orbis/datatypes, by its full name and serialised, in protobuf's canonical JSON. Needs no install. */
    const OrbisInsightResult*(ORBIS_CALL* messageJson)(const OrbisText* datatype, const OrbisText* message);
    /* Frees a result; null is ignored. */
    void(ORBIS_CALL* free)(const OrbisInsightResult* result);

    /* The table of release 0.1 ends here: check structSize before using what follows. */

    /* Leaves the disk with this drive number out of every collection from now on (`isHidden` not 0), or includes it again: the
     * collectors see a machine without it and send it no requests. For a disk that is late or asleep. */
    const OrbisInsightResult*(ORBIS_CALL* hideDisk)(uint32_t number, int32_t isHidden);
    /* A WaitsReport: what the collections wait for at this moment, and for how long. To be called on another thread than theirs. */
    const OrbisInsightResult*(ORBIS_CALL* waits)(void);

    /* A SleepReport. Asks every disk for its power state in a way that wakes none, and leaves sleeping disks out of the collections
     * until the next call, which includes those that woke up again. To be called before each pass that must not wake disks; the
     * only function here that sends requests of its own. */
    const OrbisInsightResult*(ORBIS_CALL* skipSleepingDisks)(void);
} OrbisInsight;

/* The one function that the library exports, under this name. Never fails and never returns null. */
typedef const OrbisInsight*(ORBIS_CALL* OrbisInsightTableFunction)(void);
#define ORBIS_INSIGHT_TABLE_NAME "OrbisInsightTable"
ORBIS_EXPORT const OrbisInsight* ORBIS_CALL OrbisInsightTable(void);

#ifdef __cplusplus
}
#endif

#endif
/* NOLINTEND(modernize-*) */
