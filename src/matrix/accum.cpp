// The cross-products of matrix accum and vecaccum: X'X (or x1'X) over the sample, observations with
// a missing value in any variable or in the weight left out.
#include "matrix/accum.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/xprod.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

namespace {

struct Cols {
    std::vector<int> var; // the variables, in order
    bool cons = true;
};

StripeName var_name(int v) {
    StripeName s;
    std::snprintf(s.name, sizeof s.name, "%s", data::ds.varname[v - 1]);
    return s;
}

StripeName cons_name() {
    StripeName s;
    std::strcpy(s.name, "_cons");
    return s;
}

// A numeric variable named by an option.
int option_var(const char *option, const std::string &name, int &v) {
    if (name.empty()) return required(std::string("option ") + option + "()");
    v = data::varlookup(name, true, data::varabbrev);
    if (v < 0) return -v;
    if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
    return 0;
}

// matrix glsaccum A = varlist [if] [in], group(gvar) glsmat(W) row(rvar) [noconstant]
// matrix opaccum A = varlist [if] [in], group(gvar) opvar(v) [noconstant]
// Groups are the distinct values of gvar, taken in ascending order wherever their observations
// stand; an observation with a missing value in any variable named is left out.
int accum_groups(int which) {
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (int rc = check_name(name)) return rc;
    const char *rest = tokrest();
    if (*rest != '=') return error(198);
    settok(rest + 1);
    data::ParseSpec spec;
    spec.varlist = data::PO_REQUIRED;
    if (int rc = data::std_parse(spec)) return rc;
    bool nocons = false;
    std::string gname, wname, rname, oname;
    std::vector<OptSpec> specs = {opt_flag("noconstant", 3, nocons), opt_name("group", 2, gname)};
    if (which == ACC_GLS) {
        specs.push_back(opt_name("glsmat", 4, wname));
        specs.push_back(opt_name("row", 3, rname));
    } else {
        specs.push_back(opt_name("opvar", 3, oname));
    }
    if (int rc = data::std_options(specs)) return rc;
    std::vector<int> vars;
    for (int32_t j = 0; j < data::ps.count; ++j) {
        const int v = data::ps.var[(size_t)j];
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
        vars.push_back(v);
    }
    int gvar = 0, aux = 0;
    if (int rc = option_var("group", gname, gvar)) return rc;
    if (which == ACC_GLS) {
        if (wname.empty()) return required("option glsmat()");
        if (int rc = option_var("row", rname, aux)) return rc;
    } else if (int rc = option_var("opvar", oname, aux)) {
        return rc;
    }
    Matrix w;
    if (which == ACC_GLS) {
        if (int rc = mat_load(wname.c_str(), ST_MATRIX, w)) return rc;
        if (w.rows != w.cols) return error(503);
    }
    const int nx = (int)vars.size(), k = nx + (nocons ? 0 : 1);
    if (int rc = check_matsize(k, k)) return rc;

    std::vector<int32_t> sample;
    if (int rc = data::sample_obs(sample)) return rc;
    // the kept observations of each group, in the order of the data
    std::map<double, std::vector<int32_t>> groups;
    for (int32_t i : sample) {
        const double g = data::get_num(gvar, i), a = data::get_num(aux, i);
        bool miss = data::is_missing(g) || data::is_missing(a);
        for (size_t j = 0; j < vars.size() && !miss; ++j)
            miss = data::is_missing(data::get_num(vars[j], i));
        if (miss) continue;
        if (which == ACC_GLS && (a < 1 || a > w.rows || a != std::floor(a))) return error(503);
        groups[g].push_back(i);
    }
    std::vector<double> acc((size_t)k * (size_t)k, 0.0), xi((size_t)k), z((size_t)k);
    auto row_of = [&](int32_t i, double *x) {
        for (int j = 0; j < nx; ++j)
            x[j] = data::get_num(vars[(size_t)j], i);
        if (!nocons) x[nx] = 1;
    };
    double nobs = 0;
    for (const auto &[g, obs] : groups) {
        if (session::poll_break()) return error(1);
        const size_t ng = obs.size();
        nobs += (double)ng;
        std::vector<double> x(ng * (size_t)k);
        for (size_t t = 0; t < ng; ++t)
            row_of(obs[t], &x[t * (size_t)k]);
        if (which == ACC_OP) {
            // u = X_g' v_g; the group adds u u'
            std::fill(z.begin(), z.end(), 0.0);
            for (size_t t = 0; t < ng; ++t) {
                const double e = data::get_num(aux, obs[t]);
                for (int j = 0; j < k; ++j)
                    z[(size_t)j] += e * x[t * (size_t)k + (size_t)j];
            }
            for (int a = 0; a < k; ++a)
                for (int b = 0; b < k; ++b)
                    acc[(size_t)a * (size_t)k + (size_t)b] += z[(size_t)a] * z[(size_t)b];
            continue;
        }
        // X_g' W_g X_g, W_g the rows and columns of W that row() gives for the group
        std::vector<int> r(ng);
        for (size_t t = 0; t < ng; ++t)
            r[t] = (int)data::get_num(aux, obs[t]) - 1;
        for (size_t t = 0; t < ng; ++t) {
            std::fill(z.begin(), z.end(), 0.0);
            for (size_t u = 0; u < ng; ++u) {
                const double wt = w.at(r[t], r[u]);
                for (int j = 0; j < k; ++j)
                    z[(size_t)j] += wt * x[u * (size_t)k + (size_t)j];
            }
            for (int a = 0; a < k; ++a)
                for (int b = 0; b < k; ++b)
                    acc[(size_t)a * (size_t)k + (size_t)b] += x[t * (size_t)k + (size_t)a] * z[(size_t)b];
        }
    }
    if (nobs == 0) return error(2000);
    Matrix m;
    m.resize(k, k);
    m.v = acc;
    for (int v : vars)
        m.rn.push_back(var_name(v));
    if (!nocons) m.rn.push_back(cons_name());
    m.cn = m.rn;
    m.sym = is_symmetric(m);
    if (int rc = mat_assign(name.c_str(), ST_MATRIX, m)) return rc;
    r_clear();
    return r_set_scalar("N", nobs);
}

} // namespace

// matrix accum A = varlist [if] [in] [weight] [, noconstant deviations]
// matrix vecaccum a = varlist [if] [in] [weight] [, noconstant]
int cmd_accum(int which) {
    if (which == ACC_GLS || which == ACC_OP) return accum_groups(which);
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (int rc = check_name(name)) return rc;
    const char *rest = tokrest();
    if (*rest != '=') return error(198);
    settok(rest + 1);
    data::ParseSpec spec;
    spec.varlist = data::PO_REQUIRED;
    spec.weight = data::PO_OPTIONAL;
    spec.wmask = data::WT_F | data::WT_A | data::WT_I | data::WT_P;
    if (int rc = data::std_parse(spec)) return rc;
    bool nocons = false, dev = false;
    std::vector<OptSpec> specs = {opt_flag("noconstant", 3, nocons)};
    if (which == ACC_ACCUM) specs.push_back(opt_flag("deviations", 3, dev));
    if (int rc = data::std_options(specs)) return rc;
    Cols c;
    for (int32_t k = 0; k < data::ps.count; ++k) {
        const int v = data::ps.var[(size_t)k];
        if (data::is_string_type(data::ds.vartype[v - 1])) return error(109);
        c.var.push_back(v);
    }
    if (which == ACC_VEC && c.var.empty()) return error(102);
    c.cons = !nocons;
    const int k = (int)c.var.size() + (c.cons ? 1 : 0);
    if (int rc = check_matsize(k, k)) return rc;
    const bool weighted = data::sm.wtype != data::WT_NONE;
    const int32_t lo = data::sample_lo(), hi = data::sample_hi();
    if (data::sm.ifpresent) data::sample_ranges(data::ifexp);
    if (weighted) data::sample_ranges(data::wtexp);

    std::vector<double> acc, centre((size_t)k, 0.0);
    double nobs = 0, sumw = 0;
    const bool safe =
        (!data::sm.ifpresent || data::ifexp.expressionSafe) && (!weighted || data::wtexp.expressionSafe);
    est::xprod::Pass pass;
    pass.var = &c.var;
    pass.cons = c.cons;
    pass.weighted = weighted;
    pass.vec = which == ACC_VEC;
    pass.lo = lo;
    pass.hi = hi;
    // deviations need the means first: one pass for the sums, a second for the products
    for (int step = dev ? 0 : 1; step < 2; ++step) {
        pass.sums = step == 0;
        pass.centre = step == 1 && dev ? centre.data() : nullptr;
        est::xprod::Sums s;
        if (int rc = est::xprod::run(pass, safe, s)) return rc;
        acc = std::move(s.acc);
        nobs = s.nobs;
        sumw = s.sumw;
        if (step == 0 && sumw > 0) {
            for (int j = 0; j < k; ++j)
                centre[(size_t)j] = s.sum[(size_t)j] / sumw;
            if (c.cons) centre[(size_t)k - 1] = 0;
        }
    }
    // analytic weights are scaled to sum to the number of observations
    if (data::sm.wtype == data::WT_A && sumw > 0) {
        for (double &v : acc)
            v *= nobs / sumw;
    }
    Matrix m;
    if (which == ACC_VEC) {
        m.resize(1, k - 1);
        for (int j = 1; j < k; ++j)
            m.at(0, j - 1) = acc[(size_t)j];
        m.rn.push_back(var_name(c.var[0]));
        for (size_t j = 1; j < c.var.size(); ++j)
            m.cn.push_back(var_name(c.var[j]));
    } else {
        m.resize(k, k);
        for (int a = 0; a < k; ++a)
            for (int b = 0; b <= a; ++b)
                m.at(a, b) = m.at(b, a) = acc[(size_t)a * (size_t)k + (size_t)b];
        m.sym = true;
        for (int v : c.var)
            m.rn.push_back(var_name(v));
    }
    if (c.cons) {
        StripeName s;
        std::strcpy(s.name, "_cons");
        (which == ACC_VEC ? m.cn : m.rn).push_back(s);
    }
    if (which != ACC_VEC) m.cn = m.rn;
    if (int rc = mat_assign(name.c_str(), ST_MATRIX, m)) return rc;
    r_clear();
    const bool fw = data::sm.wtype == data::WT_F;
    if (int rc = r_set_scalar("N", fw ? sumw : nobs)) return rc;
    if (weighted && !fw)
        if (int rc = r_set_scalar("sum_w", sumw)) return rc;
    return 0;
}

} // namespace mat
