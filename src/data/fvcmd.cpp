// Factor-variable blocks beyond the parse: the level and mean pass, and testfv, fvdescribe, dumpfv.
#include "data/fvcmd.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/list.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace data {

namespace {

// The blocks in the order dumpfv shows them; `ints` blocks hold int32 values, the others doubles,
// and the two record blocks are shown field by field.
struct BlockRow {
    const char *name;
    bool ints;
    int per; // values per line
};
constexpr BlockRow blocks[] = {
    {"fv_toc", true, 4},         {"fv_varinfo", true, 4},         {"fv_factorinfo", false, 0},
    {"fv_interaction", true, 2}, {"fv_interactioninfo", true, 4}, {"fv_termlocs", true, 8},
    {"fv_ivarlocs", true, 8},    {"fv_factorlevels", false, 5},   {"fv_factormeans", false, 5},
    {"fv_intercells", true, 3},  {"fv_interlevels", false, 5},    {"fv_intermeans", false, 5},
};

template <class T> const T *get_block(const char *name, int32_t *count) {
    *count = 0;
    return static_cast<const T *>(session::store_find(name, ST_FVBLOCK, count));
}

// The term as it would be written inside i(): factors with a chosen base show it.
std::string term_text(const FvVarInfo *vi, int first, int nvars, const FvFactorInfo *fi) {
    std::string s;
    for (int k = first; k < first + nvars; ++k) {
        if (!s.empty()) s += '*';
        const char *name = ds.varname[vi[k].var - 1];
        if (vi[k].kind == 2) {
            s += std::string("c(") + name + ")";
            continue;
        }
        s += name;
        const FvFactorInfo &f = fi[vi[k].factor];
        if (f.basepref == FVB_FREQ) s += "(freq)";
        if (f.basepref == FVB_NONE) s += "(none)";
        if (f.basepref == FVB_VALUE) s += "(" + data::number_text(f.baseidx) + ")";
    }
    return s;
}

// A copy of every factor-variable block, put back when a command fails after it began to replace
// them, so a failing command leaves the blocks of the last good list.
struct SavedBlocks {
    struct Block {
        std::string name;
        int32_t length;
        std::vector<char> bytes;
    };
    std::vector<Block> blocks;
    SavedBlocks() {
        const char *name;
        int32_t length;
        for (void *p = session::store_walk(nullptr, &name, ST_FVBLOCK, &length); p;
             p = session::store_walk(p, &name, ST_FVBLOCK, &length)) {
            const char *b = static_cast<const char *>(p);
            blocks.push_back({name, length, std::vector<char>(b, b + session::store_header(p)->usedsize)});
        }
    }
    // Back to the saved blocks; a block that cannot be put back leaves none rather than a mixture.
    void restore() const {
        fv_drop_blocks();
        for (const Block &b : blocks)
            if (fv_put_block(b.name.c_str(), b.bytes.data(), b.bytes.size(), b.length)) {
                fv_drop_blocks();
                return;
            }
    }
};

} // namespace

void fv_drop_blocks() { session::store_drop_type(ST_FVBLOCK); }

int fv_means(const std::vector<int32_t> &obs) {
    const FvState &fv = ps.fv;
    const double N = (double)obs.size();
    // Level index of a factor's value: its place in the ascending levels of the factor.
    auto level_index = [&](const FvFactorInfo &f, double x) {
        const double *b = fv.levels.data() + f.levoff, *e = b + f.nlevels;
        return (int32_t)(std::lower_bound(b, e, x) - b);
    };
    // One pass over the sample: level counts of every factor, and for each interaction the sum of
    // its continuous product by combination of level indices (ordered as the levels' values).
    std::vector<double> fmeans(fv.levels.size(), 0.0);
    std::vector<std::map<std::vector<int32_t>, double>> sums(fv.terms.size());
    std::vector<int32_t> key;
    for (size_t j = 0; j < obs.size(); ++j) {
        if ((j & 4095) == 0 && session::poll_break()) return 1;
        for (const FvFactorInfo &f : fv.factors) {
            const int32_t idx = level_index(f, get_num(f.var, obs[j]));
            if (idx < f.nlevels) fmeans[(size_t)f.levoff + idx] += 1.0;
        }
        for (size_t t = 0; t < fv.terms.size(); ++t) {
            const FvTerm &tm = fv.terms[t];
            if (tm.nfactors == 0 || tm.nvars < 2) continue;
            key.clear();
            double prod = 1.0;
            for (int k = tm.first; k < tm.first + tm.nvars; ++k) {
                const FvVarInfo &vi = fv.varinfo[k];
                const double x = get_num(vi.var, obs[j]);
                if (vi.kind == 2)
                    prod *= x;
                else
                    key.push_back(level_index(fv.factors[vi.factor], x));
            }
            sums[t][key] += prod;
        }
    }
    if (N > 0)
        for (double &m : fmeans)
            m /= N;
    std::vector<int32_t> cells; // per term: first cell, cells, place of its first value in ilevels
    std::vector<double> ilevels, imeans;
    for (size_t t = 0; t < fv.terms.size(); ++t) {
        const FvTerm &tm = fv.terms[t];
        cells.insert(cells.end(), {(int32_t)imeans.size(), (int32_t)sums[t].size(), (int32_t)ilevels.size()});
        for (const auto &[k, sum] : sums[t]) {
            int q = 0;
            for (int v = tm.first; v < tm.first + tm.nvars; ++v) {
                const FvVarInfo &vi = fv.varinfo[v];
                if (vi.kind == 1)
                    ilevels.push_back(fv.levels[(size_t)fv.factors[vi.factor].levoff + k[(size_t)q++]]);
            }
            imeans.push_back(N > 0 ? sum / N : 0.0);
        }
    }
    int rc = fv_put_block("fv_factormeans", fmeans.data(), fmeans.size() * 8, (int32_t)fmeans.size());
    if (!rc) rc = fv_put_block("fv_intercells", cells.data(), cells.size() * 4, (int32_t)fv.terms.size());
    if (!rc) rc = fv_put_block("fv_interlevels", ilevels.data(), ilevels.size() * 8, (int32_t)imeans.size());
    if (!rc) rc = fv_put_block("fv_intermeans", imeans.data(), imeans.size() * 8, (int32_t)imeans.size());
    if (rc) fv_drop_blocks(); // the store wrote "insufficient memory for" the block
    return rc;
}

namespace {

// testfv's work; on failure the caller puts the former blocks back.
int testfv_run() {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.vlflags = VL_FV;
    spec.options = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    if (ps.count == 0) return session::error(102);
    std::vector<int32_t> obs;
    if (int rc = sample_obs(obs)) return rc;
    // Every variable of the list, plain or inside a term, must be numeric and not missing.
    std::vector<int> vars;
    for (int k = 0; k < ps.count; ++k)
        if (ps.var[k] >= 1 && ps.info[k].fvterm == 0) vars.push_back(ps.var[k]);
    for (const FvVarInfo &vi : ps.fv.varinfo)
        vars.push_back(vi.var);
    for (int v : vars)
        if (is_string_type(ds.vartype[v - 1])) return session::error(109);
    std::vector<int32_t> sample;
    sample.reserve(obs.size());
    for (int32_t i : obs) {
        bool ok = true;
        for (int v : vars)
            if (is_missing(get_num(v, i))) {
                ok = false;
                break;
            }
        if (ok) sample.push_back(i);
    }
    if (session::poll_break()) return 1;
    if (int rc = fv_means(sample)) return rc;

    out::ClassScope cs(out::CLS_TEXT);
    out::out_rimuf("{txt}No. of terms: {res}%d\n\n", ps.count);
    out::out_rimu("{txt}  Term  Variables                       Kind            Levels\n");
    out::out_rimu("{txt}{hline 62}\n");
    int32_t ncells = 0;
    const int32_t *cellv = get_block<int32_t>("fv_intercells", &ncells);
    for (int k = 0; k < ps.count; ++k) {
        std::string name, kind, levels;
        if (ps.info[k].fvterm == 0) {
            name = list_entry_text(k);
            kind = "variable";
        } else {
            const int t = ps.info[k].fvterm - 1;
            const FvTerm &tm = ps.fv.terms[(size_t)t];
            name = "i(" + term_text(ps.fv.varinfo.data(), tm.first, tm.nvars, ps.fv.factors.data()) + ")";
            if (tm.nvars == 1 && tm.nfactors == 1) {
                kind = "factor";
                levels = std::to_string(ps.fv.factors[(size_t)ps.fv.varinfo[tm.first].factor].nlevels);
            } else if (tm.nfactors == 0) {
                kind = "continuous";
            } else {
                kind = "interaction";
                levels = std::to_string(cellv && t < ncells ? cellv[3 * t + 1] : 0) + " of " +
                         std::to_string(tm.ncells);
            }
        }
        if (name.size() > 30) name = name.substr(0, 29) + "~";
        out::out_rimuf("{txt}%6d  {res}%-30s  {txt}%-12s{res}%9s\n", k + 1, name.c_str(), kind.c_str(),
                       levels.c_str());
    }
    mat::r_clear();
    int rc = mat::r_set_scalar("N", (double)sample.size());
    if (!rc) rc = mat::r_set_scalar("k", ps.count);
    return rc;
}

} // namespace

// testfv varlist [if exp] [in range]
// Parses the list as an estimation command would (factor-variable groups allowed), takes the
// observations where none of its variables is missing, makes the level and mean blocks and shows
// the terms. r(N): the observations used; r(k): the terms.
int cmd_testfv(int) {
    const SavedBlocks saved;
    fv_drop_blocks();
    int rc = testfv_run();
    if (rc) saved.restore();
    return rc;
}

// fvdescribe
// The terms of the last factor-variable list and the levels of each factor, base marked with b,
// with the share of each level and the mean of each interaction cell once testfv has made them.
int cmd_fvdescribe(int) {
    if (*session::gettok(session::SEP_STD)) return session::error(198);
    int32_t nterms = 0, nvi = 0, nfi = 0, nlev = 0, nmeans = 0, ncells = 0, ninter = 0;
    const int32_t *inter = get_block<int32_t>("fv_interaction", &nterms);
    const int32_t *info = get_block<int32_t>("fv_interactioninfo", &ninter);
    const FvVarInfo *vi = get_block<FvVarInfo>("fv_varinfo", &nvi);
    const FvFactorInfo *fi = get_block<FvFactorInfo>("fv_factorinfo", &nfi);
    const double *lev = get_block<double>("fv_factorlevels", &nlev);
    const double *means = get_block<double>("fv_factormeans", &nmeans);
    const int32_t *cells = get_block<int32_t>("fv_intercells", &ncells);
    int32_t nil = 0, nim = 0;
    const double *ilev = get_block<double>("fv_interlevels", &nil);
    const int64_t nilv = ilev ? session::store_header(const_cast<double *>(ilev))->usedsize / 8 : 0;
    const double *imeans = get_block<double>("fv_intermeans", &nim);
    out::ClassScope cs(out::CLS_TEXT);
    if (!inter || !info || !vi || nterms == 0) {
        out::out_text("(no factor-variable terms)\n");
        return 0;
    }
    if (!fi) nfi = 0;
    if (!lev) nlev = 0;
    if (means && nmeans != nlev) means = nullptr;
    for (int t = 0; t < nterms; ++t) {
        const int first = inter[2 * t], nvars = inter[2 * t + 1];
        const int nfactors = info[4 * t], ncont = info[4 * t + 1];
        if (first < 0 || nvars < 1 || first + nvars > nvi) break; // blocks of another shape: stop
        for (int k = first; k < first + nvars; ++k)
            if (vi[k].var < 1 || vi[k].var > ds.nvar ||
                (vi[k].kind == 1 && (vi[k].factor < 0 || vi[k].factor >= nfi))) {
                out::out_text("(the factor-variable blocks no longer match the dataset)\n");
                return 0;
            }
        std::string text = term_text(vi, first, nvars, fi);
        const char *kind = nfactors == 1 && ncont == 0 ? "factor"
                           : nfactors == 0             ? "continuous"
                                                       : "interaction";
        out::out_rimuf("{txt}term %d: {res}%s{txt}, %s\n", t + 1, text.c_str(), kind);
        if (nfactors == 1 && ncont == 0) {
            const FvFactorInfo &f = fi[vi[first].factor];
            if (f.levoff < 0 || f.levoff + f.nlevels > nlev) continue;
            out::out_rimu(means ? "{txt}         level       share\n" : "{txt}         level\n");
            for (int l = 0; l < f.nlevels; ++l) {
                std::string s = data::number_text(lev[f.levoff + l]) + (l == f.baselevel ? "b" : " ");
                if (means)
                    out::out_rimuf("{res}%15s  %10.4f\n", s.c_str(), means[f.levoff + l]);
                else
                    out::out_rimuf("{res}%15s\n", s.c_str());
            }
        } else if (nfactors >= 1 && cells && t < ncells && ilev && imeans) {
            const int c0 = cells[3 * t], nc = cells[3 * t + 1];
            const int64_t off = cells[3 * t + 2];
            if (c0 < 0 || nc < 0 || c0 + nc > nim || off < 0 || off + (int64_t)nc * nfactors > nilv) continue;
            out::out_rimuf("{txt}  %d of %d cells in the data\n", nc, info[4 * t + 3]);
            out::out_rimu("{txt}          cell        mean\n");
            for (int c = 0; c < nc; ++c) {
                std::string s;
                for (int q = 0; q < nfactors; ++q)
                    s += (q ? " " : "") + data::number_text(ilev[off + (int64_t)c * nfactors + q]);
                out::out_rimuf("{res}%14s  %10.4f\n", s.c_str(), imeans[c0 + c]);
            }
        }
    }
    return 0;
}

// dumpfv
// Every factor-variable block in the store: its name, records and bytes, then its values.
int cmd_dumpfv(int) {
    if (*session::gettok(session::SEP_STD)) return session::error(198);
    out::ClassScope cs(out::CLS_TEXT);
    bool any = false;
    for (const BlockRow &b : blocks) {
        int32_t n = 0;
        void *p = session::store_find(b.name, ST_FVBLOCK, &n);
        if (!p) continue;
        any = true;
        const int64_t size = session::store_header(p)->usedsize;
        out::out_rimuf("{txt}%s: %d records, %lld bytes\n", b.name, n, (long long)size);
        if (std::strcmp(b.name, "fv_factorinfo") == 0) {
            const auto *f = static_cast<const FvFactorInfo *>(p);
            for (int k = 0; k < n && (int64_t)(k + 1) * (int64_t)sizeof(FvFactorInfo) <= size; ++k)
                out::out_rimuf(
                    "{res}  var %d basepref %d base %s levels %d at %d baselevel %d term %d min %s max %s\n",
                    f[k].var, f[k].basepref, data::number_text(f[k].baseidx).c_str(), f[k].nlevels,
                    f[k].levoff, f[k].baselevel, f[k].term, data::number_text(f[k].minlevel).c_str(),
                    data::number_text(f[k].maxlevel).c_str());
            continue;
        }
        const int64_t nvals = size / (b.ints ? 4 : 8);
        std::string line;
        for (int64_t k = 0; k < nvals; ++k) {
            line += ' ';
            line += b.ints ? std::to_string(static_cast<const int32_t *>(p)[k])
                           : data::number_text(static_cast<const double *>(p)[k]);
            if ((k + 1) % b.per == 0 || k + 1 == nvals) {
                out::out_rimuf("{res} %s\n", line.c_str());
                line.clear();
            }
        }
    }
    if (!any) out::out_text("(no factor-variable blocks)\n");
    return 0;
}

} // namespace data
