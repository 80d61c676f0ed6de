// invsym of a 400 by 400 symmetric positive definite matrix by the sweep, with 1 and 2 processors
// (sweep_smp on the frame), beside the serial twin; and, for scale, the LU inverse of the same
// matrix through LAPACK.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "estimate/frame.h"
#include "matrix/numerics.h"
#include "matrix/sweep.h"
#include "session/hexfloat.h"

namespace {

constexpr int N = 400;

// B'B + n I of pseudo-random B.
const std::vector<double> &spd() {
    static std::vector<double> a;
    if (!a.empty()) return a;
    if (!session::compute_limits()) std::abort();
    std::vector<double> b((size_t)N * N);
    uint64_t s = 2024;
    for (double &x : b) {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        x = (double)(s >> 11) / 9007199254740992.0 - 0.5;
    }
    a.assign((size_t)N * N, 0.0);
    for (int i = 0; i < N; ++i)
        for (int j = 0; j <= i; ++j) {
            double t = i == j ? N : 0;
            for (int k = 0; k < N; ++k)
                t += b[(size_t)k * N + i] * b[(size_t)k * N + j];
            a[(size_t)i * N + j] = a[(size_t)j * N + i] = t;
        }
    return a;
}

void BM_invsym(benchmark::State &st) {
    const std::vector<double> &a = spd();
    const int procs = (int)st.range(0);
    if (procs > est::processors_max()) {
        st.SkipWithError("not enough processors");
        return;
    }
    est::set_processors(procs);
    std::vector<double> w;
    mat::InvsymOut out;
    for (auto _ : st) {
        w = a;
        if (mat::invsym(w.data(), N, N, {}, &out)) std::abort();
        benchmark::DoNotOptimize(w.data());
    }
    est::set_processors(1);
    st.counters["threads"] = procs;
}
BENCHMARK(BM_invsym)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_invsym_serial_twin(benchmark::State &st) {
    const std::vector<double> &a = spd();
    std::vector<double> w;
    mat::InvsymOut out;
    mat::InvsymOpts o;
    o.parallel = false;
    for (auto _ : st) {
        w = a;
        if (mat::invsym(w.data(), N, N, o, &out)) std::abort();
        benchmark::DoNotOptimize(w.data());
    }
}
BENCHMARK(BM_invsym_serial_twin)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_inv_lapack(benchmark::State &st) {
    const std::vector<double> &a = spd();
    std::vector<double> w((size_t)N * N);
    for (auto _ : st) {
        if (mat::inv(a.data(), N, N, N, w.data(), N)) std::abort();
        benchmark::DoNotOptimize(w.data());
    }
}
BENCHMARK(BM_inv_lapack)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
