// Fixed 3-vectors of double against the same work written by hand on plain double[3] records, on
// the same 10^6 random vectors: dot product, cross product, normalisation and the collinearity
// test. Each ml benchmark has its anchor right after it (BM_Ml... / BM_Plain...).
#include <ml/vector_fixed.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr int kCount = 1000000;

struct Plain3 {
    double v[3];
};

struct Data {
    std::vector<CMLVector3<double>> ml_a, ml_b;
    std::vector<Plain3> plain_a, plain_b;
    Data() {
        std::mt19937_64 rng(7);
        std::uniform_real_distribution<double> u(-10.0, 10.0);
        ml_a.reserve(kCount);
        ml_b.reserve(kCount);
        plain_a.reserve(kCount);
        plain_b.reserve(kCount);
        for (int i = 0; i < kCount; ++i) {
            const double a0 = u(rng), a1 = u(rng), a2 = u(rng);
            // Every eighth pair is parallel, so the collinearity test takes both branches.
            const double s = u(rng);
            const bool parallel = i % 8 == 0;
            const double b0 = parallel ? s * a0 : u(rng);
            const double b1 = parallel ? s * a1 : u(rng);
            const double b2 = parallel ? s * a2 : u(rng);
            ml_a.emplace_back(a0, a1, a2);
            ml_b.emplace_back(b0, b1, b2);
            plain_a.push_back(Plain3{{a0, a1, a2}});
            plain_b.push_back(Plain3{{b0, b1, b2}});
        }
    }
};

const Data& GetData() {
    static const Data data;
    return data;
}

// ---- Anchor: the same arithmetic, guards included, on plain records -----------------------------

inline double PlainDot(const Plain3& a, const Plain3& b) {
    return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2];
}

inline Plain3 PlainCross(const Plain3& a, const Plain3& b) {
    return Plain3{{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2],
                   a.v[0] * b.v[1] - a.v[1] * b.v[0]}};
}

inline double PlainSafeNorm(double s) {
    if (s < 1e-18) return 0;
    return std::fabs(s) < 1e-9 ? 0 : std::sqrt(s);
}

inline void PlainNormalize(Plain3& a) {
    const double length = PlainSafeNorm(PlainDot(a, a));
    if (length < 1e-9) return;
    const double inverse = 1 / length;
    a.v[0] *= inverse;
    a.v[1] *= inverse;
    a.v[2] *= inverse;
}

inline int PlainColinear(const Plain3& a, const Plain3& b, double precision) {
    double m = 0;
    for (int k = 0; k < 3; ++k) {
        m = std::fabs(a.v[k]) > m ? std::fabs(a.v[k]) : m;
        m = std::fabs(b.v[k]) > m ? std::fabs(b.v[k]) : m;
    }
    if (precision > m) return 1;
    const Plain3 c = PlainCross(a, b);
    return PlainSafeNorm(PlainDot(c, c)) < precision * m ? 1 : 0;
}

// ---- Benchmarks ------------------------------------------------------------------------------

void BM_MlDot(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<double> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) out[i] = d.ml_a[i].Dot(d.ml_b[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_PlainDot(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<double> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) out[i] = PlainDot(d.plain_a[i], d.plain_b[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_MlCross(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<CMLVector3<double>> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) out[i] = d.ml_a[i].Cross(d.ml_b[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_PlainCross(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<Plain3> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) out[i] = PlainCross(d.plain_a[i], d.plain_b[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_MlNormalize(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<CMLVector3<double>> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            out[i] = d.ml_a[i];
            out[i].Normalize();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_PlainNormalize(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<Plain3> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            out[i] = d.plain_a[i];
            PlainNormalize(out[i]);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_MlAreColinear(benchmark::State& state) {
    const Data& d = GetData();
    for (auto _ : state) {
        int count = 0;
        for (int i = 0; i < kCount; ++i) count += mlAreColinear(d.ml_a[i], d.ml_b[i], 1e-6);
        benchmark::DoNotOptimize(count);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_PlainAreColinear(benchmark::State& state) {
    const Data& d = GetData();
    for (auto _ : state) {
        int count = 0;
        for (int i = 0; i < kCount; ++i) count += PlainColinear(d.plain_a[i], d.plain_b[i], 1e-6);
        benchmark::DoNotOptimize(count);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

}  // namespace

BENCHMARK(BM_MlDot)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainDot)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MlCross)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainCross)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MlNormalize)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainNormalize)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MlAreColinear)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainAreColinear)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
