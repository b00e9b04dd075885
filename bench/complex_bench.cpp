// Complex arithmetic against std::complex<double> on the same data.
#include <ml/complex.h>

#include <benchmark/benchmark.h>

#include <complex>
#include <random>
#include <vector>

namespace {

constexpr int kCount = 4096;

struct Data {
    std::vector<CMLComplex<double>> ml_a, ml_b;
    std::vector<std::complex<double>> std_a, std_b;
    Data() {
        std::mt19937_64 rng(42);
        std::uniform_real_distribution<double> u(-10.0, 10.0);
        for (int i = 0; i < kCount; ++i) {
            const double ar = u(rng), ai = u(rng), br = u(rng), bi = u(rng);
            ml_a.emplace_back(ar, ai);
            ml_b.emplace_back(br, bi);
            std_a.emplace_back(ar, ai);
            std_b.emplace_back(br, bi);
        }
    }
};

const Data& GetData() {
    static const Data data;
    return data;
}

void BM_MlMultiply(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<CMLComplex<double>> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) out[i] = d.ml_a[i] * d.ml_b[i];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_StdMultiply(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<std::complex<double>> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) out[i] = d.std_a[i] * d.std_b[i];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

// The product accumulated in place (a chain of *=), the form where assignment semantics matter
// least: both libraries do the same four multiplications.
void BM_MlMultiplyAccumulate(benchmark::State& state) {
    const Data& d = GetData();
    for (auto _ : state) {
        CMLComplex<double> acc(1, 0);
        for (int i = 0; i < kCount; ++i) {
            acc *= d.ml_a[i];
            acc *= CMLComplex<double>(0.1, 0);
        }
        benchmark::DoNotOptimize(acc);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_StdMultiplyAccumulate(benchmark::State& state) {
    const Data& d = GetData();
    for (auto _ : state) {
        std::complex<double> acc(1, 0);
        for (int i = 0; i < kCount; ++i) {
            acc *= d.std_a[i];
            acc *= std::complex<double>(0.1, 0);
        }
        benchmark::DoNotOptimize(acc);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_MlDivide(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<CMLComplex<double>> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) out[i] = d.ml_a[i] / d.ml_b[i];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_StdDivide(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<std::complex<double>> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) out[i] = d.std_a[i] / d.std_b[i];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

// Magn() computed from the algebraic parts on every call.
void BM_MlMagn(benchmark::State& state) {
    const Data& d = GetData();
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < kCount; ++i) sum += d.ml_a[i].Magn();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

// Magn() of values whose trigonometric form is cached: the common case after Power or Roots.
void BM_MlMagnCached(benchmark::State& state) {
    std::vector<CMLComplex<double>> a = GetData().ml_a;
    for (auto& z : a) z.CalculateTrigonForm();
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < kCount; ++i) sum += a[i].Magn();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_StdAbs(benchmark::State& state) {
    const Data& d = GetData();
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < kCount; ++i) sum += std::abs(d.std_a[i]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

BENCHMARK(BM_MlMultiply);
BENCHMARK(BM_StdMultiply);
BENCHMARK(BM_MlMultiplyAccumulate);
BENCHMARK(BM_StdMultiplyAccumulate);
BENCHMARK(BM_MlDivide);
BENCHMARK(BM_StdDivide);
BENCHMARK(BM_MlMagn);
BENCHMARK(BM_MlMagnCached);
BENCHMARK(BM_StdAbs);

}  // namespace

BENCHMARK_MAIN();
