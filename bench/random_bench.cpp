// Random numbers against the standard library's engines and distributions, and against a bare
// four-word xorshift loop, on arrays of the same length.
#include <ml/random.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

constexpr int kCount = 4096;

// The anchor for raw speed: Marsaglia's xorshift on four 32-bit words, inlined, each word scaled
// to [0, 1] by the same division the library uses.
void BM_BareXorshiftLoop(benchmark::State& state) {
    std::vector<double> out(kCount);
    unsigned int x = 123456789u, y = 362436069u, z = 521288629u, w = 88675123u;
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            const unsigned int t = x ^ (x << 11);
            x = y;
            y = z;
            z = w;
            w = w ^ (w >> 19) ^ (t ^ (t >> 8));
            out[i] = w / 4294967295.0;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

// The same loop scaled by a multiplication (not bit-identical to the division: shown for scale).
void BM_BareXorshiftLoopMultiply(benchmark::State& state) {
    std::vector<double> out(kCount);
    unsigned int x = 123456789u, y = 362436069u, z = 521288629u, w = 88675123u;
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            const unsigned int t = x ^ (x << 11);
            x = y;
            y = z;
            z = w;
            w = w ^ (w >> 19) ^ (t ^ (t >> 8));
            out[i] = w * (1.0 / 4294967295.0);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_StdUniform(benchmark::State& state) {
    std::vector<double> out(kCount);
    std::mt19937_64 engine(42);
    std::uniform_real_distribution<double> dist(0.0, 1.0);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i)
            out[i] = dist(engine);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_StdNormal(benchmark::State& state) {
    std::vector<double> out(kCount);
    std::mt19937_64 engine(42);
    std::normal_distribution<double> dist(0.0, 1.0);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i)
            out[i] = dist(engine);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_StdExponential(benchmark::State& state) {
    std::vector<double> out(kCount);
    std::mt19937_64 engine(42);
    std::exponential_distribution<double> dist(1.0);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i)
            out[i] = dist(engine);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

// Argument: the generator (0 xorshift 32, 1 xorshift 64, 2 SWB).
CMLRandom<double> MakeGenerator(int algorithm, int distribution) {
    CMLRandom<double> r;
    r.SetAlgorithm(algorithm);
    if (distribution == 1) r.SetNormal(0.0, 1.0);
    if (distribution == 2) r.SetExponential(1.0);
    r.Initialize();
    return r;
}

void BM_MlArray(benchmark::State& state, int distribution) {
    std::vector<double> out(kCount);
    CMLRandom<double> r = MakeGenerator(static_cast<int>(state.range(0)), distribution);
    for (auto _ : state) {
        r.GetArrayNumbers(kCount, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_MlUniform(benchmark::State& state) {
    BM_MlArray(state, 0);
}
void BM_MlNormal(benchmark::State& state) {
    BM_MlArray(state, 1);
}
void BM_MlExponential(benchmark::State& state) {
    BM_MlArray(state, 2);
}

// One call per value through GetNumber (the draw-method pointer).
void BM_MlUniformSingle(benchmark::State& state) {
    std::vector<double> out(kCount);
    CMLRandom<double> r = MakeGenerator(static_cast<int>(state.range(0)), 0);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i)
            out[i] = r.GetNumber();
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

}  // namespace

BENCHMARK(BM_BareXorshiftLoop);
BENCHMARK(BM_BareXorshiftLoopMultiply);
BENCHMARK(BM_StdUniform);
BENCHMARK(BM_MlUniform)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(BM_MlUniformSingle)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(BM_StdNormal);
BENCHMARK(BM_MlNormal)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(BM_StdExponential);
BENCHMARK(BM_MlExponential)->Arg(0)->Arg(1)->Arg(2);

BENCHMARK_MAIN();
