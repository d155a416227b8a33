/*
 * The border between a collector plug-in and its host, in C.
 *
 * A plug-in is a library with one exported function, OrbisPluginRegistration, which returns a table: the plug-in's name and id, its
 * datatypes, and functions to create a plug-in object, to collect with it and to destroy it. Messages cross the border as
 * serialised protocol buffers; their schema is the .proto files of orbis/datatypes.
 *
 * Rules for both sides:
 * - Nothing else crosses: no C++ object, no exception, no allocator. Memory is freed by the side that allocated it. A host's
 * arguments are read only during the call, except the functions and the context of OrbisHost, which are used until the object is
 * destroyed.
 * - Texts are UTF-8, given as pointer and length. They may contain zero bytes and need not end with one.
 * - A structure that begins with structSize states its own size there, in bytes, and grows only at its end. Read nothing beyond
 * that size. Arrays state the size of one element: step by it, not by sizeof.
 * - The table's version changes only when an older host could not use the table. Refuse a version that you do not know.
 * - A library that registered a plug-in is never unloaded.
 * - A plug-in object may be used on several threads at the same time, each with a different operation. A host must not run the same
 * operation of an object twice at the same time, nor destroy the object while another function uses it. The host's functions are
 * called on the thread that creates or collects, before that call returns.
 *
 * Threads and time, for hosts of a plug-in that reads disks:
 * - Collect on a thread that may block. A device that hangs blocks its thread: each ATA or SCSI request ends after 60 seconds, a
 * maker's log of an NVMe drive after 10, and one disk can cost up to 11 requests of 60 seconds. Other device requests end when the
 * driver gives up, and for a WMI provider there is no limit. A collection cannot be interrupted: cancellation is checked once,
 * before it begins.
 * - Windows: create, collect and destroy on threads that are in COM's multi-threaded apartment, or in none, and keep one thread in
 * that apartment (CoInitializeEx with COINIT_MULTITHREADED) from before create until after destroy. Never use a thread in a
 * single-threaded apartment, such as one with windows: the plug-in uninitialises COM after each query, even if its own
 * initialisation was refused, and would end that thread's apartment.
 * - Windows: a process sets its COM security once. A host that needs certain settings calls CoInitializeSecurity before create;
 * otherwise the first query sets default authentication and impersonation for the whole process.
 *
 * How one disk can affect the others:
 * - Two disks that the inventory (Win32_DiskDrive) does not list share the item id "Disk_". Two disks with one id end three
 * datatypes with a failure, PhysicalDiskStaticInfo, SmartStaticInfo and SmartDynamicInfo, and both NVMe datatypes if the two are
 * NVMe drives.
 * - A drive letter that cannot be opened, or that is not a partition of a disk (a network drive, an optical drive without a disc),
 * ends PhysicalDiskStaticInfo with a failure and leaves PhysicalDiskDynamicInfo empty; the log names the request that failed.
 */
/* NOLINTBEGIN(modernize-*): this is C. */
#ifndef ORBIS_BORDER_H
#define ORBIS_BORDER_H

#include <stddef.h>
#include <stdint.h>

/* The calling convention of every function here, and the mark of the one that a plug-in exports. */
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

/* Version of the table that this header describes. */
#define ORBIS_BORDER_VERSION 1u

/* A text, or the bytes of a message. An empty one may have a null pointer. */
typedef struct OrbisText {
    const char* data;
    size_t length;
} OrbisText;

/* ---- Log ---- */

/* Levels of a log line. */
enum { ORBIS_LOG_ERROR = 1, ORBIS_LOG_WARNING = 2, ORBIS_LOG_DEBUG = 3, ORBIS_LOG_TRACE = 4 };

/* One log line; valid during the call that hands it over. */
typedef struct OrbisLogLine {
    uint32_t structSize;
    int32_t level;      /* one of ORBIS_LOG_ */
    OrbisText logId;    /* as in OrbisRegistration */
    OrbisText message;  /* to be printed as it is: never a format */
    OrbisText file;     /* source path below the source root, without extension */
    OrbisText function; /* fully qualified name */
    int32_t line;
} OrbisLogLine;

/* The host's functions for a plug-in object. */
typedef struct OrbisHost {
    uint32_t structSize;
    /* Called for every log line; null drops them. */
    void(ORBIS_CALL* log)(void* logContext, const OrbisLogLine* line);
    void* logContext;
} OrbisHost;

/* Asks the host whether a request was cancelled. */
typedef struct OrbisCancellation {
    uint32_t structSize;
    /* Returns 0 to continue, any other value to cancel. */
    int32_t(ORBIS_CALL* isCancellationRequested)(void* context);
    void* context;
} OrbisCancellation;

/* ---- Results ---- */

/* Kind of a failure. A host treats a value that it does not know as ORBIS_FAILURE_OTHER. */
enum {
    ORBIS_FAILURE_OTHER = 1,                 /* a host exception that is none of the kinds below */
    ORBIS_FAILURE_ZEL = 2,                   /* ZelException: how a failed collection ends */
    ORBIS_FAILURE_NOT_SUPPORTED = 3,         /* NotSupportedException */
    ORBIS_FAILURE_CANCELED = 4,              /* OperationCanceledException: the host cancelled before the collection began */
    ORBIS_FAILURE_NULL_REFERENCE = 5,        /* NullReferenceException: the object has no retriever for this datatype */
    ORBIS_FAILURE_ARGUMENT = 6,              /* ArgumentException */
    ORBIS_FAILURE_ARGUMENT_OUT_OF_RANGE = 7, /* ArgumentOutOfRangeException: no item of the requested id (as an inner failure) */
    ORBIS_FAILURE_NATIVE = 8,                /* a C++ exception outside a collection, such as one that a host's function threw */
    ORBIS_FAILURE_UNKNOWN = 9,               /* anything else that was thrown outside a collection */
    ORBIS_FAILURE_OUT_OF_MEMORY = 10,        /* the answer itself found no memory */
    ORBIS_FAILURE_INVALID_CALL = 11          /* the host passed what this header forbids; the message says what */
};

/* One failure with its cause. */
typedef struct OrbisFailure {
    uint32_t structSize;
    int32_t kind;                     /* one of ORBIS_FAILURE_ */
    OrbisText typeName;               /* the host's full type name, for example "Veyra.Orbis.Sdk.Exceptions.ZelException" */
    OrbisText message;                /* without the type's name */
    const struct OrbisFailure* inner; /* null at the end of the chain */
} OrbisFailure;

/* One collected item. */
typedef struct OrbisItem {
    int32_t hasMessage; /* 0: the item has no message. An empty message is another thing: hasMessage 1, message.length 0. */
    OrbisText itemId;
    int64_t collectionTime; /* nanoseconds since 1970-01-01T00:00:00 UTC, without leap seconds */
    OrbisText message;      /* the datatype's message, serialised */
} OrbisItem;

/* The result of create and collect; freed with OrbisRegistration.free. */
typedef struct OrbisResult {
    uint32_t structSize;
    int32_t hasList;             /* 0: no list (the host's null). An empty list is another thing: hasList 1, itemCount 0. */
    const OrbisFailure* failure; /* null: success. Otherwise there is no list. */
    const OrbisItem* items;
    size_t itemCount;
    size_t itemSize; /* bytes from one item to the next */
} OrbisResult;

/* ---- Registration ---- */

/* One collection operation. */
typedef struct OrbisOperation {
    OrbisText name;        /* for example "CollectSmartNvmeInfo" */
    OrbisText datatype;    /* full name of the protocol-buffer message that it collects */
    OrbisText description; /* one line for people */
} OrbisOperation;

/* A plug-in object. */
typedef struct OrbisPlugin OrbisPlugin;

/* The table of a plug-in; constant, and valid for the rest of the process. */
typedef struct OrbisRegistration {
    uint32_t structSize;
    uint32_t version; /* ORBIS_BORDER_VERSION */
    OrbisText id;     /* a GUID in braces */
    OrbisText name;
    OrbisText description;
    OrbisText logId; /* the id under which the plug-in logs */

    const OrbisOperation* operations;
    size_t operationCount;
    size_t operationSize; /* bytes from one operation to the next */

    /* Creates an object and stores it in *plugin; null there after a failure. `host` may be null. */
    const OrbisResult*(ORBIS_CALL* create)(const OrbisHost* host, OrbisPlugin** plugin);
    /* Runs the operation with this index in `operations`. `itemId` names one item, null asks for all. `cancellation` may be null.
     */
    const OrbisResult*(ORBIS_CALL* collect)(OrbisPlugin* plugin, size_t operation, const OrbisText* itemId,
                                            const OrbisCancellation* cancellation);
    /* Frees a result and everything it points to; null is ignored. Results outlive the object that they came from. */
    void(ORBIS_CALL* free)(const OrbisResult* result);
    /* Destroys an object; null is ignored. */
    void(ORBIS_CALL* destroy)(OrbisPlugin* plugin);
} OrbisRegistration;

/* The one function that a plug-in exports, under this name. Never fails and never returns null. */
typedef const OrbisRegistration*(ORBIS_CALL* OrbisPluginRegistrationFunction)(void);
#define ORBIS_PLUGIN_REGISTRATION_NAME "OrbisPluginRegistration"
ORBIS_EXPORT const OrbisRegistration* ORBIS_CALL OrbisPluginRegistration(void);

#ifdef __cplusplus
}
#endif

#endif
/* NOLINTEND(modernize-*) */
