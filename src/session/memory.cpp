// The `memory` command: the usage table and its r() results.
#include "session/memory.h"

#include "data/dataset.h"

#include <string>

#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/sedit2.h"
#include "session/store.h"
#include "session/tok.h"

namespace session {

// Until the dataset supplies its figures the area is allocated and empty.
__attribute__((weak)) int32_t memory_adosize() { return 1000; }

namespace {

enum Fig { F_OH, F_DATA, F_DOH, F_FREE, F_TOTAL, F_MAXVAR, F_MATSIZE, F_DM, F_OTHER, F_GRAND, F_COUNT };
enum LineKind { L_BLANK, L_HEAD, L_FIG, L_RULE };

struct Line {
    LineKind kind;
    int indent;
    const char *label;
    Fig fig;
};

// The table as shown, figures in megabytes in the column that ends at 44.
constexpr Line lines[] = {
    {L_BLANK, 0, "", F_OH},
    {L_HEAD, 0, "Details of {cmd:set memory} usage", F_OH},
    {L_FIG, 4, "overhead (pointers)", F_OH},
    {L_FIG, 4, "data", F_DATA},
    {L_RULE, 0, "", F_OH},
    {L_FIG, 4, "data + overhead", F_DOH},
    {L_FIG, 4, "free", F_FREE},
    {L_RULE, 0, "", F_OH},
    {L_FIG, 0, "Total allocated", F_TOTAL},
    {L_BLANK, 0, "", F_OH},
    {L_HEAD, 0, "Other memory usage", F_OH},
    {L_FIG, 4, "{cmd:set maxvar} usage", F_MAXVAR},
    {L_FIG, 4, "{cmd:set matsize} usage", F_MATSIZE},
    {L_FIG, 4, "programs, saved results, etc.", F_DM},
    {L_RULE, 0, "", F_OH},
    {L_FIG, 4, "Total", F_OTHER},
    {L_RULE, 0, "", F_OH},
    {L_FIG, 0, "Grand total", F_GRAND},
    {L_BLANK, 0, "", F_OH},
};

constexpr double MB = 1048576.0;

int show_table(const double (&fig)[F_COUNT]) {
    int rc = 0;
    for (const Line &l : lines) {
        {
            out::ClassScope cs(out::CLS_TEXT);
            out::out_text("");
            out::out_blanks(l.indent);
            if (l.kind == L_HEAD)
                out::out_rimu(std::string(l.label) + "{col 43}MB");
            else if (l.kind == L_FIG)
                out::out_rimu(std::string(l.label) + "{col 35}");
            else if (l.kind == L_RULE)
                out::out_rimu("{col 35}{hline 10}");
        }
        if (l.kind == L_FIG) {
            out::ClassScope cs(out::CLS_RESULT);
            out::out_textf("%10.2f", fig[l.fig] / MB);
        }
        rc = out::out_newline();
        if (rc) break;
    }
    return rc;
}

// r() of this command replaces the former r().
void clear_r() { mat::r_clear(); }

int post_scalar(const char *name, double v) { return mat::r_set_scalar(name, v); }

} // namespace

// memory
int cmd_memory(int) {
    if (*gettok(SEP_STD)) return error(198);
    const data::MemInfo f = data::data_memory_info();
    double fig[F_COUNT];
    fig[F_OH] = (double)f.M_oh;
    fig[F_DATA] = (double)f.M_data;
    fig[F_DOH] = fig[F_OH] + fig[F_DATA];
    fig[F_FREE] = (double)f.M_total - fig[F_DOH];
    fig[F_TOTAL] = (double)f.M_total;
    fig[F_MAXVAR] = (double)f.maxvar_bytes;
    fig[F_MATSIZE] = (double)st.matsize * st.matsize * 8.0;
    fig[F_DM] = (double)store_bytes();
    fig[F_OTHER] = fig[F_MAXVAR] + fig[F_MATSIZE] + fig[F_DM];
    fig[F_GRAND] = fig[F_TOTAL] + fig[F_OTHER];
    if (int rc = show_table(fig)) return rc;

    clear_r();
    const struct {
        const char *name;
        double v;
    } results[] = {
        {"N_cur", (double)f.N_cur},      {"N_curmax", (double)f.N_curmax},
        {"k_cur", (double)f.k_cur},      {"w_cur", (double)f.w_cur},
        {"M_total", (double)f.M_total},  {"M_data", (double)f.M_data},
        {"M_dyn", (double)f.M_dyn},      {"size_ptr", (double)f.size_ptr},
        {"width", (double)f.width},      {"adosize", (double)memory_adosize()},
        {"matsize", (double)st.matsize}, {"n_repart", (double)f.n_repart},
        {"n_shift", (double)f.n_shift},  {"M_oh", (double)f.M_oh},
        {"M_matsize", fig[F_MATSIZE]},   {"M_dm", fig[F_DM]},
    };
    for (const auto &r : results)
        if (int rc = post_scalar(r.name, r.v)) return rc;
    return 0;
}

} // namespace session
