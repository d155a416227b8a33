/*
 * What a host may know beyond the datatypes, in C: findings, health, where values came from, and messages as JSON.
 *
 * The library orbis-insight has one exported function, OrbisInsightTable, which returns a table of functions. It observes what the
 * collectors ask of the operating system and sends no request of its own, except where one says so. A host installs it once, before
 * it creates a plug-in object, collects, and ends a pass with endPass; findings, health and explain then tell of that pass.
 *
 * The rules are those of orbis_border.h: nothing C++ crosses, texts are UTF-8 with a length, a structure says its own size and
 * grows at its end only, the version changes only when an older host could not use the table, and the library is never unloaded.
 * Every function may be called on any thread. JSON is that of protocol buffers; its schemas are orbis/insight/findings.proto,
 * health.proto and explanation.proto.
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

/* What a function answers; freed with OrbisInsight.free. */
typedef struct OrbisInsightResult {
    uint32_t structSize;
    int32_t isFailure; /* not 0: `text` says in English what went wrong */
    OrbisText text;    /* JSON, or empty where a function answers nothing */
} OrbisInsightResult;

typedef struct OrbisInsight {
    uint32_t structSize;
    uint32_t version; /* ORBIS_INSIGHT_VERSION */

    /* Begins to observe the machine in force, for the rest of the process. `capacity` bounds what one pass may keep, in bytes; 0 is
     * 64 MiB. Fails when it was called before. A plug-in object that was created earlier is not observed. */
    const OrbisInsightResult*(ORBIS_CALL* install)(size_t capacity);
    /* Ends a pass: what was observed since the last call is what the functions below tell of. Call it after each pass; a pass that
     * is never ended fills the journal, which is a finding. */
    const OrbisInsightResult*(ORBIS_CALL* endPass)(void);
    /* A FindingsReport: all that holds after the pass. An entry with isNew is to be reported; the others were before. */
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

    /* Leaves the disk with this drive number out of every collection from now on (`isHidden` not 0), or shows it again: the
     * collectors see a machine without it and send it no request. For a disk that is late or asleep. */
    const OrbisInsightResult*(ORBIS_CALL* hideDisk)(uint32_t number, int32_t isHidden);
    /* A WaitsReport: what the collections wait for at this moment, and for how long. To be called on another thread than theirs. */
    const OrbisInsightResult*(ORBIS_CALL* waits)(void);

    /* A SleepReport. Asks every disk for its power state in a way that wakes none, and leaves those that are asleep out of the
     * collections until the next call, which also shows those again that woke up. To be called before each pass that is to wake no
     * disk; the only function here that sends a request of its own. */
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
