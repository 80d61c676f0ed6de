/* A test plugin: shows its arguments, reads and sets macros of its caller, and fails on demand. */
#include <stdio.h>
#include <string.h>

#include "../../src/lang/plugin_api.h"

static const orvat_plugin_api *api;

unsigned pginit(const orvat_plugin_api *a) {
    api = a;
    return ORVAT_PLUGIN_VERSION(1, 0);
}

int orvat_call(int argc, char *argv[]) {
    char buf[200];
    if (argc == 2 && strcmp(argv[0], "touch") == 0) {
        /* Makes an empty file: how tests give a tempfile name a file to remove. */
        FILE *f = fopen(argv[1], "w");
        if (!f) return 603;
        fclose(f);
        return 0;
    }
    snprintf(buf, sizeof buf, "testplug: %d argument(s)\n", argc);
    api->display(buf);
    for (int i = 0; i < argc; ++i) {
        snprintf(buf, sizeof buf, "  [%s]\n", argv[i]);
        api->display(buf);
    }
    char val[64];
    int n = api->macro_get("_tell", val, sizeof val);
    if (n >= 0) {
        snprintf(buf, sizeof buf, "local tell holds [%s], %d bytes\n", val, n);
        api->display(buf);
    }
    api->macro_set("_fromplugin", "set by the plugin");
    snprintf(buf, sizeof buf, "%d observations, %d variables\n", api->nobs(), api->nvar());
    api->display(buf);
    if (argc > 0 && strcmp(argv[0], "fail") == 0) {
        api->error("testplug was asked to fail\n");
        return 459;
    }
    return 0;
}
