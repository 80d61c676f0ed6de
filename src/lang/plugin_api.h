/* The table of entry points the session gives a plugin, and the two functions a plugin exports:
   pginit(const orvat_plugin_api *) returns the interface version it was written for (low 16 bits
   major, high 16 bits minor); orvat_call(argc, argv) runs it and returns a return code. */
#ifndef ORVAT_PLUGIN_API_H
#define ORVAT_PLUGIN_API_H

#define ORVAT_PLUGIN_MAJOR 1
#define ORVAT_PLUGIN_MINOR 0
#define ORVAT_PLUGIN_VERSION(major, minor) ((unsigned)(major) | ((unsigned)(minor) << 16))

typedef struct orvat_plugin_api {
    int major, minor;
    /* Text to the results window (result class) and to the error class. */
    int (*display)(const char *text);
    int (*error)(const char *text);
    /* A macro of the plugin's caller: a name with a leading '_' is a local. macro_get copies at most
       cap-1 bytes and returns the text length, or -1 when the macro does not exist. */
    int (*macro_get)(const char *name, char *buf, int cap);
    int (*macro_set)(const char *name, const char *text);
    /* The dataset: counts, and numeric cells by variable and observation (both from 1). 0 or a
       return code (498 when out of range). */
    int (*nobs)(void);
    int (*nvar)(void);
    int (*data_get)(int var, int obs, double *value);
    int (*data_store)(int var, int obs, double value);
} orvat_plugin_api;

typedef unsigned (*orvat_pginit_fn)(const orvat_plugin_api *api);
typedef int (*orvat_call_fn)(int argc, char *argv[]);

#endif
