// The commands that change the shape of the dataset: drop, keep, rename, order, _move, compress,
// clear, _repart and `set obs`; and the `in` range they read.
#include "data/datacmd.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

using session::gettok;
using session::SEP_NUM;
using session::SEP_STD;
using session::tk;
using session::ungettok;

// What is left of the line from the token just read.
std::string rest_from_token() {
    std::string s = tk.tokstart ? tk.tokstart : "";
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    return s;
}

// Text left over behind a command: "'rest' invalid".
int leftover() { return session::fail(198, "'" + rest_from_token() + "' invalid\n"); }

// The end of the line must follow.
int expect_end() {
    if (!*gettok(SEP_STD)) return 0;
    return leftover();
}

// The variables of the list array as flags per variable.
std::vector<uint8_t> list_flags() {
    std::vector<uint8_t> f(ds.nvar > 0 ? ds.nvar : 1, 0);
    for (int k = 0; k < ps.count; ++k)
        if (ps.var[k] >= 1 && ps.var[k] <= ds.nvar) f[ps.var[k] - 1] = 1;
    return f;
}

// A number of the `set obs` kind: 0 with the value, or the code of the single-number family.
int read_count(int64_t *n) {
    std::string t = gettok(SEP_NUM);
    if (t.empty()) return session::numlist_error(122, true);
    double v;
    if (!text_to_number(t, v, true)) return session::numlist_error(121, true);
    if (is_missing(v)) return session::numlist_error(127, true);
    if (v != std::floor(v)) return session::numlist_error(126, true);
    if (v < 0 || v > 2147483647.0) return session::numlist_error(125, true);
    *n = (int64_t)v;
    return 0;
}

} // namespace

namespace {

void deleted_note(int32_t removed) {
    out::ClassScope cs(out::CLS_TEXT);
    out::out_textf("(%d observation%s deleted)\n", removed, removed == 1 ? "" : "s");
}

// Under by each group marks its observations in a scratch long that lives from the first group to
// the last, which removes them all and writes the one note.
int drop_obs_by_group(const std::vector<int32_t> &chosen, bool keep) {
    if (bys.state == 1 || bys.keep_var <= 0) {
        int s = 0;
        if (int rc = obs_drop_begin(&s)) return rc;
        bys.keep_var = s;
    }
    const int s = bys.keep_var;
    size_t k = 0;
    for (int32_t i = bys.lo; i <= bys.hi; ++i) {
        const bool in = k < chosen.size() && chosen[k] == i;
        if (in) ++k;
        if (in != keep) put_long(s, i, 1);
    }
    if (!bys.last) return 0;
    int32_t removed = 0;
    bys.keep_var = 0;
    if (int rc = obs_drop_finish(s, &removed)) return rc;
    deleted_note(removed);
    return 0;
}

} // namespace

// drop varlist | drop in range [if exp] | drop if exp [in range]     (keep the same)
int cmd_dropkeep(int keep) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.options = PO_NONE;
    spec.need_one = "varlist or in range";
    const char *line = session::tokrest();
    if (int rc = std_parse(spec)) return rc;
    if (ps.inrange || sm.ifpresent) {
        if (ps.count) return session::invalid_rest(line); // a list and a qualifier do not mix
        // Decide every observation first, so the expression sees the data as they were.
        std::vector<int32_t> chosen;
        if (int rc = sample_obs(chosen)) return rc;
        if (bys.state) return drop_obs_by_group(chosen, keep != 0);
        std::vector<uint8_t> remove(ds.nobs > 0 ? ds.nobs : 1, keep ? 1 : 0);
        for (int32_t i : chosen)
            remove[i - 1] = keep ? 0 : 1;
        int32_t removed = 0;
        if (int rc = drop_obs_mask(remove.data(), &removed)) return rc;
        deleted_note(removed);
        return 0;
    }
    // Variables are dropped and kept for the whole dataset, never for one group.
    if (session::lp.byprefix) return session::error(190);
    // Only _all of a dataset without variables is a list of nothing: drop clears, keep keeps.
    if (ps.count == 0 || ds.nvar == 0) {
        if (keep) return 0;
        clear_dataset();
        return 0;
    }
    std::vector<uint8_t> f = list_flags();
    // Dropping every variable leaves nothing to hold observations: the dataset is cleared.
    if (!keep && std::all_of(f.begin(), f.begin() + ds.nvar, [](uint8_t x) { return x != 0; })) {
        clear_dataset();
        return 0;
    }
    return keep ? keep_vars(f.data()) : drop_vars(f.data());
}

// rename oldname newname
int cmd_rename(int) {
    std::string oldname = gettok(SEP_STD);
    if (oldname.empty()) return session::error(102);
    std::string newname = gettok(SEP_STD);
    if (newname.empty()) return session::error(102);
    if (*gettok(SEP_STD)) return session::error(103);
    const int v = varlookup(oldname, true, varabbrev);
    if (v < 0) return -v;
    if (session::lp.byprefix) return session::error(190);
    return rename_var(v, newname.c_str());
}

// order varlist
int cmd_order(int) {
    if (int rc = parse_varlist(VL_ANY)) return rc;
    if (int rc = expect_end()) return rc;
    if (ps.count == 0) return session::required("varlist");
    std::vector<int> list(ps.var.begin(), ps.var.begin() + ps.count);
    return order_vars(list.data(), (int)list.size());
}

// _move var1 var2
int cmd_move(int) {
    if (int rc = parse_varlist(VL_ANY)) return rc;
    if (int rc = expect_end()) return rc;
    if (ps.count < 2) return session::error(102);
    if (ps.count > 2) return session::error(103);
    return move_var(ps.var[0], ps.var[1]);
}

void type_change_note(const TypeChange &c) {
    char from[8], to[8];
    out::ClassScope cs(out::CLS_TEXT);
    out::out_textf("%s was %s now %s\n", ds.varname[c.var - 1], type_name(c.from, from), type_name(c.to, to));
}

// compress [varlist]
int cmd_compress(int) {
    if (ds.nvar == 0) return session::error(3);
    if (int rc = parse_varlist(VL_ANY)) return rc;
    if (int rc = expect_end()) return rc;
    if (ps.count == 0)
        if (int rc = list_all()) return rc;
    std::vector<int> list(ps.var.begin(), ps.var.begin() + ps.count);
    std::vector<TypeChange> changes;
    const int rc = compress(list.data(), (int)list.size(), &changes);
    for (const TypeChange &c : changes)
        type_change_note(c);
    return rc;
}

// clear
int cmd_clear(int) {
    if (int rc = expect_end()) return rc;
    clear_dataset();
    return 0;
}

// _repart #width #obs    (exactly one of the two non-zero)
int cmd_repart(int) {
    long long d[2];
    for (long long &x : d) {
        std::string t = gettok(SEP_NUM);
        char *end;
        x = std::strtoll(t.c_str(), &end, 10);
        if (t.empty() || *end) return session::error(198);
    }
    if (int rc = expect_end()) return rc;
    if ((d[0] != 0) == (d[1] != 0)) return session::error(198);
    if (int rc = repartition(d[0], d[1])) return session::error(rc);
    return 0;
}

// set obs #
int cmd_set_obs(int) {
    int64_t n = 0;
    if (int rc = read_count(&n)) return rc;
    if (int rc = expect_end()) return rc;
    const int32_t old = ds.nobs;
    if (n == old) return 0;
    if (int rc = set_obs(n)) return rc;
    out::ClassScope cs(out::CLS_TEXT);
    out::out_textf("obs was %d, now %d\n", old, ds.nobs);
    return 0;
}

} // namespace data
