// The outer-product kernel of the robust variance on 1,000,000 rows by 10 variables and the constant
// (k 11), by observation and with 1,000 clusters of consecutive rows, with 1 and 2 processors.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "estimate/frame.h"
#include "estimate/robust.h"
#include "estimate/robust_smp.h"
#include "session/hexfloat.h"

namespace {

constexpr int ROWS = 1000000, NX = 10, CLUSTERS = 1000;

struct Columns {
    std::vector<std::vector<double>> x;
    std::vector<double> s;
    Columns() : x(NX, std::vector<double>(ROWS)), s(ROWS) {
        uint64_t st = 77;
        auto next = [&] {
            st = st * 6364136223846793005ull + 1442695040888963407ull;
            return (double)(st >> 11) / 9007199254740992.0 - 0.5;
        };
        for (int i = 0; i < ROWS; ++i) {
            for (int j = 0; j < NX; ++j)
                x[(size_t)j][(size_t)i] = next();
            s[(size_t)i] = next();
        }
    }
};

const Columns &columns() {
    static Columns c;
    return c;
}

void BM_robust(benchmark::State &st) {
    const int procs = (int)st.range(0);
    const bool clustered = st.range(1) != 0;
    if (!session::compute_limits()) std::abort();
    if (procs > est::processors_max()) {
        st.SkipWithError("not enough processors");
        return;
    }
    est::set_processors(procs);
    const Columns &c = columns();
    est::RobustInput in;
    in.rows = ROWS;
    for (int j = 0; j < NX; ++j)
        in.x.push_back(c.x[(size_t)j].data());
    in.x.push_back(nullptr);
    in.eq.assign(NX + 1, 0);
    in.score = {c.s.data()};
    if (clustered)
        for (int g = 0; g <= CLUSTERS; ++g)
            in.cluster_start.push_back((int64_t)g * ROWS / CLUSTERS);
    std::vector<double> M;
    double n = 0, ncl = 0;
    for (auto _ : st) {
        if (est::robust_meat_smp(NX + 1, in, M, &n, &ncl)) std::abort();
        benchmark::DoNotOptimize(M.data());
    }
    est::set_processors(1);
}
BENCHMARK(BM_robust)
    ->Args({1, 0})
    ->Args({2, 0})
    ->Args({1, 1})
    ->Args({2, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace
BENCHMARK_MAIN();
