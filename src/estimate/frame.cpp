// The parallel frame: processors and the adaptive team rule, the granularity table, per-thread
// storage, and `set processors`.
#include "estimate/frame.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "session/errors.h"
#include "session/tok.h"

namespace est {

Frame fr;

// Granularity D of each kernel by its source module; a kernel not listed takes 100.
const GranRow granularity_table[] = {
    {"buildraw", "brwrk_smp brwrk_var_smp bwrkmp_u bwrkmean_u", 20},
    {"mleval", "mleval_u_smp mlsum_smp mlvecsum_u_smp mlmatsum_uxx_smp mlmatbysum_uxx_smp mlmatbysum_uxy_smp",
     20},
    {"gllamm", "gllamm_ord_u", 20},
    {"kiln/bi_robust kiln/bi_svy", "bi_robust bi_svy", 20},
    {"obslist", "buildobslist_smp buildobslistwithwgt_smp", D_OBSLIST},
    {"by count gen markcmd sort stats1",
     "byxeq_bi_gen countcmd gen_wrk_smp replace markcmd_smp markout_smp markin_smp smpsort smpsort1 "
     "doavar_smp",
     100},
    {"kiln/bicross kiln/bidcross", "dpcalc_*_obs qpcalc_*_obs", 100},
    {"kiln/bidcross", "dpcalc_xwz2_col qpcalc_xwz2_col", 5},
    {"ordpl probit tobit reg2 reg2iv predict quant1b recipe",
     "ordpllf_smp plscore_smp problf_smp loglf_smp fillin_smp toblf_smp reg2ess_smp reg2score_smp "
     "reg2score2_smp anopred_u_smp ml2pred_smp manopred_u_smp regpred_smp findmax calcres revarsub_smp",
     100},
    {"kmeans", "assign_obs_smp newcenters_mean_smp newcenters_prop_smp newcenters_medbin_smp", 50},
    {"kdensity", "kde_smp kde2_smp weight_smp", 10},
    {"summarize", "summarize_smp", 4}, // items are chunks of 4096 observations
    {"insheet", "csv_split_smp", 4},   // items are pieces of 64 KiB of text
    {"insheet", "csv_scan_smp csv_write_smp", 100},
    {"kiln/opmult matrin2", "multrc_rv_rv multrc_rv_ra multrc_ra_rv multrc_ra_ra multrc_na_na sweep_smp", 10},
    {"anova anotab manova manohypo manoextrabld",
     "mult_smp clean_smp anotest manohypo justdotest jdo2 matzazmult", 5},
    {"clogit compmeas matscore setfa xtadap xtml",
     "workonelf workmorelf docalcu_smp matscore_work setfa_smp getadap_u_smp xtllcalc_u_smp", 100},
};
const int granularity_rows = (int)(sizeof granularity_table / sizeof granularity_table[0]);

namespace {

// True when word is one of the blank-separated names; a name ending in `*_x` stands for a family.
bool in_names(const char *names, const char *word) {
    const size_t wl = std::strlen(word);
    for (const char *p = names; *p;) {
        while (*p == ' ')
            ++p;
        const char *e = p;
        while (*e && *e != ' ')
            ++e;
        std::string name(p, e);
        const size_t star = name.find('*');
        if (star == std::string::npos) {
            if (name.size() == wl && name == word) return true;
        } else {
            const std::string head = name.substr(0, star), tail = name.substr(star + 1);
            if (wl >= head.size() + tail.size() && std::strncmp(word, head.c_str(), head.size()) == 0 &&
                std::strcmp(word + wl - tail.size(), tail.c_str()) == 0)
                return true;
        }
        p = e;
    }
    return false;
}

int64_t ceil_div(int64_t a, int64_t b) { return (a + b - 1) / b; }

void runtime_threads(int n) { omp_set_num_threads(n < 1 ? 1 : n); }

} // namespace

int granularity(const char *kernel) {
    for (int r = 0; r < granularity_rows; ++r)
        if (in_names(granularity_table[r].kernels, kernel)) return granularity_table[r].D;
    return 100;
}

int processors_max() {
    int n = omp_get_num_procs();
    return n < 1 ? 1 : n;
}

void processors_init(int requested) {
    int n = (requested >= 1 && requested <= processors_max()) ? requested : 1;
    fr.processors = fr.processorsNow = n;
    fr.adaptiveTeams = n > 2;
    fr.teamSize = 1;
    runtime_threads(n);
}

int set_processors(int n) {
    if (n < 1 || n > processors_max()) return session::numlist_error(125, true);
    fr.processors = fr.processorsNow = n;
    fr.adaptiveTeams = n > 2;
    runtime_threads(n);
    return 0;
}

Team team_rule(int64_t n, int D, int processors, bool adaptive) {
    Team tm{processors < 1 ? 1 : processors, n < 0 ? 0 : n, 0, false};
    if (adaptive) {
        const int64_t a = std::max<int64_t>(ceil_div(tm.n, D) - 1, 1);
        const int64_t b = std::max<int64_t>((int64_t)std::ceil(std::sqrt((double)tm.n)) - 1, 1);
        tm.size = (int)std::min<int64_t>({(int64_t)tm.size, a, b});
    }
    tm.B = tm.n > 0 ? ceil_div(tm.n, tm.size) : 0;
    tm.parallel = tm.size != 1 && tm.B >= D + 1 && tm.B > tm.size;
    return tm;
}

Team choose_team(int64_t n, int D, bool safe) {
    Team tm = team_rule(n, D, safe ? fr.processors : 1, fr.adaptiveTeams);
    fr.teamSize = tm.size;
    return tm;
}

int ThreadStore::alloc(int threads, size_t each) {
    slot.clear();
    bytes = each;
    for (int t = 0; t < threads; ++t) {
        std::unique_ptr<unsigned char[]> p(new (std::nothrow) unsigned char[each ? each : 1]);
        if (!p) {
            slot.clear();
            return session::error(909);
        }
        std::memset(p.get(), 0, each ? each : 1);
        slot.push_back(std::move(p));
    }
    return 0;
}

TeamScope::TeamScope(int size) {
    if (size < fr.processors) {
        runtime_threads(size);
        fr.processorsNow = size;
    }
}

TeamScope::~TeamScope() {
    runtime_threads(fr.processors);
    fr.processorsNow = fr.processors;
}

} // namespace est
