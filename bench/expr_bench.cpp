// Expressions: `x*2 + y/3 - (z>1)` compiled once and run over 10,000,000 observations of three double
// variables, one call per observation and by blocks; the same arithmetic written out by hand over the
// same cells as the floor; and the compile.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "data/dataset.h"
#include "data/expr.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/hexfloat.h"

namespace {

constexpr int NOBS = 10000000;
const char *const EXPR = "x*2 + y/3 - (z>1)";

int discard(void *, const uint8_t *, int) { return 0; }

void build() {
    static bool done = false;
    if (done) return;
    done = true;
    if (!session::compute_limits()) std::abort();
    out::RimuStream *s = out::stream_new();
    out::stream_set_sink(s, discard, nullptr);
    out::ch.current = s;
    const int64_t bytes = (int64_t)NOBS * 48 + (64 << 20);
    if (data::data_init(bytes, 5000, 400)) std::abort();
    for (const char *name : {"x", "y", "z"})
        if (data::add_var(name, data::T_DOUBLE, nullptr)) std::abort();
    if (data::set_obs(NOBS)) std::abort();
    for (int i = 1; i <= NOBS; ++i) {
        data::put_num(1, i, i * 0.5);
        data::put_num(2, i, (i % 1000) * 0.25);
        data::put_num(3, i, (i % 3) * 1.0);
    }
    data::command_start();
}

void BM_expr_eval(benchmark::State &st) {
    build();
    data::expr_pool_reset();
    data::ExprRecord rec;
    if (data::expr_compile(EXPR, rec, data::XW_NUM)) std::abort();
    data::expr_set_ranges(rec, 1, NOBS, 1, NOBS);
    for (auto _ : st) {
        double s = 0;
        for (int i = 1; i <= NOBS; ++i)
            s += data::expr_xeqforby(rec, i);
        benchmark::DoNotOptimize(s);
    }
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}
BENCHMARK(BM_expr_eval)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same record through the block form, as a command over observations would call it.
void BM_expr_eval_block(benchmark::State &st) {
    build();
    data::expr_pool_reset();
    data::ExprRecord rec;
    if (data::expr_compile(EXPR, rec, data::XW_NUM)) std::abort();
    data::expr_set_ranges(rec, 1, NOBS, 1, NOBS);
    static double out[4096];
    for (auto _ : st) {
        double s = 0;
        for (int i = 1; i <= NOBS; i += 4096) {
            const int n = NOBS - i + 1 < 4096 ? NOBS - i + 1 : 4096;
            if (data::expr_xeq_block(rec, i, n, out)) std::abort();
            for (int k = 0; k < n; ++k)
                s += out[k];
        }
        benchmark::DoNotOptimize(s);
    }
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}
BENCHMARK(BM_expr_eval_block)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_handwritten(benchmark::State &st) {
    build();
    const double dot = session::lim.dot;
    for (auto _ : st) {
        double s = 0;
        for (int i = 1; i <= NOBS; ++i) {
            const double x = data::get_num(1, i), y = data::get_num(2, i), z = data::get_num(3, i);
            const double a = x < dot ? x * 2 : dot;
            const double b = y < dot ? y / 3 : dot;
            const double c = (z > 1) ? 1 : 0;
            const double d = b < dot ? b - c : dot;
            s += a < dot && d < dot ? a + d : dot;
        }
        benchmark::DoNotOptimize(s);
    }
    st.SetItemsProcessed(st.iterations() * (int64_t)NOBS);
}
BENCHMARK(BM_handwritten)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_expr_compile(benchmark::State &st) {
    build();
    data::ExprRecord rec;
    for (auto _ : st) {
        data::expr_pool_reset();
        if (data::expr_compile(EXPR, rec, data::XW_NUM)) std::abort();
        benchmark::DoNotOptimize(rec.last);
    }
}
BENCHMARK(BM_expr_compile);

} // namespace

BENCHMARK_MAIN();
