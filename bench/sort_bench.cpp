// sort over 10,000,000 observations: `sort x` of random doubles and `sort g x` with 1,000 groups, with
// 1 and 2 processors. Beside the time, the peak resident size the sort added to the process, in
// bytes per observation (extra_B_per_obs): the index tables are part of the data area, so this is
// what the sort takes beyond them.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <string>

#include "data/dataset.h"
#include "data/sort.h"
#include "estimate/frame.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/hexfloat.h"
#include "session/state.h"

namespace {

constexpr int NOBS = 10000000;

int discard(void *, const uint8_t *, int) { return 0; }

// x: uniform doubles; g: a long of 1,000 values. The rows stand in random order of both.
void build() {
    static bool built = false;
    if (built) return;
    built = true;
    if (!session::compute_limits()) std::abort();
    out::RimuStream *s = out::stream_new();
    out::stream_set_sink(s, discard, nullptr);
    out::ch.current = s;
    if (data::data_init((int64_t)NOBS * 40 + (64 << 20), 5000, 400)) std::abort();
    if (data::add_var("x", data::T_DOUBLE, nullptr) || data::add_var("g", data::T_LONG, nullptr))
        std::abort();
    if (data::set_obs(NOBS)) std::abort();
    uint64_t st = 12345;
    for (int i = 1; i <= NOBS; ++i) {
        st = st * 6364136223846793005ull + 1442695040888963407ull;
        data::put_num(1, i, (double)(st >> 11) / 9007199254740992.0);
        data::put_num(2, i, (double)((st >> 20) % 1000));
    }
    data::command_start();
}

// Resident and peak resident size in kilobytes; writing 5 to clear_refs starts the peak again.
long status_kb(const char *field) {
    FILE *f = std::fopen("/proc/self/status", "r");
    if (!f) return -1;
    char line[256];
    long v = -1;
    const size_t n = std::strlen(field);
    while (std::fgets(line, sizeof line, f))
        if (std::strncmp(line, field, n) == 0) v = std::atol(line + n);
    std::fclose(f);
    return v;
}
void reset_peak() {
    if (FILE *f = std::fopen("/proc/self/clear_refs", "w")) {
        std::fputs("5", f);
        std::fclose(f);
    }
}

void run_sort(benchmark::State &st, const std::vector<int> &keys) {
    build();
    est::set_processors((int)st.range(0));
    double extra = 0;
    for (auto _ : st) {
        st.PauseTiming();
        std::iota(data::ds.index, data::ds.index + NOBS, 0);
        data::ds.sortlist[0] = 0;
        const long before = status_kb("VmRSS:");
        reset_peak();
        st.ResumeTiming();
        if (data::sort_keys(keys.data(), (int)keys.size(), 1, NOBS, false, true)) std::abort();
        st.PauseTiming();
        const long peak = status_kb("VmHWM:");
        if (before > 0 && peak > 0) extra = (double)(peak - before) * 1024.0 / NOBS;
        st.ResumeTiming();
    }
    st.counters["extra_B_per_obs"] = extra;
    st.counters["peak_MB"] = (double)status_kb("VmHWM:") / 1024.0;
    est::set_processors(1);
}

void BM_sort_x(benchmark::State &st) { run_sort(st, {1}); }
void BM_sort_g_x(benchmark::State &st) { run_sort(st, {2, 1}); }

} // namespace

BENCHMARK(BM_sort_x)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_sort_g_x)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK_MAIN();
