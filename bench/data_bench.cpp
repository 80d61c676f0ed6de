// Dataset operations on 10,000,000 observations of 10 double variables: compress, order, keep of
// half the variables, and the observation-list builder with 1 and 2 processors (and its serial twin).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "data/dataset.h"
#include "estimate/frame.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/hexfloat.h"

namespace {

constexpr int NOBS = 10000000;
constexpr int NVAR = 10;

int discard(void *, const uint8_t *, int) { return 0; }

// A fresh dataset: v1..v5 small integers (compress makes them byte), v6..v10 with fractions (they
// stay double). v1 is also the marker of the observation lists: 0 in every third observation.
void build() {
    static bool once = false;
    if (!once) {
        once = true;
        if (!session::compute_limits()) std::abort();
        out::RimuStream *s = out::stream_new();
        out::stream_set_sink(s, discard, nullptr);
        out::ch.current = s;
    }
    const int64_t bytes = (int64_t)NOBS * 104 + (64 << 20);
    if (data::data_init(bytes, 5000, 400)) std::abort();
    char name[8];
    for (int v = 1; v <= NVAR; ++v) {
        std::snprintf(name, sizeof name, "v%d", v);
        if (data::add_var(name, data::T_DOUBLE, nullptr)) std::abort();
    }
    if (data::set_obs(NOBS)) std::abort();
    for (int i = 1; i <= NOBS; ++i) {
        for (int v = 1; v <= 5; ++v)
            data::put_num(v, i, (double)((i * v) % 3 == 0 ? 0 : (i + v) % 100));
        for (int v = 6; v <= NVAR; ++v)
            data::put_num(v, i, i * 0.25 + v);
    }
    data::command_start();
}

void BM_compress(benchmark::State &st) {
    for (auto _ : st) {
        st.PauseTiming();
        build();
        std::vector<int> all = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
        st.ResumeTiming();
        if (data::compress(all.data(), NVAR)) std::abort();
    }
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}

void BM_order_reverse(benchmark::State &st) {
    build();
    std::vector<int> rev = {10, 9, 8, 7, 6, 5, 4, 3, 2, 1};
    for (auto _ : st)
        if (data::order_vars(rev.data(), NVAR)) std::abort();
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}

void BM_keep_half(benchmark::State &st) {
    for (auto _ : st) {
        st.PauseTiming();
        build();
        std::vector<uint8_t> keep = {1, 0, 1, 0, 1, 0, 1, 0, 1, 0};
        st.ResumeTiming();
        if (data::keep_vars(keep.data())) std::abort();
    }
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}

void BM_buildobslist_smp(benchmark::State &st) {
    build();
    est::processors_init(1);
    est::fr.processors = est::fr.processorsNow = (int)st.range(0);
    est::fr.adaptiveTeams = st.range(0) > 2;
    const int mark = 1;
    est::ObsList list;
    for (auto _ : st) {
        if (est::buildobslist_smp(1, NOBS, est::obstest_marker, &mark, list)) std::abort();
        benchmark::DoNotOptimize(list.data());
    }
    st.counters["kept"] = (double)list.size();
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
    est::processors_init(1);
}

void BM_buildobslist_serial(benchmark::State &st) {
    build();
    const int mark = 1;
    est::ObsList list;
    for (auto _ : st) {
        if (est::buildobslist(1, NOBS, est::obstest_marker, &mark, list)) std::abort();
        benchmark::DoNotOptimize(list.data());
    }
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}

} // namespace

BENCHMARK(BM_compress)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_order_reverse)->Unit(benchmark::kMillisecond)->Iterations(4);
BENCHMARK(BM_keep_half)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_buildobslist_serial)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_buildobslist_smp)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(10)->UseRealTime();

BENCHMARK_MAIN();
