// save and use of 1,000,000 observations by 10 doubles (an 80 MB file), through their command
// handlers as a typed line reaches them; and use of 3 of the 10 variables. bench/dta.sh runs it beside
// its peers (R's haven, pandas, cp) on the same file.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "data/dataset.h"
#include "data/labels.h"
#include "data/usecmd.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/hexfloat.h"
#include "session/tok.h"

namespace {

constexpr int NOBS = 1000000, NVAR = 10;

int discard(void *, const uint8_t *, int) { return 0; }

std::string file() {
    const char *dir = std::getenv("DTA_BENCH_DIR");
    return std::string(dir ? dir : "/tmp") + "/dta_bench.dta";
}

int run(int (*handler)(int), const std::string &text) {
    static std::string line;
    data::command_begin();
    line = text;
    session::settok(line.c_str());
    return handler(0);
}

// The data as a session makes them: set memory 200m, set obs, then x1 ... x10 one by one.
void build() {
    static bool done = false;
    if (done) return;
    done = true;
    if (!session::compute_limits()) std::abort();
    out::RimuStream *s = out::stream_new();
    out::stream_set_sink(s, discard, nullptr);
    out::ch.current = s;
    if (data::data_init((int64_t)200 << 20, 5000, 400)) std::abort();
    data::labels_init();
    if (data::set_obs(NOBS)) std::abort();
    for (int k = 1; k <= NVAR; ++k) {
        int v = 0;
        if (data::add_var(("x" + std::to_string(k)).c_str(), data::T_DOUBLE, &v)) std::abort();
        for (int i = 1; i <= NOBS; ++i)
            data::put_num(v, i, i * 0.5 + k / 7.0);
    }
    if (run(data::cmd_save, "\"" + file() + "\", replace")) std::abort();
}

void BM_save(benchmark::State &st) {
    build();
    for (auto _ : st)
        if (run(data::cmd_save, "\"" + file() + "\", replace")) st.SkipWithError("save failed");
}
BENCHMARK(BM_save)->Unit(benchmark::kMillisecond)->UseRealTime();

// To a name that does not exist yet: without the removal of the old file that a replace pays for.
void BM_save_new(benchmark::State &st) {
    build();
    const std::string other = file() + ".new.dta";
    for (auto _ : st) {
        if (run(data::cmd_save, "\"" + other + "\"")) st.SkipWithError("save failed");
        st.PauseTiming();
        ::unlink(other.c_str());
        st.ResumeTiming();
    }
}
BENCHMARK(BM_save_new)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_use(benchmark::State &st) {
    build();
    for (auto _ : st)
        if (run(data::cmd_use, "\"" + file() + "\", clear")) st.SkipWithError("use failed");
}
BENCHMARK(BM_use)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_use_part(benchmark::State &st) {
    build();
    for (auto _ : st)
        if (run(data::cmd_use, "x1 x5 x10 using \"" + file() + "\", clear")) st.SkipWithError("use failed");
    if (run(data::cmd_use, "\"" + file() + "\", clear")) std::abort();
}
BENCHMARK(BM_use_part)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
