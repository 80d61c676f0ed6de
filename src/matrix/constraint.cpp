// Linear constraints: the numbered definitions, the constraint matrix and its listing.
#include "matrix/constraint.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "data/varlist.h"
#include "matrix/linexp.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

namespace {

// The constraints in force: the last makeCns, with the numbers of its rows.
struct InForce {
    bool set = false;
    Matrix C;
    std::vector<int> numbers;
    std::vector<LinRow> rows;
    std::vector<StripeName> stripe;
};
InForce in_force;

std::string trim(std::string s) {
    s.erase(0, s.find_first_not_of(' '));
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    return s;
}

std::string key(int n) { return std::to_string(n); }

// A constraint number: an integer from 1 to 1999.
int read_number(const std::string &w, int &n) {
    char *end = nullptr;
    const long v = std::strtol(w.c_str(), &end, 10);
    if (w.empty() || *end || v < 1 || v > CNS_MAX)
        return fail(198, "constraint number must be between 1 and 1999\n");
    n = (int)v;
    return 0;
}

// A numlist of constraint numbers; empty text gives every defined one.
int read_numbers(const std::string &text, std::vector<int> &out) {
    out.clear();
    if (trim(text).empty()) {
        out = cns_defined();
        return 0;
    }
    data::NumlistOpts opt;
    opt.integer = true;
    opt.min = 1;
    opt.max = CNS_MAX;
    std::vector<double> v;
    if (int rc = data::numlist_parse(text, opt, v, false)) return rc;
    for (double x : v)
        out.push_back((int)x);
    return 0;
}

int define(int n, const std::string &text) {
    const std::string t = trim(text);
    if (t.empty()) return error(198);
    if (void *p = store_find(key(n).c_str(), ST_CONSTRAINT, nullptr)) store_delete(p);
    if (!store_add_copy(key(n).c_str(), ST_CONSTRAINT, (int32_t)t.size(), t.data(), (int64_t)t.size()))
        return error(909);
    return 0;
}

int list(const std::string &text) {
    std::vector<int> nums;
    if (int rc = read_numbers(text, nums)) return rc;
    for (int n : nums) {
        std::string t;
        if (!cns_text(n, t)) continue;
        char head[24];
        std::snprintf(head, sizeof head, "%5d:  ", n);
        {
            out::ClassScope cs(out::CLS_TEXT);
            if (int rc = out::out_text(head)) return rc;
        }
        if (int rc = out::out_text(t)) return rc;
        if (int rc = out::out_newline()) return rc;
    }
    return 0;
}

// Gram-Schmidt against the rows kept so far: x loses the part that they span, and the norm of what
// is left is returned.
double orthogonalize(std::vector<double> &x, const std::vector<std::vector<double>> &basis) {
    for (const std::vector<double> &q : basis) {
        double d = 0;
        for (size_t j = 0; j < x.size(); ++j)
            d += x[j] * q[j];
        for (size_t j = 0; j < x.size(); ++j)
            x[j] -= d * q[j];
    }
    double s = 0;
    for (double v : x)
        s += v * v;
    return std::sqrt(s);
}

double residual_norm(std::vector<double> x, const std::vector<std::vector<double>> &basis) {
    return orthogonalize(x, basis);
}

void add_basis(std::vector<double> x, std::vector<std::vector<double>> &basis) {
    const double s = orthogonalize(x, basis);
    for (double &v : x)
        v /= s;
    basis.push_back(x);
}

double norm(const std::vector<double> &x) {
    double s = 0;
    for (double v : x)
        s += v * v;
    return std::sqrt(s);
}

constexpr double DEP_TOL = 1e-10;

} // namespace

bool cns_text(int n, std::string &text) {
    int32_t len = 0;
    const char *p = static_cast<const char *>(store_find(key(n).c_str(), ST_CONSTRAINT, &len));
    if (!p) return false;
    text.assign(p, (size_t)len);
    return true;
}

std::vector<int> cns_defined() {
    std::vector<int> out;
    for (int n = 1; n <= CNS_MAX; ++n)
        if (store_find(key(n).c_str(), ST_CONSTRAINT, nullptr)) out.push_back(n);
    return out;
}

bool cns_in_force(Matrix &m) {
    if (!in_force.set) return false;
    m = in_force.C;
    return true;
}

void cns_reset() { in_force = InForce(); }

int cmd_constraint(int) {
    const std::string sub = gettok(SEP_STD);
    if (sub.empty()) return error(198);
    const std::string rest = tokrest();
    if (sub[0] >= '0' && sub[0] <= '9') {
        int n;
        if (int rc = read_number(sub, n)) return rc;
        return define(n, rest);
    }
    if (cmdmatch(sub.c_str(), "define", 3)) {
        const std::string w = gettok(SEP_STD);
        int n;
        if (int rc = read_number(w, n)) return rc;
        return define(n, tokrest());
    }
    if (sub == "dir" || cmdmatch(sub.c_str(), "list", 1)) return list(rest);
    if (sub == "drop") {
        if (trim(rest) == "_all") {
            store_drop_type(ST_CONSTRAINT);
            return 0;
        }
        if (trim(rest).empty()) return error(198);
        std::vector<int> nums;
        if (int rc = read_numbers(rest, nums)) return rc;
        for (int n : nums)
            if (void *p = store_find(key(n).c_str(), ST_CONSTRAINT, nullptr)) store_delete(p);
        return 0;
    }
    if (sub == "get") {
        const std::string w = gettok(SEP_STD);
        int n;
        if (int rc = read_number(w, n)) return rc;
        if (*tokrest()) return invalid_rest(tokrest());
        std::string t;
        const bool d = cns_text(n, t);
        r_clear();
        if (int rc = r_set_scalar("defined", d ? 1 : 0)) return rc;
        if (d)
            if (int rc = r_set_macro("contents", t)) return rc;
        return 0;
    }
    if (sub == "free") {
        if (!trim(rest).empty()) return invalid_rest(rest);
        int n = 1;
        while (n <= CNS_MAX && store_find(key(n).c_str(), ST_CONSTRAINT, nullptr))
            ++n;
        r_clear();
        return r_set_scalar("free", n <= CNS_MAX ? n : 0);
    }
    return invalid_text(sub);
}

// matrix makeCns [numlist]
int cmd_makecns(int) {
    std::vector<StripeName> stripe;
    if (int rc = posted_stripe(stripe)) return rc;
    std::vector<int> nums;
    if (int rc = read_numbers(tokrest(), nums)) return rc;
    const size_t k = stripe.size();
    InForce next;
    next.stripe = stripe;
    std::vector<std::vector<double>> basis, aug_basis;
    std::vector<int> dropped;
    for (int n : nums) {
        std::string t;
        if (!cns_text(n, t)) return fail(111, "constraint " + key(n) + " not defined\n");
        LinRow row;
        if (int rc = parse_linexp(t, stripe, row)) return rc;
        std::vector<double> aug = row.R;
        aug.push_back(row.r);
        const double n_r = norm(row.R);
        const bool dep = n_r == 0 || residual_norm(row.R, basis) <= DEP_TOL * n_r;
        const double n_a = norm(aug);
        const bool aug_dep = n_a == 0 || residual_norm(aug, aug_basis) <= DEP_TOL * n_a;
        if (dep && !aug_dep) {
            {
                out::ClassScope cs(out::CLS_TEXT);
                out::out_textf("constraint %d contradicts those before it\n", n);
            }
            return error(412);
        }
        if (dep) {
            dropped.push_back(n);
            continue;
        }
        add_basis(row.R, basis);
        add_basis(aug, aug_basis);
        next.numbers.push_back(n);
        next.rows.push_back(row);
    }
    Matrix &C = next.C;
    C.resize((int)next.rows.size(), (int)k + 1);
    for (size_t i = 0; i < next.rows.size(); ++i) {
        for (size_t j = 0; j < k; ++j)
            C.at((int)i, (int)j) = next.rows[i].R[j];
        C.at((int)i, (int)k) = next.rows[i].r;
    }
    C.cn = stripe;
    StripeName r;
    std::snprintf(r.name, sizeof r.name, "_r");
    C.cn.push_back(r);
    next.set = true;
    in_force = next;
    for (int n : dropped) {
        out::ClassScope cs(out::CLS_TEXT);
        if (int rc = out::out_textf("note: constraint %d dropped: it depends on those before it\n", n))
            return rc;
    }
    return 0;
}

// matrix dispCns
int cmd_dispcns(int) {
    if (*tokrest()) return invalid_rest(tokrest());
    if (!in_force.set || in_force.rows.empty()) {
        out::ClassScope cs(out::CLS_TEXT);
        return out::out_text("(no constraints in force)\n");
    }
    for (size_t i = 0; i < in_force.rows.size(); ++i) {
        char head[24];
        std::snprintf(head, sizeof head, "%3d:  ", in_force.numbers[i]);
        {
            out::ClassScope cs(out::CLS_TEXT);
            if (int rc = out::out_text(head)) return rc;
        }
        if (int rc = out::out_text(linrow_text(in_force.rows[i], in_force.stripe))) return rc;
        if (int rc = out::out_newline()) return rc;
    }
    return 0;
}

} // namespace mat
