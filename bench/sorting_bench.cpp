// mlSort against std::sort on the same 10^7 random doubles; the index-returning form against
// std::sort of (value, index) pairs. Every timed iteration starts from the unsorted input: the
// library copies it into the output array, the anchors copy it as well.
#include <ml/sorting.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace {

const std::vector<double>& Input(int n) {
    static std::vector<double> data;
    if (static_cast<int>(data.size()) != n) {
        data.resize(static_cast<std::size_t>(n));
        std::mt19937_64 rng(42);
        std::uniform_real_distribution<double> u(-1.0, 1.0);
        for (double& x : data)
            x = u(rng);
    }
    return data;
}

void BM_StdSort(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double>& in = Input(n);
    std::vector<double> out(in.size());
    for (auto _ : state) {
        std::copy(in.begin(), in.end(), out.begin());
        std::sort(out.begin(), out.end());
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void BM_MlSort(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double>& in = Input(n);
    std::vector<double> out(in.size());
    for (auto _ : state) {
        mlSort(n, in.data(), out.data(), 1, 0);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void BM_StdSortPairs(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double>& in = Input(n);
    std::vector<double> out(in.size());
    std::vector<int> indices(in.size());
    for (auto _ : state) {
        std::vector<std::pair<double, int>> pairs(in.size());
        for (int k = 0; k < n; ++k)
            pairs[k] = {in[k], k};
        std::sort(pairs.begin(), pairs.end());
        for (int k = 0; k < n; ++k) {
            out[k] = pairs[k].first;
            indices[k] = pairs[k].second;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::DoNotOptimize(indices.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void BM_MlSortIndices(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double>& in = Input(n);
    std::vector<double> out(in.size());
    std::vector<int> indices(in.size());
    for (auto _ : state) {
        mlSort(n, in.data(), out.data(), indices.data(), 1, 0);
        benchmark::DoNotOptimize(out.data());
        benchmark::DoNotOptimize(indices.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

}  // namespace

BENCHMARK(BM_StdSort)->Arg(10000000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlSort)->Arg(10000000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdSortPairs)->Arg(10000000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlSortIndices)->Arg(10000000)->Arg(100000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
