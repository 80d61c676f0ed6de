// use and save: the commands over the data file's reader and writer.
#include "data/usecmd.h"

#include <cstring>
#include <vector>

#include "data/dataset.h"
#include "data/dtafile.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/tok.h"

namespace data {

namespace {

using session::gettok;
using session::SEP_FILE;
using session::SEP_STD;

constexpr size_t SFN_MAX = 498; // the longest S_FN that save takes as its file name

// A file-name token without the quote the tokenizer leaves in front.
std::string unquoted(std::string s) {
    if (!s.empty() && s[0] == '"') s.erase(0, 1);
    return s;
}

// What a look over the line finds before the parse: the word `using` and the name behind it, and
// options behind a comma that stands outside brackets.
struct LineScan {
    bool subset = false;
    std::string file;
    std::string options; // the text behind the comma
    bool has_options = false;
};

LineScan scan_line() {
    LineScan s;
    session::TokState st;
    session::savetok(st);
    int depth = 0;
    for (;;) {
        const std::string t = gettok(SEP_STD);
        if (t.empty()) break;
        if (t == "(" || t == "[")
            ++depth;
        else if ((t == ")" || t == "]") && depth > 0)
            --depth;
        else if (t == "using" && depth == 0 && !s.subset) {
            s.subset = true;
            s.file = unquoted(gettok(SEP_FILE));
        } else if (t == "," && depth == 0) {
            s.has_options = true;
            s.options = session::tokrest();
            break;
        }
    }
    session::restoretok(st);
    return s;
}

struct UseOpts {
    bool clear = false, nolabel = false;
};

int use_options(const std::string &text, UseOpts &o) {
    bool replace = false;
    const session::OptSpec specs[] = {session::opt_flag("clear", 5, o.clear),
                                      session::opt_flag("replace", 7, replace),
                                      session::opt_flag("nolabel", 7, o.nolabel)};
    if (int rc = session::options_of(text, specs)) return rc;
    o.clear = o.clear || replace;
    return 0;
}

// The end of a use that worked: its notes, and the file's name and date in S_FN and S_FNDATE.
int use_done(const DtaFile &f, const DtaLoad &ld) {
    dta_load_notes(f, ld);
    if (int rc = session::macro_set("S_FN", f.path)) return rc;
    return session::macro_set("S_FNDATE", f.stamp);
}

// use filename [, clear nolabel]
int use_whole() {
    const std::string name = unquoted(gettok(SEP_FILE));
    if (name.empty() || name == ",") return session::error(7197);
    UseOpts o;
    const std::string t = gettok(SEP_STD);
    if (!t.empty()) {
        if (t != ",") return session::invalid_rest(session::tk.tokstart);
        if (int rc = use_options(session::tokrest(), o)) return rc;
    }
    if (ds.changed && !o.clear) return session::error(4);
    DtaFile f;
    if (int rc = dta_open(dta_filename(name), f)) return rc;
    DtaLoad ld;
    ld.nolabel = o.nolabel;
    if (int rc = dta_load(f, ld)) return rc;
    return use_done(f, ld);
}

// use [varlist] [if] [in] using filename [, clear nolabel]
int use_subset(const LineScan &s) {
    UseOpts o;
    if (s.has_options)
        if (int rc = use_options(s.options, o)) return rc;
    if (s.file.empty() || s.file == ",") return session::error(7197);
    if (ds.changed && !o.clear) return session::error(4);
    DtaFile f;
    if (int rc = dta_open(dta_filename(s.file), f)) return rc;
    // The list, the `if` and the `in` name the file's variables and count its rows.
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.usingf = PO_REQUIRED;
    {
        DtaParseScope scope(f);
        if (int rc = std_parse(spec)) return rc;
    }
    DtaLoad ld;
    ld.nolabel = o.nolabel;
    if (ps.count > 0) {
        ld.keep.assign(f.vars.size(), 0);
        for (int k = 0; k < ps.count; ++k)
            if (ps.var[k] >= 1 && ps.var[k] <= (int)f.vars.size()) ld.keep[(size_t)ps.var[k] - 1] = 1;
    }
    if (ps.inrange) {
        ld.first = ps.in_lo;
        ld.last = ps.in_hi;
    }
    if (sm.ifpresent) ld.ifexp = &ifexp;
    if (int rc = dta_load(f, ld)) return rc;
    return use_done(f, ld);
}

} // namespace

std::string dta_filename(const std::string &name) {
    return session::path_extension(name).empty() ? name + ".dta" : name;
}

int cmd_use(int) {
    const LineScan s = scan_line();
    return s.subset ? use_subset(s) : use_whole();
}

// save [filename] [, replace nolabel orphans oldformat all emptyok]
int cmd_save(int) {
    std::string name = unquoted(gettok(SEP_FILE));
    if (name == ",") {
        session::ungettok();
        name.clear();
    }
    DtaSave o;
    bool emptyok = false;
    const session::OptSpec specs[] = {
        session::opt_flag("replace", 7, o.replace), session::opt_flag("nolabel", 7, o.nolabel),
        session::opt_flag("orphans", 7, o.orphans), session::opt_flag("oldformat", 9, o.oldformat),
        session::opt_flag("all", 3, o.all),         session::opt_flag("emptyok", 7, emptyok)};
    if (int rc = session::parse_options(specs)) return rc;
    if (name.empty()) {
        int32_t len = 0;
        const char *fn = session::macro_get("S_FN", &len);
        if (!fn || len < 1 || (size_t)len > SFN_MAX) return session::error(7197);
        name = fn;
    }
    if (ds.nvar == 0 && !emptyok) return session::error(111);
    if (ds.nobs == 0) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("(note: dataset contains 0 observations)\n");
    }
    const std::string path = dta_filename(name);
    std::string stamp;
    if (int rc = dta_save(path, o, &stamp)) return rc;
    session::file_error(697, path);
    ds.changed = 0;
    if (int rc = session::macro_set("S_FN", path)) return rc;
    return session::macro_set("S_FNDATE", stamp);
}

} // namespace data
