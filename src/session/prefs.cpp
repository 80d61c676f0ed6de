// The preference store: a text file of group, key and value lines, cached in memory; and `pref`.
#include "session/prefs.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "output/channel.h"
#include "session/errors.h"
#include "session/tok.h"

namespace session {

namespace {

// The first line of a store file. Each further line is group TAB key TAB value, with backslash,
// tab and newline in the value written as \\, \t and \n.
constexpr char header[] = "orvat preferences 1";
constexpr int max_stores = 8;
constexpr size_t max_values = 4096;
constexpr size_t max_group_key = 97;

struct Entry {
    std::string group, key, value;
};

struct Store {
    std::string path; // basedir/basename
    std::vector<Entry> cache;
};

std::unique_ptr<Store> stores[max_stores];

Store *store_of(int h) { return h >= 0 && h < max_stores ? stores[h].get() : nullptr; }

std::string escaped(std::string_view v) {
    std::string s;
    for (char c : v) {
        if (c == '\\')
            s += "\\\\";
        else if (c == '\t')
            s += "\\t";
        else if (c == '\n')
            s += "\\n";
        else
            s.push_back(c);
    }
    return s;
}

bool unescaped(std::string_view v, std::string &out) {
    out.clear();
    for (size_t i = 0; i < v.size(); ++i) {
        if (v[i] != '\\') {
            out.push_back(v[i]);
            continue;
        }
        if (++i >= v.size()) return false;
        if (v[i] == '\\')
            out.push_back('\\');
        else if (v[i] == 't')
            out.push_back('\t');
        else if (v[i] == 'n')
            out.push_back('\n');
        else
            return false;
    }
    return true;
}

// Reads a store file into entries; false when it exists and cannot be read as a store.
bool read_store(const std::string &path, std::vector<Entry> &entries, bool *exists) {
    FILE *f = std::fopen(path.c_str(), "r");
    *exists = f != nullptr || errno != ENOENT;
    if (!f) return !*exists;
    std::string line;
    bool ok = true, first = true;
    int c;
    auto take = [&]() {
        if (first) {
            ok = line == header;
            first = false;
            return;
        }
        if (line.empty()) return;
        size_t t1 = line.find('\t'), t2 = t1 == std::string::npos ? t1 : line.find('\t', t1 + 1);
        if (t2 == std::string::npos || t1 == 0 || t2 == t1 + 1) {
            ok = false;
            return;
        }
        Entry e{line.substr(0, t1), line.substr(t1 + 1, t2 - t1 - 1), ""};
        if (!unescaped(std::string_view(line).substr(t2 + 1), e.value) ||
            e.group.size() + e.key.size() >= max_group_key || entries.size() >= max_values) {
            ok = false;
            return;
        }
        entries.push_back(std::move(e));
    };
    while (ok && (c = std::fgetc(f)) != EOF) {
        if (c == '\n') {
            take();
            line.clear();
        } else if (c == '\0') {
            ok = false;
        } else {
            line.push_back((char)c);
        }
    }
    if (ok && (!line.empty() || first)) take();
    if (std::ferror(f)) ok = false;
    std::fclose(f);
    return ok;
}

Entry *find_entry(Store *s, std::string_view group, std::string_view key) {
    for (Entry &e : s->cache)
        if (e.group == group && e.key == key) return &e;
    return nullptr;
}

void too_many() { session::fail(0, "too many stored values\n"); }

int session_store = -1;

} // namespace

int pref_open(const std::string &basedir, const std::string &basename) {
    int h = 0;
    while (h < max_stores && stores[h])
        ++h;
    if (h == max_stores) return -1;
    auto s = std::make_unique<Store>();
    std::string dir = basedir;
    if (!dir.empty() && dir.back() != '/') dir.push_back('/');
    s->path = dir + basename;
    bool exists;
    if (!read_store(s->path, s->cache, &exists)) {
        // Kept aside for whoever wants to look at it; the session starts with defaults.
        std::rename(s->path.c_str(), (s->path + ".bad").c_str());
        s->cache.clear();
    }
    stores[h] = std::move(s);
    return h;
}

void pref_close(int h) {
    if (store_of(h)) stores[h].reset();
    if (h == session_store) session_store = -1;
}

bool pref_get(int h, std::string_view group, std::string_view key, std::string &value) {
    Store *s = store_of(h);
    if (!s || group.size() + key.size() >= max_group_key) return false;
    Entry *e = find_entry(s, group, key);
    if (!e) return false;
    value = e->value;
    return true;
}

int pref_put(int h, std::string_view group, std::string_view key, std::string_view value) {
    Store *s = store_of(h);
    if (!s) return 0;
    if (group.size() + key.size() >= max_group_key || group.empty() || key.empty()) return 2;
    for (char c : std::string(group) + std::string(key))
        if (c == '\t' || c == '\n' || c == '\0') return 2;
    if (Entry *e = find_entry(s, group, key)) {
        e->value = value;
        return 0;
    }
    if (s->cache.size() >= max_values) {
        too_many();
        return 1000;
    }
    s->cache.push_back({std::string(group), std::string(key), std::string(value)});
    return 0;
}

bool pref_write(int h) {
    Store *s = store_of(h);
    if (!s) return false;
    std::string tmp = s->path + ".new";
    FILE *f = std::fopen(tmp.c_str(), "w");
    if (!f) return false;
    std::fprintf(f, "%s\n", header);
    for (const Entry &e : s->cache)
        std::fprintf(f, "%s\t%s\t%s\n", e.group.c_str(), e.key.c_str(), escaped(e.value).c_str());
    bool ok = std::fflush(f) == 0 && fsync(fileno(f)) == 0;
    ok = std::fclose(f) == 0 && ok;
    if (!ok) {
        std::remove(tmp.c_str());
        return false;
    }
    struct stat sb;
    if (::stat(s->path.c_str(), &sb) == 0) std::rename(s->path.c_str(), (s->path + ".bak").c_str());
    return std::rename(tmp.c_str(), s->path.c_str()) == 0;
}

void prefs_start() {
    const char *home = std::getenv("HOME");
    if (!home || !*home) return;
    std::string base = std::string(home) + "/.orvat10/";
    std::string dir = base + "console/";
    mode_t old = umask(0);
    ::mkdir(base.c_str(), 0755);
    ::mkdir(dir.c_str(), 0755);
    umask(old);
    session_store = pref_open(dir, "orvat10.rc");
}

void prefs_exit(bool save) {
    if (session_store < 0) return;
    if (save) pref_write(session_store);
    pref_close(session_store);
}

std::string pref_text(std::string_view group, std::string_view key, std::string_view dflt) {
    std::string v;
    if (pref_get(session_store, group, key, v)) return v;
    return std::string(dflt);
}

long long pref_int(std::string_view group, std::string_view key, long long dflt) {
    std::string v;
    if (!pref_get(session_store, group, key, v)) return dflt;
    char *end;
    long long n = std::strtoll(v.c_str(), &end, 10);
    return v.empty() || *end ? dflt : n;
}

bool pref_set(std::string_view group, std::string_view key, std::string_view value) {
    return store_of(session_store) && pref_put(session_store, group, key, value) == 0;
}

// ---- pref ----

namespace {

// A reversible scrambling of a text, shown in hexadecimal.
std::string scramble(std::string_view t) {
    std::string s;
    unsigned k = 0x5a;
    for (unsigned char c : t) {
        char buf[4];
        std::snprintf(buf, sizeof buf, "%02x", (unsigned)(c ^ k));
        s += buf;
        k = (k * 7 + 13) & 0xff;
    }
    return s;
}

bool unscramble(std::string_view t, std::string &out) {
    if (t.size() % 2) return false;
    out.clear();
    unsigned k = 0x5a;
    for (size_t i = 0; i < t.size(); i += 2) {
        char buf[3] = {t[i], t[i + 1], 0};
        char *end;
        unsigned long v = std::strtoul(buf, &end, 16);
        if (*end) return false;
        out.push_back((char)(v ^ k));
        k = (k * 7 + 13) & 0xff;
    }
    return true;
}

std::string word() {
    std::string w = gettok(SEP_FILE);
    if (!w.empty() && w[0] == '"') w.erase(0, 1);
    return w;
}

// An optional handle; the session's store when none is given.
int handle_arg(int *h) {
    TokState ts;
    savetok(ts);
    std::string w = gettok(SEP_NUM);
    if (w.empty()) {
        *h = session_store;
        return 0;
    }
    char *end;
    long v = std::strtol(w.c_str(), &end, 10);
    if (*end) {
        restoretok(ts);
        *h = session_store;
        return 0;
    }
    if (!store_of((int)v)) return error(198);
    *h = (int)v;
    return 0;
}

int list_entries(const std::vector<Entry> &v) {
    out::ClassScope cs(out::CLS_RESULT);
    for (const Entry &e : v)
        out::out_text(e.group + " " + e.key + " = " + e.value + "\n");
    return 0;
}

} // namespace

int cmd_pref(int) {
    std::string sub = gettok(SEP_STD);
    int h = session_store;
    if (sub == "dump") {
        // What the file holds now, read afresh.
        if (int rc = handle_arg(&h)) return rc;
        Store *s = store_of(h);
        if (!s) return 0;
        std::vector<Entry> v;
        bool exists;
        if (!read_store(s->path, v, &exists)) return file_error(688, s->path);
        return list_entries(v);
    }
    if (sub == "cache") {
        if (int rc = handle_arg(&h)) return rc;
        Store *s = store_of(h);
        return s ? list_entries(s->cache) : 0;
    }
    if (sub == "open") {
        std::string dir = word(), base = word();
        if (dir.empty() || base.empty() || *tokrest()) return error(198);
        int nh = pref_open(dir, base);
        if (nh < 0) {
            too_many();
            return 1000;
        }
        out::ClassScope cs(out::CLS_TEXT);
        out::out_textf("prefopen(basedir, basename) = %d\n", nh);
        out::out_textf("(refer to as %d)\n", nh);
        return 0;
    }
    if (sub == "close" || sub == "write") {
        if (int rc = handle_arg(&h)) return rc;
        if (*tokrest()) return error(198);
        if (sub == "close")
            pref_close(h);
        else
            pref_write(h);
        return 0;
    }
    if (sub == "save" || sub == "get") {
        if (int rc = handle_arg(&h)) return rc;
        std::string group = word(), key = word();
        if (group.empty() || key.empty()) return error(198);
        if (sub == "save") {
            std::string value = tokrest();
            if (!value.empty() && value[0] == '"' && value.size() >= 2 && value.back() == '"')
                value = value.substr(1, value.size() - 2);
            int rc = pref_put(h, group, key, value);
            return rc == 2 ? 0 : rc;
        }
        if (*tokrest()) return error(198);
        std::string v;
        out::ClassScope cs(out::CLS_RESULT);
        if (pref_get(h, group, key, v)) out::out_text(v + "\n");
        return 0;
    }
    if (sub == "encrypt" || sub == "decrypt") {
        std::string t = tokrest();
        if (!t.empty() && t[0] == '"' && t.size() >= 2 && t.back() == '"') t = t.substr(1, t.size() - 2);
        std::string r;
        if (sub == "encrypt")
            r = scramble(t);
        else if (!unscramble(t, r))
            return error(198);
        out::ClassScope cs(out::CLS_RESULT);
        out::out_text(r + "\n");
        return 0;
    }
    return error(198);
}

} // namespace session
