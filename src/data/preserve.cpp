// preserve and restore: one record per preserved level in the named store, the data in a temporary
// data file written and read quietly by the data file's own writer and reader.
#include "data/preserve.h"

#include <unistd.h>

#include <cstring>
#include <string>

#include "data/dataset.h"
#include "data/dtafile.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tempnames.h"

namespace data {

int preserve_level = -1;

namespace {

// The record of a preserved level; the text of S_FN follows it, with its NUL.
struct PreserveRec {
    int64_t fileno;           // of the temporary file, letter 'Q'
    int32_t changed;          // the changed counter at the preserve
    uint8_t written;          // the data are in the file; 0 for `changed` over unchanged data
    uint8_t was_changed;      // the data had changes at the preserve
    char stamp[DTA_STAMPLEN]; // S_FNDATE
    int32_t fnlen;            // of S_FN
};

std::string level_name(int level) { return std::to_string(level); }

PreserveRec *find_record(int level) {
    return static_cast<PreserveRec *>(
        session::store_find(level_name(level).c_str(), session::ST_ESTPRESERVE, nullptr));
}

const char *record_fn(const PreserveRec *r) { return reinterpret_cast<const char *>(r + 1); }

std::string macro_text(const char *name) {
    const char *t = session::macro_get(name);
    return t ? t : "";
}

// Codes of a reader that ran out of room rather than into a bad file.
bool memory_code(int rc) {
    switch (rc) {
    case 900:
    case 901:
    case 902:
    case 903:
    case 909:
    case 950:
    case 1000:
    case 1010:
    case 9996:
    case 9997:
        return true;
    default:
        return false;
    }
}

// Output silenced, errors too, while the temporary file is read.
struct Silence {
    uint8_t saved = out::ch.OutputLevel;
    Silence() { out::ch.OutputLevel = out::LVL_CAPTURED; }
    ~Silence() { out::ch.OutputLevel = saved; }
};

// The data of a record back in memory, with S_FN, S_FNDATE and the changed counter as they stood.
// 0, or the code with the message written; the dataset is then empty.
int bring_back(const PreserveRec *r) {
    const std::string fn(record_fn(r), (size_t)r->fnlen);
    if (r->written) {
        const std::string path = session::tempfile_name('Q', r->fileno);
        int rc;
        {
            Silence quiet;
            DtaFile f;
            rc = dta_open(path, f);
            if (!rc) {
                DtaLoad ld;
                rc = dta_load(f, ld);
            }
        }
        if (rc) {
            clear_dataset();
            if (memory_code(rc))
                return session::fail_rimu(
                    rc, "unable to restore data due to insufficient memory; try {cmd:discard} first\n");
            return rc >= 600 && rc < 700 ? session::file_error(rc, path) : session::error(rc);
        }
    } else if (ds.changed != r->changed || macro_text("S_FN") != fn || macro_text("S_FNDATE") != r->stamp) {
        clear_dataset();
    }
    if (int rc = session::macro_set("S_FN", fn)) return rc;
    if (int rc = session::macro_set("S_FNDATE", r->stamp)) return rc;
    ds.changed = r->changed;
    return 0;
}

// The level ends: its record and its file go.
void drop_level() {
    if (PreserveRec *r = find_record(preserve_level)) {
        if (r->written) ::unlink(session::tempfile_name('Q', r->fileno).c_str());
        session::store_delete(r);
    }
    preserve_level = -1;
}

} // namespace

// preserve [, changed]
int cmd_preserve(int) {
    bool changed = false;
    const session::OptSpec specs[] = {session::opt_flag("changed", 7, changed)};
    if (int rc = session::parse_options(specs)) return rc;
    if (preserve_level != -1) return session::error(621);
    const int level = session::lp.callframes;
    if (PreserveRec *stale = find_record(level)) session::store_delete(stale);

    const std::string fn = macro_text("S_FN");
    PreserveRec h{};
    h.changed = ds.changed;
    h.was_changed = ds.changed != 0;
    h.written = !(changed && ds.changed == 0);
    std::snprintf(h.stamp, sizeof h.stamp, "%s", macro_text("S_FNDATE").c_str());
    h.fnlen = (int32_t)fn.size();
    if (h.written) {
        h.fileno = session::next_tempfile_number();
        DtaSave o;
        o.replace = o.orphans = o.all = true;
        if (int rc = dta_save(session::tempfile_name('Q', h.fileno), o)) return rc;
    }
    void *p = session::store_add(level_name(level).c_str(), session::ST_ESTPRESERVE, 0,
                                 (int64_t)(sizeof h + fn.size() + 1));
    if (!p) {
        if (h.written) ::unlink(session::tempfile_name('Q', h.fileno).c_str());
        return 950;
    }
    std::memcpy(p, &h, sizeof h);
    std::memcpy(static_cast<char *>(p) + sizeof h, fn.c_str(), fn.size() + 1);
    preserve_level = level;
    return 0;
}

// restore [, not preserve]
int cmd_restore(int) {
    bool cancel = false, keep = false;
    const session::OptSpec specs[] = {session::opt_flag("not", 3, cancel),
                                      session::opt_flag("preserve", 8, keep)};
    if (int rc = session::parse_options(specs)) return rc;
    if (preserve_level == -1) return session::error(622);
    const PreserveRec *r = find_record(preserve_level);
    if (!r) {
        preserve_level = -1;
        return session::error(622);
    }
    if (!cancel)
        if (int rc = bring_back(r)) return rc;
    if (cancel || !keep) drop_level();
    return 0;
}

int preserve_frame_end(int rc) {
    if (preserve_level == -1) return rc;
    const int enabled = session::lp.breakenabled;
    session::break_enable(0);
    int rr = 0;
    if (const PreserveRec *r = find_record(preserve_level)) rr = bring_back(r);
    drop_level();
    session::break_enable(enabled);
    return rc ? rc : rr;
}

} // namespace data
