// Fixed matrices of double against Eigen's fixed-size types (Matrix4d, Vector4d, Matrix3d) and GLM
// (dmat4, dvec4, dmat3) on the same mathematical matrices: the 4x4 product, 4x4 times a vector,
// the 3x3 inverse and the 3x3 determinant, each 10^7 operations per iteration over the same 1000
// random operands. GLM stores columns, so its matrices are loaded with G[j][i] = A(i, j): every
// library multiplies, inverts and takes determinants of the same matrices. The ml inverse also
// makes its singularity test (eps > |det|). Each ml benchmark is followed by its anchors.
#include <ml/matrix_fixed.h>

#include <benchmark/benchmark.h>
#include <Eigen/Dense>
#include <glm/glm.hpp>
#include <glm/gtc/matrix_inverse.hpp>

#include <random>
#include <vector>

namespace {

constexpr int kOperands = 1000;
constexpr int kRepeats = 10000;  // kOperands * kRepeats = 10^7 operations per iteration

struct Data {
    std::vector<CMLMatrix4<double>> ml4a, ml4b, ml4out;
    std::vector<CMLVector4<double>> mlv, mlvout;
    std::vector<CMLMatrix3<double>> ml3, ml3out;
    std::vector<Eigen::Matrix4d, Eigen::aligned_allocator<Eigen::Matrix4d>> e4a, e4b, e4out;
    std::vector<Eigen::Vector4d, Eigen::aligned_allocator<Eigen::Vector4d>> ev, evout;
    std::vector<Eigen::Matrix3d> e3, e3out;
    std::vector<glm::dmat4> g4a, g4b, g4out;
    std::vector<glm::dvec4> gv, gvout;
    std::vector<glm::dmat3> g3, g3out;

    Data() {
        std::mt19937_64 rng(11);
        std::uniform_real_distribution<double> u(-1.0, 1.0);
        for (int n = 0; n < kOperands; ++n) {
            CMLMatrix4<double> a, b;
            CMLVector4<double> v;
            CMLMatrix3<double> c;
            for (int k = 0; k < 16; ++k) {
                a[k] = u(rng);
                b[k] = u(rng);
            }
            for (int k = 0; k < 4; ++k)
                v[k] = u(rng);
            for (int k = 0; k < 9; ++k)
                c[k] = u(rng) + (k % 4 == 0 ? 2.0 : 0.0);
            ml4a.push_back(a);
            ml4b.push_back(b);
            mlv.push_back(v);
            ml3.push_back(c);
            Eigen::Matrix4d ea, eb;
            Eigen::Matrix3d ec;
            glm::dmat4 ga, gb;
            glm::dmat3 gc;
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j) {
                    ea(i, j) = a(i, j);
                    eb(i, j) = b(i, j);
                    ga[j][i] = a(i, j);
                    gb[j][i] = b(i, j);
                }
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 3; ++j) {
                    ec(i, j) = c(i, j);
                    gc[j][i] = c(i, j);
                }
            e4a.push_back(ea);
            e4b.push_back(eb);
            e3.push_back(ec);
            ev.emplace_back(v[0], v[1], v[2], v[3]);
            g4a.push_back(ga);
            g4b.push_back(gb);
            g3.push_back(gc);
            gv.emplace_back(v[0], v[1], v[2], v[3]);
        }
        ml4out.resize(kOperands);
        mlvout.resize(kOperands);
        ml3out.resize(kOperands);
        e4out.resize(kOperands);
        evout.resize(kOperands);
        e3out.resize(kOperands);
        g4out.resize(kOperands);
        gvout.resize(kOperands);
        g3out.resize(kOperands);
    }
};

Data& GetData() {
    static Data data;
    return data;
}

template <class F>
void Run(benchmark::State& state, F&& body) {
    for (auto _ : state) {
        for (int r = 0; r < kRepeats; ++r) {
            body();
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(state.iterations() * kOperands * kRepeats);
}

// ---- 4x4 product
// ---------------------------------------------------------------------------------

void BM_MlProduct4(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.ml4out[i] = d.ml4a[i] * d.ml4b[i];
    });
}

void BM_EigenProduct4(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.e4out[i].noalias() = d.e4a[i] * d.e4b[i];
    });
}

void BM_GlmProduct4(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.g4out[i] = d.g4a[i] * d.g4b[i];
    });
}

// ---- 4x4 times a vector -------------------------------------------------------------------------

void BM_MlMatVec4(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.mlvout[i] = d.ml4a[i] * d.mlv[i];
    });
}

void BM_EigenMatVec4(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.evout[i].noalias() = d.e4a[i] * d.ev[i];
    });
}

void BM_GlmMatVec4(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.gvout[i] = d.g4a[i] * d.gv[i];
    });
}

// ---- 3x3 inverse
// ---------------------------------------------------------------------------------

void BM_MlInverse3(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.ml3[i].Inverse(d.ml3out[i], 1e-12);
    });
}

void BM_EigenInverse3(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.e3out[i] = d.e3[i].inverse();
    });
}

void BM_GlmInverse3(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        for (int i = 0; i < kOperands; ++i)
            d.g3out[i] = glm::inverse(d.g3[i]);
    });
}

// ---- 3x3 determinant
// -----------------------------------------------------------------------------

void BM_MlDet3(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        double sum = 0;
        for (int i = 0; i < kOperands; ++i)
            sum += d.ml3[i].Det();
        benchmark::DoNotOptimize(sum);
    });
}

void BM_EigenDet3(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        double sum = 0;
        for (int i = 0; i < kOperands; ++i)
            sum += d.e3[i].determinant();
        benchmark::DoNotOptimize(sum);
    });
}

void BM_GlmDet3(benchmark::State& state) {
    Data& d = GetData();
    Run(state, [&] {
        double sum = 0;
        for (int i = 0; i < kOperands; ++i)
            sum += glm::determinant(d.g3[i]);
        benchmark::DoNotOptimize(sum);
    });
}

}  // namespace

BENCHMARK(BM_MlProduct4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EigenProduct4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlmProduct4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlMatVec4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EigenMatVec4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlmMatVec4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlInverse3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EigenInverse3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlmInverse3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlDet3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EigenDet3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlmDet3)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
