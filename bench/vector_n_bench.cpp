// Dynamic-vector kernels on 10^6 doubles against a plain memcpy of the same vector in the same
// binary. Each benchmark reports the bytes it moves to and from memory (reads plus writes), so the
// bytes_per_second columns compare directly with the memcpy anchor's:
//   memcpy     reads 8 MB, writes 8 MB
//   Dot        reads 2 x 8 MB
//   Length     reads 8 MB
//   operator+  reads 2 x 8 MB, writes 8 MB (into the new vector it returns)
//   Add        reads 2 x 8 MB, writes 8 MB (in place)
#include <ml/vector_n.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr int kCount = 1000000;
constexpr long long kBytes = static_cast<long long>(kCount) * sizeof(double);

struct Data {
    CMLVectorN<double> a, b;
    Data() : a(kCount), b(kCount) {
        for (int i = 0; i < kCount; ++i) {
            a[i] = std::sin(0.001 * i);
            b[i] = std::cos(0.001 * i);
        }
    }
};

Data& GetData() {
    static Data data;
    return data;
}

void BM_MemcpyAnchor(benchmark::State& state) {
    Data& d = GetData();
    std::vector<double> src(kCount), dst(kCount);
    d.a.Dump(src.data());
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), static_cast<std::size_t>(kBytes));
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 2 * kBytes);
}

void BM_Dot(benchmark::State& state) {
    Data& d = GetData();
    for (auto _ : state) {
        double s = d.a.Dot(d.b);
        benchmark::DoNotOptimize(s);
    }
    state.SetBytesProcessed(state.iterations() * 2 * kBytes);
}

void BM_Length(benchmark::State& state) {
    Data& d = GetData();
    for (auto _ : state) {
        double s = d.a.Length();
        benchmark::DoNotOptimize(s);
    }
    state.SetBytesProcessed(state.iterations() * kBytes);
}

void BM_OperatorPlus(benchmark::State& state) {
    Data& d = GetData();
    for (auto _ : state) {
        CMLVectorN<double> c = d.a + d.b;
        benchmark::DoNotOptimize(&c[0]);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 3 * kBytes);
}

void BM_AddInPlace(benchmark::State& state) {
    Data& d = GetData();
    CMLVectorN<double> c(d.a);
    for (auto _ : state) {
        c.Add(d.b);
        benchmark::DoNotOptimize(&c[0]);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 3 * kBytes);
}

// The plain loops a caller would write on raw arrays, for reference.
void BM_RawDotLoop(benchmark::State& state) {
    Data& d = GetData();
    const double* a = &d.a[0];
    const double* b = &d.b[0];
    for (auto _ : state) {
        double s = 0;
        for (int i = 0; i < kCount; ++i) s += a[i] * b[i];
        benchmark::DoNotOptimize(s);
    }
    state.SetBytesProcessed(state.iterations() * 2 * kBytes);
}

BENCHMARK(BM_MemcpyAnchor);
BENCHMARK(BM_Dot);
BENCHMARK(BM_Length);
BENCHMARK(BM_OperatorPlus);
BENCHMARK(BM_AddInPlace);
BENCHMARK(BM_RawDotLoop);

}  // namespace

BENCHMARK_MAIN();
