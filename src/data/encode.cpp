// encode and decode: a string variable to numeric codes with a value label, and back.
#include "data/encode.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "data/dataset.h"
#include "data/labels.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "session/errors.h"
#include "session/options.h"

namespace data {

namespace {

// The one variable of a `varname` command and its sample.
int read_one_var(int *var, std::vector<int32_t> &obs) {
    if (ps.count > 1) return session::error(103);
    *var = ps.var[0];
    return sample_obs(obs);
}

// The smallest integer type that holds every code up to hi.
int code_type(int32_t lo, int32_t hi) {
    for (int t : {T_BYTE, T_INT})
        if (lo >= type_row(t).lo && hi <= type_row(t).hi) return t;
    return T_LONG;
}

} // namespace

// encode varname [if] [in], generate(newvar) [label(name) noextend]
int cmd_encode(int) {
    ParseSpec spec;
    spec.varlist = PO_REQUIRED;
    if (int rc = std_parse(spec)) return rc;
    std::string gen, label;
    bool noextend = false;
    const session::OptSpec opts[] = {session::opt_name("generate", 3, gen),
                                     session::opt_name("label", 5, label),
                                     session::opt_flag("noextend", 8, noextend)};
    if (int rc = std_options(opts)) return rc;
    if (gen.empty()) return session::fail(198, "option generate() required\n");
    int var = 0;
    std::vector<int32_t> obs;
    if (int rc = read_one_var(&var, obs)) return rc;
    if (!is_string_type(ds.vartype[var - 1])) return session::error(107);
    if (int rc = check_newname(gen.c_str())) return rc;
    if (label.empty()) label = gen;

    // The label as it stands: texts already coded keep their codes.
    std::vector<ValueLabel> entries;
    std::unordered_map<std::string, int32_t> code;
    int32_t top = 0;
    if (noextend && !vl_exists(label.c_str())) return session::label_not_found(label);
    if (vl_exists(label.c_str())) {
        vl_entries(label.c_str(), entries);
        for (const ValueLabel &e : entries) {
            code.emplace(e.text, e.key);
            if (e.key < 1000000000 && e.key > top) top = e.key;
        }
    }
    std::vector<std::string> fresh;
    std::vector<char> buf(maxstrvarlen + 1);
    for (int32_t i : obs) {
        get_str(var, i, buf.data());
        if (!buf[0]) continue;
        if (code.emplace(buf.data(), 0).second) fresh.emplace_back(buf.data());
    }
    if (!fresh.empty() && noextend)
        return session::fail(459, "there are values of " + std::string(ds.varname[var - 1]) +
                                      " not in value label " + label + "\n");
    // New texts take the codes after the highest, in sorted order.
    std::sort(fresh.begin(), fresh.end());
    if ((int64_t)top + (int64_t)fresh.size() > type_row(T_LONG).hi)
        return session::fail(134, "too many values\n");
    for (const std::string &s : fresh) {
        code[s] = ++top;
        entries.push_back({top, s});
    }
    int32_t lo = 1;
    for (const ValueLabel &e : entries)
        lo = std::min(lo, e.key);
    int nv = 0;
    const int before = ds.nvar;
    if (int rc = add_var(gen.c_str(), code_type(lo, std::max<int32_t>(top, 1)), &nv)) return rc;
    if (!fresh.empty()) {
        if (int rc = vl_store(label.c_str(), entries)) {
            cut_vars(before);
            return session::error(rc);
        }
    }
    fill_missing(nv, 1);
    for (int32_t i : obs) {
        get_str(var, i, buf.data());
        if (buf[0]) put_num(nv, i, code.find(buf.data())->second);
    }
    std::snprintf(ds.vallab[nv - 1], VNAMELEN + 1, "%s", label.c_str());
    return 0;
}

// decode varname [if] [in], generate(newvar) [maxlength(#)]
int cmd_decode(int) {
    ParseSpec spec;
    spec.varlist = PO_REQUIRED;
    if (int rc = std_parse(spec)) return rc;
    std::string gen;
    int maxlen = maxstrvarlen;
    const session::OptSpec opts[] = {session::opt_name("generate", 3, gen),
                                     session::opt_int("maxlength", 4, maxlen, 1, maxstrvarlen)};
    if (int rc = std_options(opts)) return rc;
    if (gen.empty()) return session::fail(198, "option generate() required\n");
    int var = 0;
    std::vector<int32_t> obs;
    if (int rc = read_one_var(&var, obs)) return rc;
    if (is_string_type(ds.vartype[var - 1])) return session::error(108);
    const char *lname = ds.vallab[var - 1];
    if (!lname[0] || !vl_exists(lname)) return session::not_labeled(ds.varname[var - 1]);
    if (int rc = check_newname(gen.c_str())) return rc;

    // One look-up per distinct value: the texts, then the width they need.
    std::vector<const char *> text(obs.size(), nullptr);
    std::unordered_map<double, const char *> seen;
    int width = 1;
    for (size_t k = 0; k < obs.size(); ++k) {
        const double x = get_num(var, obs[k]);
        auto it = seen.find(x);
        if (it == seen.end()) it = seen.emplace(x, vl_text(lname, x)).first;
        text[k] = it->second;
        if (text[k]) width = std::max(width, std::min(maxlen, (int)std::strlen(text[k])));
    }
    int nv = 0;
    if (int rc = add_var(gen.c_str(), width, &nv)) return rc;
    fill_missing(nv, 1);
    std::string cut;
    for (size_t k = 0; k < obs.size(); ++k) {
        if (!text[k]) continue;
        cut.assign(text[k], std::min<size_t>(std::strlen(text[k]), (size_t)width));
        put_str(nv, obs[k], cut.c_str());
    }
    return 0;
}

} // namespace data
