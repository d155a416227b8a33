/* A host in C that installs orbis-insight, collects SmartNvmeInfo from a machine file and prints what is known of it as JSON. */
#include <stdio.h>
#include <string.h>

#include "insight/orbis_insight.h"
#include "simulated/orbis_simulated.h"

/* Prints an answer and frees it; 0 when it is a failure. */
static int show(const OrbisInsight* insight, const char* what, const OrbisInsightResult* result)
{
    const int succeeded = !result->isFailure;
    printf("%s%s %.*s\n", what, succeeded ? ":" : " failed:", (int)result->text.length, result->text.data);
    insight->free(result);
    return succeeded;
}

int main(int argc, char** argv)
{
    const OrbisRegistration* plugin = OrbisPluginRegistration();
    const OrbisInsight* insight = OrbisInsightTable();
    const OrbisText none = {"none", 4};
    OrbisPlugin* object = NULL;
    char error[512];
    size_t index = 0;
    if (argc != 2 || insight->version != ORBIS_INSIGHT_VERSION || OrbisSimulatedUseMachineFile(argv[1], error, sizeof error)) {
        return 2;
    }
    show(insight, "too early", insight->endPass());
    if (!show(insight, "install", insight->install(0))) {
        return 1;
    }
    show(insight, "again", insight->install(0));
    plugin->free(plugin->create(NULL, &object));
    while (strcmp(plugin->operations[index].name.data, "CollectSmartNvmeInfo") != 0) {
        ++index;
    }
    const OrbisResult* result = plugin->collect(object, index, NULL, NULL);
    if (result->itemCount == 0 || !show(insight, "pass", insight->endPass())) {
        return 1;
    }
    const OrbisText* datatype = &plugin->operations[index].datatype;
    show(insight, "findings", insight->findings());
    show(insight, "health", insight->health());
    show(insight, "message", insight->messageJson(datatype, &result->items->message));
    show(insight, "explain", insight->explain(datatype, &result->items->message, &result->items->itemId));
#ifdef ORBIS_INSIGHT_HAS_WAITS
    show(insight, "waits", insight->waits());
    show(insight, "hide", insight->hideDisk(0, 1));
    const OrbisResult* hidden = plugin->collect(object, index, NULL, NULL);
    printf("items without disk 0: %d\n", (int)hidden->itemCount);
    plugin->free(hidden);
    show(insight, "show again", insight->hideDisk(0, 0));
#endif
    show(insight, "unknown", insight->messageJson(&none, &none));
    show(insight, "null", insight->messageJson(NULL, &none));
    plugin->free(result);
    plugin->destroy(object);
    return 0;
}
