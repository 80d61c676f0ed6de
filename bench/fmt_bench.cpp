// Number to text: 1,000,000 numbers of mixed magnitudes formatted with %9.0g, and with %9.2f.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "data/fmt.h"
#include "session/hexfloat.h"

namespace {

constexpr int N = 1000000;

const std::vector<double> &values() {
    static std::vector<double> v;
    if (v.empty()) {
        if (!session::compute_limits()) std::abort();
        v.reserve(N);
        unsigned s = 12345;
        for (int i = 0; i < N; ++i) {
            s = s * 1103515245u + 12345u;
            double mant = (s >> 8) / double(1 << 24); // 0 to 1
            int exp10 = (int)((s >> 3) % 13) - 6;     // 1e-6 to 1e6
            v.push_back((i % 2 ? -1 : 1) * mant * std::pow(10.0, exp10));
        }
    }
    return v;
}

void run(benchmark::State &state, const char *format) {
    const std::vector<double> &v = values();
    data::Fmt f;
    if (data::fmt_parse(format, f, true)) std::abort();
    char buf[64];
    for (auto _ : state) {
        int total = 0;
        for (double x : v)
            total += data::fmt_number(x, f, buf, sizeof buf);
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * (int64_t)v.size());
}

void BM_format_9_0g(benchmark::State &state) { run(state, "%9.0g"); }
void BM_format_9_2f(benchmark::State &state) { run(state, "%9.2f"); }

} // namespace

BENCHMARK(BM_format_9_0g)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_format_9_2f)->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
