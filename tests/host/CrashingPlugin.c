/* A plug-in that ends the process that loads it. */
#include <stdlib.h>

#include "HostBorder/orbis_border.h"

const OrbisRegistration* ORBIS_CALL OrbisPluginRegistration(void) { abort(); }
