/*
 * A host in plain C: loads a collector plug-in, lists what it collects, and collects NVMe Identify Controller data in four ways.
 *
 *     host_in_c PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]
 *
 * With a simulated machine, the plug-in sees that machine instead of this one. Of a message this host reads three texts on its own;
 * one that reads more uses a protocol-buffer library and the .proto files.
 */
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "HostBorder/orbis_border.h"

/* ---- Libraries: the one thing that every system does its own way ---- */

#ifdef _WIN32
#include <windows.h>
static void* load(const char* path) { return LoadLibraryA(path); }
static void* find(void* library, const char* name) { return (void*)GetProcAddress(library, name); }
#else
#include <dlfcn.h>
static void* load(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static void* find(void* library, const char* name) { return library != NULL ? dlsym(library, name) : NULL; }
#endif

/* An object pointer as a function pointer, which C cannot convert. */
#define FIND_FUNCTION(function, library, name)           \
    do {                                                 \
        void* const address = find(load(library), name); \
        memcpy(&(function), &address, sizeof(function)); \
    } while (0)

/* ---- What a host gives to the plug-in ---- */

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

/* ---- Messages: as much of the protocol-buffer encoding as it takes to find a text ---- */

/* Takes one base-128 number off the front of `bytes`; 0 when there is no whole one. */
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

/* Takes `count` bytes off the front; 0 when there are not as many. */
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
            /* A newer plug-in's items may be longer than this header knows them. */
            print_item((const OrbisItem*)((const char*)result->items + index * result->itemSize));
        }
    }
}

/* ---- The plug-in ---- */

static const OrbisOperation* operation_at(const OrbisRegistration* plugin, size_t index)
{
    return (const OrbisOperation*)((const char*)plugin->operations + index * plugin->operationSize);
}

/* Prints what the plug-in is; returns the index of the operation with a name. */
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
    const OrbisRegistration* plugin;
    const OrbisHost host = {sizeof host, on_log, NULL};
    OrbisPlugin* object = NULL;
    const OrbisResult* created;
    size_t operation;

    if (argc != 2 && argc != 4) {
        fprintf(stderr, "usage: %s PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]\n", argv[0]);
        return 2;
    }
    if (argc == 4 && !use_machine(argv[2], argv[3])) {
        return 2;
    }
    FIND_FUNCTION(registration, argv[1], ORBIS_PLUGIN_REGISTRATION_NAME);
    plugin = registration != NULL ? registration() : NULL;
    if (plugin == NULL || plugin->version != ORBIS_BORDER_VERSION) {
        fprintf(stderr, "%s is no plug-in that this host knows\n", argv[1]);
        return 3;
    }
    operation = describe(plugin, "CollectNvmeIdentifyControllerData");

    created = plugin->create(&host, &object);
    if (created->failure != NULL) {
        print_failure(created->failure);
    } else {
        collect_in_all_ways(plugin, object, operation);
    }
    plugin->free(created);
    plugin->destroy(object);
    return 0;
}
