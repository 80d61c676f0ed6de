// Plugins: shared objects loaded by `program name, plugin`, called by name or by `plugin call`.
#include <dlfcn.h>

#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "lang/macro.h"
#include "lang/plugin_api.h"
#include "lang/prog_int.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/findfile.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace lang {

using session::lp;

namespace {

// The 560-byte record of a plugin.
struct PluginRec {
    char path[500];
    char owner[33];
    uint8_t pad1[3];
    uint32_t loadstamp;
    uint32_t usestamp;
    uint8_t cls;
    uint8_t fromado;
    uint8_t pad2[6];
    void *handle;
};
static_assert(sizeof(PluginRec) == 560);

int api_display(const char *t) {
    out::ClassScope cs(out::CLS_RESULT);
    return out::out_text(t ? t : "");
}

int api_error(const char *t) {
    out::ClassScope cs(out::CLS_ERROR);
    return out::out_error(t ? t : "");
}

int api_macro_get(const char *name, char *buf, int cap) {
    if (!name) return -1;
    int32_t len = 0;
    const char *t = session::macro_get(name, &len);
    if (!t) return -1;
    if (buf && cap > 0) {
        int n = len < cap - 1 ? len : cap - 1;
        std::memcpy(buf, t, (size_t)n);
        buf[n] = '\0';
    }
    return len;
}

int api_macro_set(const char *name, const char *text) {
    if (!name || !session::name_ok(name[0] == '_' ? name + 1 : name)) return 198;
    return session::macro_set(name, text ? text : "");
}

int api_nobs() { return data::ds.nobs; }
int api_nvar() { return data::ds.nvar; }

bool cell_ok(int var, int obs) {
    return var >= 1 && var <= data::ds.nvar && obs >= 1 && obs <= data::ds.nobs &&
           data::ds.vartype[var - 1] > 244;
}

int api_data_get(int var, int obs, double *v) {
    if (!v || !cell_ok(var, obs)) return 498;
    *v = data::get_num(var, obs);
    return 0;
}

int api_data_store(int var, int obs, double v) {
    if (!cell_ok(var, obs)) return 498;
    data::put_num(var, obs, v);
    return 0;
}

const orvat_plugin_api api_table = {
    ORVAT_PLUGIN_MAJOR, ORVAT_PLUGIN_MINOR, api_display, api_error,    api_macro_get,
    api_macro_set,      api_nobs,           api_nvar,    api_data_get, api_data_store,
};

} // namespace

void *findplugin(const char *name) {
    void *plain = nullptr;
    for (void *p = session::store_find(name, session::ST_PLUGIN, nullptr); p;
         p = session::store_next(p, session::ST_PLUGIN)) {
        auto *r = static_cast<PluginRec *>(p);
        if (lp.ownername[0] && std::strcmp(r->owner, lp.ownername) == 0) return p;
        if (!r->owner[0] && !plain) plain = p;
    }
    return plain;
}

int plugin_define(const std::string &name, const std::string &using_file, int cls) {
    std::string owner = ado.active && name != ado.word ? ado.word : "";
    for (void *p = session::store_find(name.c_str(), session::ST_PLUGIN, nullptr); p;
         p = session::store_next(p, session::ST_PLUGIN)) {
        auto *r = static_cast<PluginRec *>(p);
        if (owner != r->owner) continue;
        if (ado.active && r->fromado) return 0;
        return session::already_defined("program " + name);
    }
    // A name with a directory part is used as it stands; otherwise the ado path is searched.
    std::string path = using_file;
    if (using_file.find('/') == std::string::npos) {
        std::string found;
        // dlopen would search the system's library directories for a bare name: never let it.
        path = session::findfile(using_file, "", found) ? found : "./" + using_file;
    }
    if (path.size() >= sizeof(PluginRec::path)) return session::error(198);
    void *h = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!h) {
        return session::fail(9999, "Could not load plugin: " + path + "\n");
    }
    auto init = reinterpret_cast<orvat_pginit_fn>(dlsym(h, "pginit"));
    if (!init) {
        dlclose(h);
        return session::fail(9998, "plugin " + path + " has no pginit entry point\n");
    }
    unsigned v = init(&api_table);
    int major = (int)(v & 0xFFFF), minor = (int)(v >> 16);
    if (major > ORVAT_PLUGIN_MAJOR) {
        dlclose(h);
        char buf[160];
        std::snprintf(buf, sizeof buf, "plugin interface version is %d.%d.\n", major, minor);
        std::string msg = buf;
        std::snprintf(buf, sizeof buf, "This Orvat only understands plugin interfaces up to %d.%d.\n",
                      ORVAT_PLUGIN_MAJOR, ORVAT_PLUGIN_MINOR);
        return session::fail(9997, msg + buf);
    }
    void *mem = session::store_add(name.c_str(), session::ST_PLUGIN, 0, sizeof(PluginRec));
    if (!mem) {
        dlclose(h);
        return 950;
    }
    auto *r = static_cast<PluginRec *>(mem);
    std::snprintf(r->path, sizeof r->path, "%s", path.c_str());
    std::snprintf(r->owner, sizeof r->owner, "%s", owner.c_str());
    r->loadstamp = ado.active ? ado.stamp : 0;
    r->usestamp = (uint32_t)lp.cmdserial;
    r->cls = (uint8_t)cls;
    r->fromado = ado.active;
    r->handle = h;
    return 0;
}

int plugin_run(void *rec, const char *args) {
    auto *r = static_cast<PluginRec *>(rec);
    r->usestamp = (uint32_t)lp.cmdserial;
    auto call = reinterpret_cast<orvat_call_fn>(dlsym(r->handle, "orvat_call"));
    if (!call) call = reinterpret_cast<orvat_call_fn>(dlsym(r->handle, "orvat_entry"));
    if (!call) {
        return session::fail(9998, std::string("plugin ") + r->path + " has no orvat_call entry point\n");
    }
    std::vector<std::string> words = split_args(args ? args : "");
    std::vector<char *> argv;
    for (std::string &w : words)
        argv.push_back(w.data());
    argv.push_back(nullptr);
    return call((int)words.size(), argv.data());
}

void plugin_delete(void *rec) {
    auto *r = static_cast<PluginRec *>(rec);
    if (r->handle) dlclose(r->handle);
    session::store_delete(rec);
}

int64_t plugin_dir() {
    int64_t total = 0;
    std::vector<void *> recs;
    const char *name;
    for (void *p = session::store_walk(nullptr, &name, session::ST_PLUGIN, nullptr); p;
         p = session::store_walk(p, &name, session::ST_PLUGIN, nullptr))
        recs.push_back(p);
    for (auto it = recs.rbegin(); it != recs.rend(); ++it) {
        auto *r = static_cast<PluginRec *>(*it);
        out::out_textf("%-17s     |%s|\n", session::store_header(*it)->name, r->path);
        total += (int64_t)sizeof(PluginRec);
    }
    return total;
}

// plugin {call | xeq} name [args]
int cmd_plugin(int) {
    std::string w = session::gettok(session::SEP_STD);
    if (!session::cmdmatch(w.c_str(), "xeq", 3) && !session::cmdmatch(w.c_str(), "call", 4))
        return session::error(198);
    std::string name = session::gettok(session::SEP_STD);
    if (name.empty()) return session::required("plugin name");
    void *p = findplugin(name.c_str());
    if (!p) return session::not_found("plugin " + name);
    return plugin_run(p, session::tk.tokpos ? session::tk.tokpos : "");
}

} // namespace lang
