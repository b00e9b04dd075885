// Quaternions of double against Eigen's Quaterniond and GLM's dquat in the same program, on the
// same data: rotation of 10^7 vectors by one unit quaternion, and 10^6 Hamilton products of
// quaternion pairs. Every library reads its operands from the same plain arrays of doubles and
// writes its results to the same output array, so the memory traffic is identical.
#include <ml/quaternion.h>
#include <ml/vector_fixed.h>

#include <benchmark/benchmark.h>
#include <Eigen/Geometry>
#include <glm/gtc/quaternion.hpp>

#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr int kVectors = 10000000;
constexpr int kProducts = 1000000;

struct Data {
    std::vector<double> vectors;  // kVectors * 3: x, y, z
    std::vector<double> quat_a;   // kProducts * 4: w, x, y, z
    std::vector<double> quat_b;
    double rotation[4];  // a unit quaternion w, x, y, z
    Data()
        : vectors(3 * static_cast<std::size_t>(kVectors)),
          quat_a(4 * kProducts),
          quat_b(4 * kProducts) {
        std::mt19937_64 rng(11);
        std::uniform_real_distribution<double> u(-10.0, 10.0);
        for (double& v : vectors)
            v = u(rng);
        for (double& v : quat_a)
            v = u(rng) / 10;
        for (double& v : quat_b)
            v = u(rng) / 10;
        const double r[4] = {0.9, -0.2, 0.3, 0.4};
        const double n = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2] + r[3] * r[3]);
        for (int k = 0; k < 4; ++k)
            rotation[k] = r[k] / n;
    }
};

const Data& GetData() {
    static const Data data;
    return data;
}

// ---- Rotation of 10^7 vectors ------------------------------------------------------------------

void BM_MlRotate(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<double> out(d.vectors.size());
    const CMLQuaternion<double> q(d.rotation[0], d.rotation[1], d.rotation[2], d.rotation[3]);
    for (auto _ : state) {
        const double* in = d.vectors.data();
        double* o = out.data();
        for (int i = 0; i < kVectors; ++i) {
            const CMLVector3<double> r = q.Rotate(CMLVector3<double>(in + 3 * i));
            r.Dump(o + 3 * i);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kVectors);
}

void BM_EigenRotate(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<double> out(d.vectors.size());
    const Eigen::Quaterniond q(d.rotation[0], d.rotation[1], d.rotation[2], d.rotation[3]);
    for (auto _ : state) {
        const double* in = d.vectors.data();
        double* o = out.data();
        for (int i = 0; i < kVectors; ++i) {
            Eigen::Map<Eigen::Vector3d>(o + 3 * i) =
                q * Eigen::Map<const Eigen::Vector3d>(in + 3 * i);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kVectors);
}

void BM_GlmRotate(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<double> out(d.vectors.size());
    const glm::dquat q(d.rotation[0], d.rotation[1], d.rotation[2], d.rotation[3]);
    for (auto _ : state) {
        const double* in = d.vectors.data();
        double* o = out.data();
        for (int i = 0; i < kVectors; ++i) {
            const glm::dvec3 r = q * glm::dvec3(in[3 * i], in[3 * i + 1], in[3 * i + 2]);
            o[3 * i] = r.x;
            o[3 * i + 1] = r.y;
            o[3 * i + 2] = r.z;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kVectors);
}

// ---- 10^6 Hamilton products --------------------------------------------------------------------

void BM_MlProduct(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<double> out(d.quat_a.size());
    for (auto _ : state) {
        const double* a = d.quat_a.data();
        const double* b = d.quat_b.data();
        double* o = out.data();
        for (int i = 0; i < kProducts; ++i) {
            const double* p = a + 4 * i;
            const double* q = b + 4 * i;
            const CMLQuaternion<double> r = CMLQuaternion<double>(p[0], p[1], p[2], p[3]) *
                                            CMLQuaternion<double>(q[0], q[1], q[2], q[3]);
            o[4 * i] = r.w;
            o[4 * i + 1] = r.x;
            o[4 * i + 2] = r.y;
            o[4 * i + 3] = r.z;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kProducts);
}

void BM_EigenProduct(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<double> out(d.quat_a.size());
    for (auto _ : state) {
        const double* a = d.quat_a.data();
        const double* b = d.quat_b.data();
        double* o = out.data();
        for (int i = 0; i < kProducts; ++i) {
            const double* p = a + 4 * i;
            const double* q = b + 4 * i;
            const Eigen::Quaterniond r = Eigen::Quaterniond(p[0], p[1], p[2], p[3]) *
                                         Eigen::Quaterniond(q[0], q[1], q[2], q[3]);
            o[4 * i] = r.w();
            o[4 * i + 1] = r.x();
            o[4 * i + 2] = r.y();
            o[4 * i + 3] = r.z();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kProducts);
}

void BM_GlmProduct(benchmark::State& state) {
    const Data& d = GetData();
    std::vector<double> out(d.quat_a.size());
    for (auto _ : state) {
        const double* a = d.quat_a.data();
        const double* b = d.quat_b.data();
        double* o = out.data();
        for (int i = 0; i < kProducts; ++i) {
            const double* p = a + 4 * i;
            const double* q = b + 4 * i;
            const glm::dquat r =
                glm::dquat(p[0], p[1], p[2], p[3]) * glm::dquat(q[0], q[1], q[2], q[3]);
            o[4 * i] = r.w;
            o[4 * i + 1] = r.x;
            o[4 * i + 2] = r.y;
            o[4 * i + 3] = r.z;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kProducts);
}

}  // namespace

BENCHMARK(BM_MlRotate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EigenRotate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlmRotate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlProduct)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EigenProduct)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GlmProduct)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
