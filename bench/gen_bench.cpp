// generate, replace and count over 10,000,000 observations, through their command handlers as a
// typed line reaches them, with 1 and 2 processors: `generate double y = x*2 + z/3 - (w>1)`, the
// replace of the same, and `count if x > 0.5`. The data are those of the numpy peer in bench/run.sh.
#include <benchmark/benchmark.h>

#include <omp.h>

#include <cstdlib>
#include <string>

#include "data/count.h"
#include "data/dataset.h"
#include "data/gen.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/hexfloat.h"
#include "session/tok.h"

namespace {

constexpr int NOBS = 10000000;
const char *const EXP = "x*2 + z/3 - (w>1)";

int discard(void *, const uint8_t *, int) { return 0; }

// The data as a session would make them: set memory 1g, then x, z and w added one by one, so the
// row stride is what the store's growth gives.
void build() {
    static bool done = false;
    if (done) return;
    done = true;
    if (!session::compute_limits()) std::abort();
    out::RimuStream *s = out::stream_new();
    out::stream_set_sink(s, discard, nullptr);
    out::ch.current = s;
    if (data::data_init((int64_t)1 << 30, 5000, 400)) std::abort();
    if (data::set_obs(NOBS)) std::abort();
    int v = 0;
    for (const char *name : {"x", "z", "w"})
        if (data::add_var(name, data::T_DOUBLE, &v)) std::abort();
    for (int i = 1; i <= NOBS; ++i) {
        data::put_num(1, i, i * 0.5);
        data::put_num(2, i, (i % 1000) * 0.25);
        data::put_num(3, i, (i % 3) * 1.0);
    }
    // the row has room for the new column, as it has after a few variables in a session: the loops
    // are measured, not a repartition of the store
    if (data::add_var("y", data::T_DOUBLE, &v)) std::abort();
    data::cut_vars(3);
}

// Runs a command line through its handler, from a fresh command state.
int run(int (*handler)(int), const std::string &text) {
    static std::string line;
    data::command_begin();
    line = text;
    session::settok(line.c_str());
    return handler(0);
}

void processors(int n) {
    est::fr.processors = est::fr.processorsNow = n;
    est::fr.adaptiveTeams = n > 2;
    omp_set_num_threads(n);
}

void BM_generate(benchmark::State &st) {
    build();
    processors((int)st.range(0));
    for (auto _ : st) {
        if (run(data::cmd_generate, std::string("double y = ") + EXP)) std::abort();
        st.PauseTiming();
        data::cut_vars(3);
        st.ResumeTiming();
    }
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}
BENCHMARK(BM_generate)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

// The same with an `if` true in two observations of three: the selection pass and the list of the
// selected observations.
void BM_generate_if(benchmark::State &st) {
    build();
    processors((int)st.range(0));
    for (auto _ : st) {
        if (run(data::cmd_generate, std::string("double y = ") + EXP + " if w > 0")) std::abort();
        st.PauseTiming();
        data::cut_vars(3);
        st.ResumeTiming();
    }
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}
BENCHMARK(BM_generate_if)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

void BM_replace(benchmark::State &st) {
    build();
    processors((int)st.range(0));
    int y = 0;
    if (data::add_var("y", data::T_DOUBLE, &y)) std::abort();
    for (auto _ : st) {
        // every value changes: y starts at 0 each time
        st.PauseTiming();
        for (int i = 1; i <= NOBS; ++i)
            data::put_num(y, i, 0.0);
        st.ResumeTiming();
        if (run(data::cmd_replace, std::string("y = ") + EXP)) std::abort();
    }
    data::cut_vars(3);
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}
BENCHMARK(BM_replace)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

void BM_count(benchmark::State &st) {
    build();
    processors((int)st.range(0));
    for (auto _ : st)
        if (run(data::cmd_count, "if x > 0.5")) std::abort();
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}
BENCHMARK(BM_count)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
