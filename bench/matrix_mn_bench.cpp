// Dynamic matrices against Eigen on the same data in the same binary:
//   Product/512      operator* of two 512 x 512 double matrices (a new result each time), against
//                    Eigen's MatrixXd product; the _Portable variant runs the library's baseline
//                    micro-kernel (no AVX2/FMA) through the internal product, compiled in here.
//   Product/64       the same at 64 x 64.
//   Svd/200          SV_Decomposition of a 200 x 200 random matrix with U and V, against Eigen's
//                    BDCSVD computing U and V; Svd/50 likewise.
//   Qr/200           QR_Decomposition (thin Q and R) against Eigen's HouseholderQR with Q formed.
// Compare the ratio of each ml row to its Eigen row; "GFLOPS" gives 2 n^3 / time for products.
#include <ml/matrix_mn.h>

#include "../matrices/detail/gemm.h"

#include <benchmark/benchmark.h>
#include <Eigen/Dense>

#include <random>

namespace {

CMLMatrixMN<double> MlRandom(int rows, int cols, unsigned seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> d(-1.0, 1.0);
    CMLMatrixMN<double> m(rows, cols);
    for (int i = 0; i < rows * cols; ++i)
        m[i] = d(rng);
    return m;
}

Eigen::MatrixXd ToEigen(const CMLMatrixMN<double>& m) {
    Eigen::MatrixXd e(m.RowsNb(), m.ColsNb());
    for (int i = 0; i < m.RowsNb(); ++i) {
        for (int j = 0; j < m.ColsNb(); ++j)
            e(i, j) = m(i, j);
    }
    return e;
}

void SetFlops(benchmark::State& state, int n) {
    state.counters["GFLOPS"] =
        benchmark::Counter(2.0 * n * n * n * static_cast<double>(state.iterations()) * 1e-9,
                           benchmark::Counter::kIsRate);
}

void BM_MlProduct(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const CMLMatrixMN<double> a = MlRandom(n, n, 1), b = MlRandom(n, n, 2);
    for (auto _ : state) {
        CMLMatrixMN<double> c = a * b;
        benchmark::DoNotOptimize(&c(0, 0));
        benchmark::ClobberMemory();
    }
    SetFlops(state, n);
}

void BM_MlProduct_Portable(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const CMLMatrixMN<double> a = MlRandom(n, n, 1), b = MlRandom(n, n, 2);
    for (auto _ : state) {
        CMLMatrixMN<double> c(n, n);
        ml::detail::Gemm<double>(n, n, n, &a(0, 0), n, 1, &b(0, 0), n, 1, &c(0, 0), n,
                                 ml::detail::GemmUpdate::Set, ml::detail::GemmKernel::Portable);
        benchmark::DoNotOptimize(&c(0, 0));
        benchmark::ClobberMemory();
    }
    SetFlops(state, n);
}

void BM_EigenProduct(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const Eigen::MatrixXd a = ToEigen(MlRandom(n, n, 1)), b = ToEigen(MlRandom(n, n, 2));
    for (auto _ : state) {
        Eigen::MatrixXd c = a * b;
        benchmark::DoNotOptimize(c.data());
        benchmark::ClobberMemory();
    }
    SetFlops(state, n);
}

void BM_MlSvd(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const CMLMatrixMN<double> a = MlRandom(n, n, 3);
    CMLMatrixMN<double> u(n, n), v(n, n);
    CMLVectorN<double> s(n);
    for (auto _ : state) {
        if (!a.SV_Decomposition(u, v, s, 0.0)) state.SkipWithError("decomposition failed");
        benchmark::DoNotOptimize(&u(0, 0));
        benchmark::ClobberMemory();
    }
}

void BM_EigenBdcSvd(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const Eigen::MatrixXd a = ToEigen(MlRandom(n, n, 3));
    for (auto _ : state) {
        Eigen::BDCSVD<Eigen::MatrixXd> svd(a, Eigen::ComputeFullU | Eigen::ComputeFullV);
        benchmark::DoNotOptimize(svd.matrixU().data());
        benchmark::ClobberMemory();
    }
}

void BM_MlQr(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const CMLMatrixMN<double> a = MlRandom(n, n, 4);
    CMLMatrixMN<double> q(n, n), r(n, n);
    for (auto _ : state) {
        if (!a.QR_Decomposition(q, r, 0.0)) state.SkipWithError("decomposition failed");
        benchmark::DoNotOptimize(&q(0, 0));
        benchmark::ClobberMemory();
    }
}

void BM_EigenQr(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const Eigen::MatrixXd a = ToEigen(MlRandom(n, n, 4));
    for (auto _ : state) {
        Eigen::HouseholderQR<Eigen::MatrixXd> qr(a);
        Eigen::MatrixXd q = qr.householderQ();
        Eigen::MatrixXd r = qr.matrixQR().triangularView<Eigen::Upper>();
        benchmark::DoNotOptimize(q.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
}

}  // namespace

BENCHMARK(BM_MlProduct)->Arg(512)->Arg(64)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlProduct_Portable)->Arg(512)->Arg(64)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EigenProduct)->Arg(512)->Arg(64)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlSvd)->Arg(200)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EigenBdcSvd)->Arg(200)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MlQr)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EigenQr)->Arg(200)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
