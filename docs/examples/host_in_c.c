/*
 * A host in plain C: loads a collector plug-in, lists what it collects, and collects NVMe Identify Controller data in four ways.
 *
 *     host_in_c PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]
 *
 * With a simulated machine, the plug-in sees that machine instead of this one. This host decodes three texts of a message itself; a
 * host that needs more uses a protocol-buffer library and the .proto files.
 *
 * The plug-in is used on a separate thread, which may block when a device or a WMI provider hangs. This host just waits for it.
 */
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "HostBorder/orbis_border.h"

/* ---- Libraries and threads, which differ between systems ---- */

/* What the thread does. */
typedef struct Task {
    void (*work)(void* context);
    void* context;
} Task;

#ifdef _WIN32
#include <windows.h>
/* After windows.h, which it needs. */
#include <objbase.h>

/* The library's dependencies are searched for beside it and in the system's folder only, because the current folder or PATH could
 * contain another file with the same name. The search needs a full path. */
static void* load(const char* path)
{
    char full[MAX_PATH];
    const DWORD length = GetFullPathNameA(path, sizeof full, full, NULL);
    const DWORD flags = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;
    void* const library = length != 0 && length < sizeof full ? LoadLibraryExA(full, NULL, flags) : NULL;
    if (library == NULL) {
        fprintf(stderr, "%s cannot be loaded: Windows error %lu\n", path, GetLastError());
    }
    return library;
}
static void* find(void* library, const char* name) { return library != NULL ? (void*)GetProcAddress(library, name) : NULL; }

/* A multi-threaded apartment for the life of the plug-in object. Also sets COM's security; otherwise the plug-in's first query
 * would set it for the whole process. Other settings can be requested here. */
static DWORD WINAPI run(void* context)
{
    const Task* const task = context;
    if (SUCCEEDED(CoInitializeEx(NULL, COINIT_MULTITHREADED))) {
        CoInitializeSecurity(NULL, -1, NULL, NULL, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE, NULL, EOAC_NONE, NULL);
        task->work(task->context);
        CoUninitialize();
    }
    return 0;
}
static int run_on_own_thread(Task* task)
{
    const HANDLE thread = CreateThread(NULL, 0, run, task, 0, NULL);
    const int is_started = thread != NULL;
    if (is_started) {
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
    return is_started;
}
#else
#include <dlfcn.h>
#include <pthread.h>
static void* load(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static void* find(void* library, const char* name) { return library != NULL ? dlsym(library, name) : NULL; }

static void* run(void* context)
{
    const Task* const task = context;
    task->work(task->context);
    return NULL;
}
static int run_on_own_thread(Task* task)
{
    pthread_t thread;
    return pthread_create(&thread, NULL, run, task) == 0 && pthread_join(thread, NULL) == 0;
}
#endif

/* An object pointer as a function pointer, which C cannot convert. */
#define FIND_FUNCTION(function, library, name)           \
    do {                                                 \
        void* const address = find(load(library), name); \
        memcpy(&(function), &address, sizeof(function)); \
    } while (0)

/* ---- The host's functions for the plug-in ---- */

static void ORBIS_CALL on_log(void* context, const OrbisLogLine* line)
{
    static const char* const levels[] = {"?", "error", "warning", "debug", "trace"};
    const int level = line->level >= ORBIS_LOG_ERROR && line->level <= ORBIS_LOG_TRACE ? line->level : 0;
    (void)context;
    fprintf(stderr, "%s: %.*s\n", levels[level], (int)line->message.length, line->message.data);
}

static int32_t ORBIS_CALL is_cancelled(void* context) { return *(const int32_t*)context; }

/* ---- Results ---- */

static void print_text(OrbisText text)
{
    if (text.length != 0) {
        fwrite(text.data, 1, text.length, stdout);
    }
}

static void print_failure(const OrbisFailure* failure)
{
    const char* prefix = "  failed: ";
    for (; failure != NULL; failure = failure->inner) {
        fputs(prefix, stdout);
        print_text(failure->typeName);
        fputs(": ", stdout);
        print_text(failure->message);
        putchar('\n');
        prefix = "    because of ";
    }
}

/* ---- Messages: the part of the protocol-buffer encoding that is needed to find a text ---- */

/* Removes one base-128 number from the front of `bytes`; 0 when there is no complete one. */
static int take_number(OrbisText* bytes, uint64_t* number)
{
    unsigned shift;
    *number = 0;
    for (shift = 0; shift < 64 && bytes->length != 0; shift += 7) {
        const unsigned char byte = (unsigned char)*bytes->data;
        ++bytes->data;
        --bytes->length;
        *number |= (uint64_t)(byte & 0x7F) << shift;
        if (byte < 0x80) {
            return 1;
        }
    }
    return 0;
}

/* Removes `count` bytes from the front; 0 when there are fewer. */
static int take_bytes(OrbisText* bytes, uint64_t count, OrbisText* taken)
{
    if (count > bytes->length) {
        return 0;
    }
    taken->data = bytes->data;
    taken->length = (size_t)count;
    bytes->data += count;
    bytes->length -= (size_t)count;
    return 1;
}

/* The text of a message's field, or an empty one when the message has none. */
static OrbisText text_field(OrbisText message, uint64_t field)
{
    const OrbisText none = {"", 0};
    OrbisText value = none;
    uint64_t key;
    uint64_t number = 0;
    while (take_number(&message, &key)) {
        int whole;
        switch (key & 7) {
            case 0:
                whole = take_number(&message, &number);
                break;
            case 1:
                whole = take_bytes(&message, 8, &value);
                break;
            case 2:
                whole = take_number(&message, &number) && take_bytes(&message, number, &value);
                break;
            case 5:
                whole = take_bytes(&message, 4, &value);
                break;
            default:
                whole = 0;
                break;
        }
        if (!whole) {
            return none;
        }
        if (key == (field << 3 | 2)) {
            return value;
        }
    }
    return none;
}

/* NvmeIdentifyControllerData: serial_number = 3, model_number = 4, firmware_revision = 5. */
static void print_controller(OrbisText message)
{
    fputs("    ", stdout);
    print_text(text_field(message, 4));
    fputs(", serial number ", stdout);
    print_text(text_field(message, 3));
    fputs(", firmware ", stdout);
    print_text(text_field(message, 5));
    putchar('\n');
}

static void print_item(const OrbisItem* item)
{
    const time_t seconds = (time_t)(item->collectionTime / 1000000000);
    char when[32] = "";
    strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%SZ", gmtime(&seconds));
    fputs("  ", stdout);
    print_text(item->itemId);
    printf(", collected %s, %s\n", when, item->hasMessage ? "with a message" : "without a message");
    if (item->hasMessage) {
        print_controller(item->message);
    }
}

static void print_result(const OrbisResult* result)
{
    if (result->failure != NULL) {
        print_failure(result->failure);
    } else if (!result->hasList) {
        puts("  no list");
    } else {
        size_t index;
        printf("  items: %zu\n", result->itemCount);
        for (index = 0; index < result->itemCount; ++index) {
            /* The items of a newer plug-in may be longer than in this header. */
            print_item((const OrbisItem*)((const char*)result->items + index * result->itemSize));
        }
    }
}

/* ---- The plug-in ---- */

static const OrbisOperation* operation_at(const OrbisRegistration* plugin, size_t index)
{
    return (const OrbisOperation*)((const char*)plugin->operations + index * plugin->operationSize);
}

/* Prints the plug-in's name and operations; returns the index of the operation with a name. */
static size_t describe(const OrbisRegistration* plugin, const char* wanted)
{
    size_t found = plugin->operationCount;
    size_t index;
    print_text(plugin->name);
    putchar(' ');
    print_text(plugin->id);
    putchar('\n');
    for (index = 0; index < plugin->operationCount; ++index) {
        const OrbisOperation* operation = operation_at(plugin, index);
        if (operation->name.length == strlen(wanted) && memcmp(operation->name.data, wanted, operation->name.length) == 0) {
            found = index;
        }
        fputs("  ", stdout);
        print_text(operation->name);
        fputs(": ", stdout);
        print_text(operation->datatype);
        putchar('\n');
    }
    return found;
}

static void collect(const OrbisRegistration* plugin, OrbisPlugin* object, size_t operation, const char* title, const OrbisText* id,
                    int32_t cancelled)
{
    const OrbisCancellation cancellation = {sizeof cancellation, is_cancelled, &cancelled};
    const OrbisResult* result = plugin->collect(object, operation, id, &cancellation);
    puts(title);
    print_result(result);
    plugin->free(result);
}

static void collect_in_all_ways(const OrbisRegistration* plugin, OrbisPlugin* object, size_t operation)
{
    const OrbisText nowhere = {"Disk_that is not there", 22};
    const OrbisResult* all = plugin->collect(object, operation, NULL, NULL);
    puts("All disks:");
    print_result(all);
    if (all->itemCount > 0) {
        collect(plugin, object, operation, "The first of them:", &all->items[0].itemId, 0);
    }
    plugin->free(all);
    collect(plugin, object, operation, "Cancelled:", NULL, 1);
    collect(plugin, object, operation, "A disk that is not there:", &nowhere, 0);
}

/* The plug-in and one of its operations. */
typedef struct Collector {
    const OrbisRegistration* plugin;
    size_t operation;
} Collector;

/* The life of a plug-in object. */
static void use_plugin(void* context)
{
    const Collector* const collector = context;
    const OrbisHost host = {sizeof host, on_log, NULL};
    OrbisPlugin* object = NULL;
    const OrbisResult* const created = collector->plugin->create(&host, &object);
    if (created->failure != NULL) {
        print_failure(created->failure);
    } else {
        collect_in_all_ways(collector->plugin, object, collector->operation);
    }
    collector->plugin->free(created);
    collector->plugin->destroy(object);
}

static int use_machine(const char* library, const char* file)
{
    int (*use)(const char*, char*, size_t) = NULL;
    char error[512] = "the library has no function OrbisSimulatedUseMachineFile";
    FIND_FUNCTION(use, library, "OrbisSimulatedUseMachineFile");
    if (use == NULL || use(file, error, sizeof error) != 0) {
        fprintf(stderr, "%s: %s\n", library, error);
        return 0;
    }
    return 1;
}

int main(int argc, char** argv)
{
    OrbisPluginRegistrationFunction registration = NULL;
    Collector collector;
    Task task = {use_plugin, &collector};

    if (argc != 2 && argc != 4) {
        fprintf(stderr, "usage: %s PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]\n", argv[0]);
        return 2;
    }
    if (argc == 4 && !use_machine(argv[2], argv[3])) {
        return 2;
    }
    FIND_FUNCTION(registration, argv[1], ORBIS_PLUGIN_REGISTRATION_NAME);
    collector.plugin = registration != NULL ? registration() : NULL;
    if (collector.plugin == NULL || collector.plugin->version != ORBIS_BORDER_VERSION) {
        fprintf(stderr, "%s is no plug-in that this host knows\n", argv[1]);
        return 3;
    }
    collector.operation = describe(collector.plugin, "CollectNvmeIdentifyControllerData");
    if (!run_on_own_thread(&task)) {
        fputs("no thread to collect on\n", stderr);
        return 3;
    }
    return 0;
}
