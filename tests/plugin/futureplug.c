/* A plugin written for an interface version this session does not know. */
#include "../../src/lang/plugin_api.h"

unsigned pginit(const orvat_plugin_api *a) {
    (void)a;
    return ORVAT_PLUGIN_VERSION(2, 1);
}

int orvat_call(int argc, char *argv[]) {
    (void)argc;
    (void)argv;
    return 0;
}
