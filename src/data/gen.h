// generate and replace: the commands, and the steps of them that the `by` prefix's one-pass paths
// reuse (byxeq_bi_gen, byxeq_bi_rep).
#pragma once
#include <span>
#include <string>

#include "data/gen_smp.h"

namespace data {

// generate [type] newvar = exp [if] [in]
int cmd_generate(int);
// replace oldvar = exp [if] [in] [, nopromote]
int cmd_replace(int);

// ---- The steps ----------------------------------------------------------------------------------

// generate's line behind the command word, read through the tokenizer: `[type] newvar`, then the
// standard parse of `= exp [if] [in]`, which compiles eqexp and ifexp and leaves the sample.
struct GenLine {
    std::string name;
    int type = 0; // the storage type: the one written, else str1 for text, else the default (set type)
    int var = 0;  // in a later by-group, the variable the first group made; else 0
};
int gen_parse(GenLine &g);
// Adds the variable of g; the cells outside observations lo..hi get `.` or "" (all of them when lo
// is above hi) and their count goes to *filled. 0 or the code with the message written.
int gen_newvar(const GenLine &g, int32_t lo, int32_t hi, int *v, int64_t *filled);
// "(# missing values generated)", nothing for none, nothing under quietly.
void gen_note(const GenCounts &c);

// replace's line behind the command word.
struct RepLine {
    int var = 0;
    bool promote = true; // automatic promotion: version 3.2 and later, without nopromote
};
int rep_parse(RepLine &r);
// The report: the type change of v since it had type from, the real changes, the truncated values
// and those changed to missing by the storage type.
void rep_note(int v, int from, const RepCounts &c);

// ---- One pass over many by-groups --------------------------------------------------------------
//
// The whole command for the `by` prefix's one-pass path: the tokenizer stands behind the command
// word, lp.byprefix is set, and groups hold every by-group in order (ascending, not overlapping). The
// line is read once; when its `=exp` (and `if`) are pure the command runs over all groups in one
// pass (gen_run / rep_run with bygroups set: each group's bounds in the records, a group never split
// between threads, the results those of the group loop), writes its report once, sets *taken and
// returns 0 or the code of a failure, after which the variable count is as it was. When they are not
// pure, *taken stays false, nothing has changed, and the caller runs the group loop. The by-state is
// set aside during the call: the pass stands for all groups.
int gen_by_groups(std::span<const ObsGroup> groups, bool *taken);
int rep_by_groups(std::span<const ObsGroup> groups, bool *taken);

} // namespace data
