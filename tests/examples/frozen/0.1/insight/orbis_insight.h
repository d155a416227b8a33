/* orbis_insight.h of release 0.1, without its comments. Never changed: hosts built from it must run with every later library. */
#ifndef ORBIS_INSIGHT_H
#define ORBIS_INSIGHT_H

#include "HostBorder/orbis_border.h"

#ifdef __cplusplus
extern "C" {
#endif

#define ORBIS_INSIGHT_VERSION 1u

typedef struct OrbisInsightResult {
    uint32_t structSize;
    int32_t isFailure;
    OrbisText text;
} OrbisInsightResult;

typedef struct OrbisInsight {
    uint32_t structSize;
    uint32_t version;

    const OrbisInsightResult*(ORBIS_CALL* install)(size_t capacity);

    const OrbisInsightResult*(ORBIS_CALL* endPass)(void);

    const OrbisInsightResult*(ORBIS_CALL* findings)(void);

    const OrbisInsightResult*(ORBIS_CALL* health)(void);

    const OrbisInsightResult*(ORBIS_CALL* explain)(const OrbisText* datatype, const OrbisText* message, const OrbisText* itemId);

    const OrbisInsightResult*(ORBIS_CALL* messageJson)(const OrbisText* datatype, const OrbisText* message);

    void(ORBIS_CALL* free)(const OrbisInsightResult* result);
} OrbisInsight;

typedef const OrbisInsight*(ORBIS_CALL* OrbisInsightTableFunction)(void);
#define ORBIS_INSIGHT_TABLE_NAME "OrbisInsightTable"
ORBIS_EXPORT const OrbisInsight* ORBIS_CALL OrbisInsightTable(void);

#ifdef __cplusplus
}
#endif

#endif
