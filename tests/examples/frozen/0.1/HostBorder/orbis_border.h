/* orbis_border.h of release 0.1, without its comments. Never changed: hosts built from it must run with every later plug-in. */
#ifndef ORBIS_BORDER_H
#define ORBIS_BORDER_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define ORBIS_CALL __cdecl
#define ORBIS_EXPORT __declspec(dllexport)
#else
#define ORBIS_CALL
#define ORBIS_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define ORBIS_BORDER_VERSION 1u

typedef struct OrbisText {
    const char* data;
    size_t length;
} OrbisText;

enum { ORBIS_LOG_ERROR = 1, ORBIS_LOG_WARNING = 2, ORBIS_LOG_DEBUG = 3, ORBIS_LOG_TRACE = 4 };

typedef struct OrbisLogLine {
    uint32_t structSize;
    int32_t level;
    OrbisText logId;
    OrbisText message;
    OrbisText file;
    OrbisText function;
    int32_t line;
} OrbisLogLine;

typedef struct OrbisHost {
    uint32_t structSize;

    void(ORBIS_CALL* log)(void* logContext, const OrbisLogLine* line);
    void* logContext;
} OrbisHost;

typedef struct OrbisCancellation {
    uint32_t structSize;

    int32_t(ORBIS_CALL* isCancellationRequested)(void* context);
    void* context;
} OrbisCancellation;

enum {
    ORBIS_FAILURE_OTHER = 1,
    ORBIS_FAILURE_ZEL = 2,
    ORBIS_FAILURE_NOT_SUPPORTED = 3,
    ORBIS_FAILURE_CANCELED = 4,
    ORBIS_FAILURE_NULL_REFERENCE = 5,
    ORBIS_FAILURE_ARGUMENT = 6,
    ORBIS_FAILURE_ARGUMENT_OUT_OF_RANGE = 7,
    ORBIS_FAILURE_NATIVE = 8,
    ORBIS_FAILURE_UNKNOWN = 9,
    ORBIS_FAILURE_OUT_OF_MEMORY = 10,
    ORBIS_FAILURE_INVALID_CALL = 11
};

typedef struct OrbisFailure {
    uint32_t structSize;
    int32_t kind;
    OrbisText typeName;
    OrbisText message;
    const struct OrbisFailure* inner;
} OrbisFailure;

typedef struct OrbisItem {
    int32_t hasMessage;
    OrbisText itemId;
    int64_t collectionTime;
    OrbisText message;
} OrbisItem;

typedef struct OrbisResult {
    uint32_t structSize;
    int32_t hasList;
    const OrbisFailure* failure;
    const OrbisItem* items;
    size_t itemCount;
    size_t itemSize;
} OrbisResult;

typedef struct OrbisOperation {
    OrbisText name;
    OrbisText datatype;
    OrbisText description;
} OrbisOperation;

typedef struct OrbisPlugin OrbisPlugin;

typedef struct OrbisRegistration {
    uint32_t structSize;
    uint32_t version;
    OrbisText id;
    OrbisText name;
    OrbisText description;
    OrbisText logId;

    const OrbisOperation* operations;
    size_t operationCount;
    size_t operationSize;

    const OrbisResult*(ORBIS_CALL* create)(const OrbisHost* host, OrbisPlugin** plugin);

    const OrbisResult*(ORBIS_CALL* collect)(OrbisPlugin* plugin, size_t operation, const OrbisText* itemId,
                                            const OrbisCancellation* cancellation);

    void(ORBIS_CALL* free)(const OrbisResult* result);

    void(ORBIS_CALL* destroy)(OrbisPlugin* plugin);
} OrbisRegistration;

typedef const OrbisRegistration*(ORBIS_CALL* OrbisPluginRegistrationFunction)(void);
#define ORBIS_PLUGIN_REGISTRATION_NAME "OrbisPluginRegistration"
ORBIS_EXPORT const OrbisRegistration* ORBIS_CALL OrbisPluginRegistration(void);

#ifdef __cplusplus
}
#endif

#endif
