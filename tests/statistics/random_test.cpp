#include <ml/random.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

template <class T>
class RandomTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(RandomTyped, RealTypes);

constexpr unsigned int kDefault32[4] = {123456789u, 362436069u, 521288629u, 88675123u};
constexpr unsigned long long kDefault64[4] = {88172645463325252ull, 0x07F4809ED9054ADFull,
                                              0x62C6C85408A4C66Cull, 0x908FAC67FA2A9A82ull};

// A state whose next Xorshift32 (Xorshift64) word is `word`: with x = 0 the step is w ^ (w >> 19)
// (w ^ (w >> 17)), inverted here.
template <class T>
void Next32Is(CMLRandom<T>& r, unsigned int word) {
    r.SetXorshift32Seeds(0, 0, 0, word ^ (word >> 19));
}
template <class T>
void Next64Is(CMLRandom<T>& r, unsigned long long word) {
    r.SetXorshift64Seeds(0, 0, 0, word ^ (word >> 17) ^ (word >> 34) ^ (word >> 51));
}

// Fixed seeds for every generator: the lags come from the seeded 32-bit state, which is then
// seeded again for the layers.
template <class T>
void FixedSeeds(CMLRandom<T>& r, int algorithm, unsigned int seed) {
    r.SetXorshift32Seed(seed);
    r.SetXorshift64Seed(seed + 1ull);
    r.SetAlgorithm(2);
    r.SetRandomSeeds();
    r.SetXorshift32Seed(seed + 2u);
    r.SetAlgorithm(algorithm);
}

// Selects distribution 0, 1 or 2 with the parameters of the statistical checks.
template <class T>
void SetDistribution(CMLRandom<T>& r, int d, bool initialize = true) {
    if (d == 0) r.SetUniform(T(2), T(6));
    if (d == 1) r.SetNormal(T(-1), T(3));
    if (d == 2) r.SetExponential(T(4));
    if (initialize) r.Initialize();
}

// The four words of the 32-bit (or the 64-bit) xorshift state.
using Words = std::vector<unsigned long long>;
template <class T>
Words State(const CMLRandom<T>& r, bool wide) {
    unsigned int x, y, z, w;
    unsigned long long X, Y, Z, W;
    r.GetXorshift32Seeds(x, y, z, w);
    r.GetXorshift64Seeds(X, Y, Z, W);
    return wide ? Words{X, Y, Z, W} : Words{x, y, z, w};
}

template <class F>
std::string Captured(F f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

TEST(RandomLayout, PlainObjectWithoutHeap) {
    static_assert(!std::is_polymorphic_v<CMLRandom<double>>);
    static_assert(std::is_trivially_copyable_v<CMLRandom<double>>);
    static_assert(std::is_same_v<CMLRandom<float>::DrawMethod, float (CMLRandom<float>::*)()>);
    EXPECT_EQ(ML_DBL_ULP, std::ldexp(1.0, -153));
    EXPECT_EQ(static_cast<float>(ML_DBL_ULP), 0.0f);
}

TYPED_TEST(RandomTyped, NewObjectHasFixedSequencesAndDefaults) {
    using T = TypeParam;
    CMLRandom<T> r, copy;
    for (unsigned int w : {3701687786u, 458299110u, 2500872618u, 3633119408u, 516391518u})
        EXPECT_EQ(r.Xorshift32(), w);
    for (unsigned long long w :
         {13399700009526981159ull, 3404024066155060222ull, 10774373472297100312ull})
        EXPECT_EQ(r.Xorshift64(), w);
    EXPECT_EQ(std::vector<int>({copy.GetAlgorithm(), copy.GetDistribution(), copy.IsInitialized()}),
              std::vector<int>(3, 0));
    EXPECT_EQ(copy.GetXorshift32Seed(), kDefault32[0]);
    EXPECT_EQ(copy.GetXorshift64Seed(), kDefault64[0]);
    int i;
    T carry, lags[32];
    copy.GetSWBState(i, carry);
    EXPECT_EQ(i, 0);
    EXPECT_EQ(carry, T(0));
    copy.GetSWBSeeds(lags);  // clock-seeded words of the 32-bit generator scaled to [0, 1]
    for (T v : lags)
        EXPECT_TRUE(v >= T(0) && v <= T(1));
    copy.Initialize();  // uniform on [0, 1]: a + w * U is U itself
    r = copy;
    EXPECT_EQ(copy.GetNumber(), r.GetXorshift32());
}

TYPED_TEST(RandomTyped, OneWordSeeds) {
    using T = TypeParam;
    CMLRandom<T> r;
    r.SetXorshift32Seed(12345u);
    EXPECT_EQ(State(r, false), (Words{3810508439u, 1689001973u, 2588221029u, 521403786u}));
    r.SetXorshift32Seed(0xFFFFFFFFu);
    EXPECT_EQ(State(r, false), (Words{2086812337u, 2333907765u, 612830565u, 521323377u}));
    r.SetXorshift64Seed(12345ull);
    const Words w = State(r, true);
    EXPECT_EQ(w, (Words{1723943553580695ull, 14034374148334918212ull, 18186981677524286020ull,
                        849866795001603295ull}));
    EXPECT_EQ(w[1] ^ (w[0] << 13), w[2] ^ (w[0] << 21));  // y and z share one constant
    r.SetXorshift64Seed(~0ull);
    EXPECT_EQ(State(r, true), (Words{18446744052911046105ull, 18358402180761016900ull,
                                     18328605339355675204ull, 17873510174476400863ull}));
}

// Checked against time() read before and after the call (again when the second changes between).
TYPED_TEST(RandomTyped, ClockSeedingOfXorshiftStates) {
    for (int attempt = 0; attempt < 5; ++attempt) {
        CMLRandom<TypeParam> r;
        const std::time_t before = std::time(nullptr);
        r.SetRandomSeeds(7u);
        r.SetAlgorithm(1);
        r.SetRandomSeeds(9ull);
        if (before != std::time(nullptr)) continue;
        const unsigned int t = 7u + kDefault32[3] - static_cast<unsigned int>(before);
        const unsigned int y = t ^ (t << 5), z = (t >> 7) ^ (y << 13);
        const unsigned long long T = 9ull + kDefault64[3] - static_cast<unsigned long long>(before);
        const unsigned long long Y = T ^ (T << 11), Z = (T >> 13) ^ (Y << 27);
        EXPECT_EQ(State(r, false), (Words{t, y, z, (y << 11) ^ (z >> 3)}));
        EXPECT_EQ(State(r, true), (Words{T, Y, Z, (Y << 21) ^ (Z >> 7)}));
        return;
    }
    GTEST_SKIP() << "the clock kept changing second during the call";
}

TYPED_TEST(RandomTyped, SWBReseedingDrawsLagsFromThe32BitGenerator) {
    using T = TypeParam;
    CMLRandom<T> r, ref, s;
    T lags[32], again[32];
    r.SetAlgorithm(2);
    r.SetRandomSeeds();  // no clock: 32 words of the current 32-bit state
    r.GetSWBSeeds(lags);
    for (int k = 0; k < 32; ++k)
        EXPECT_EQ(lags[k], static_cast<T>(ref.Xorshift32() / 4294967295.0)) << k;
    EXPECT_EQ(r.Xorshift32(), ref.Xorshift32());  // the state moved on by 32 words
    // For SWB the xorshift reseeding does nothing, and SetRandomSWBSeeds only refills the lags.
    s.SetAlgorithm(2);
    s.SetRandomXorshiftSeeds(5u);
    EXPECT_EQ(s.Xorshift32(), 3701687786u);
    s.SetXorshift32Seeds(kDefault32[0], kDefault32[1], kDefault32[2], kDefault32[3]);
    s.Initialize();
    s.SetRandomSWBSeeds(5ull);
    s.GetSWBSeeds(again);
    EXPECT_EQ(std::vector<T>(again, again + 32), std::vector<T>(lags, lags + 32));
    s.SetXorshift32Seed(3u);
    EXPECT_EQ(s.IsInitialized(), 1);  // seeding never touches the flag
}

TYPED_TEST(RandomTyped, ScalingToTheUnitInterval) {
    using T = TypeParam;
    CMLRandom<T> r;
    for (unsigned int u : {0xFFFFFFFFu, 0u, 0x80000000u, 12345u}) {
        Next32Is(r, u);
        EXPECT_EQ(r.GetXorshift32(), static_cast<T>(u / 4294967295.0)) << u;  // both ends reached
    }
    // A 64-bit word converts to T with a single rounding, whatever its size.
    std::mt19937_64 words(1);
    Words cases = {
        ~0ull, 1, 3, 0x2000001, 0x40000000000001, 0x8000000000000001, 0x8000008000000000};
    for (int k = 0; k < 10000; ++k)
        cases.push_back(words() >> (k % 64));
    for (unsigned long long u : cases) {
        Next64Is(r, u);
        ASSERT_EQ(r.GetXorshift64(), static_cast<T>(u) * T(0x1p-64)) << u;
    }
}

TEST(RandomSWB, StepsBorrowsAndWrapsInDouble) {
    CMLRandom<double> r;
    double lags[32], c;
    int i;
    for (int k = 0; k < 32; ++k)
        lags[k] = k / 32.0;
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, 0.0);
    // x[i] = x[i+20] - x[i+5] - c: twelve positive differences of 15/32, then x[0] - x[17] < 0.
    for (int k = 0; k < 12; ++k)
        EXPECT_EQ(r.SWB(), 15 / 32.0) << k;
    EXPECT_EQ(r.SWB(), 1 - 2 / 32.0);
    r.GetSWBState(i, c);
    EXPECT_EQ(i, 13);
    EXPECT_EQ(c, ML_DBL_ULP);
    for (int k = 13; k < 32; ++k)
        r.SWB();
    r.GetSWBState(i, c);
    EXPECT_EQ(i, 0);  // wraps after 31
    // The borrow decides tiny differences: 2u - u - u = 0 is not positive, so +1 and a new borrow.
    double tiny[32] = {};
    tiny[20] = 2 * ML_DBL_ULP;
    tiny[5] = ML_DBL_ULP;
    for (const double carry : {ML_DBL_ULP, 0.0}) {
        r.SetSWBSeeds(tiny);
        r.SetSWBState(0, carry);
        EXPECT_EQ(r.SWB(), carry > 0 ? 1.0 : ML_DBL_ULP);
        r.GetSWBState(i, c);
        EXPECT_EQ(c, carry);
    }
    // The index is a truncating remainder: -1 stays -1, replaces lag 31, and is then 0.
    r.SetSWBState(33, 0.25);
    r.GetSWBState(i, c);
    EXPECT_EQ(i, 1);
    EXPECT_EQ(c, 0.25);
    r.SetSWBState(-1, 0.0);
    r.GetSWBState(i, c);
    EXPECT_EQ(i, -1);
    r.SetSWBSeeds(lags);
    EXPECT_EQ(r.SWB(), lags[19] - lags[4]);
    r.GetSWBSeeds(tiny);
    EXPECT_EQ(tiny[31], lags[19] - lags[4]);
    r.GetSWBState(i, c);
    EXPECT_EQ(i, 0);
}

TEST(RandomSWB, FloatNeverCarries) {
    CMLRandom<float> r;
    r.Initialize();  // refreshes the borrow unit: ML_DBL_ULP as float is 0
    float lags[32] = {}, c;
    int i;
    lags[20] = 0.25f;
    lags[5] = 0.5f;
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, 0.0f);
    EXPECT_EQ(r.SWB(), 0.75f);  // -0.25 + 1: a borrow, but the borrow unit is 0
    for (int k = 0; k < 32; ++k)
        lags[k] = static_cast<float>(k % 7) / 7.0f;
    r.SetSWBSeeds(lags);
    for (int k = 0; k < 1000; ++k) {
        r.GetSWBState(i, c);
        ASSERT_EQ(c, 0.0f) << k;
        const float v = r.SWB();
        ASSERT_TRUE(v > 0.0f && v <= 1.0f) << v;
    }
}

TYPED_TEST(RandomTyped, InitializedFlagAndMethodTable) {
    using T = TypeParam;
    using R = CMLRandom<T>;
    R r;
    T unset[3] = {T(7), T(7), T(7)};
    EXPECT_EQ(r.GetNumber(), T(0));
    EXPECT_TRUE(r.GetBoolean());
    r.GetArrayNumbers(3, unset);
    EXPECT_EQ(unset[0], T(7));
    EXPECT_EQ(r.Xorshift32(), 3701687786u);  // nothing was drawn
    const typename R::DrawMethod table[3][3] = {
        {&R::GetUniformXorshift32, &R::GetUniformXorshift64, &R::GetUniformSWB},
        {&R::GetNormalXorshift32, &R::GetNormalXorshift64, &R::GetNormalSWB},
        {&R::GetExponentialXorshift32, &R::GetExponentialXorshift64, &R::GetExponentialSWB}};
    for (int d = 0; d < 3; ++d) {
        for (int a : {0, 1, 2, 7, -1}) {
            r.Initialize();
            r.SetAlgorithm(a);  // every change clears the flag
            EXPECT_EQ(r.IsInitialized(), 0);
            r.Initialize();
            SetDistribution(r, d, false);
            EXPECT_EQ(r.IsInitialized(), 0);
            EXPECT_EQ(r.GetNumber(), T(0));
            r.Initialize();
            const int column = (a == 1 || a == 2) ? a : 0;
            EXPECT_TRUE(r.GetChooseNumberMethod() == table[d][column]) << d << " " << a;
            R copy = r;  // GetNumber and GetArrayNumbers draw through the chosen method
            std::vector<T> out(500);
            EXPECT_EQ(r.GetNumber(), (copy.*table[d][column])());
            r.GetArrayNumbers(500, out.data());
            for (T x : out)
                ASSERT_EQ(x, (copy.*table[d][column])()) << d << " " << a;
        }
    }
}

TEST(RandomMethodTable, UnknownDistributionDrawsNothing) {
    // Only a caller who writes the record stores one: the third field, after the method pointer
    // and the algorithm.
    CMLRandom<double> r;
    double out[2] = {3, 3};
    const int five = 5;
    std::memcpy(
        reinterpret_cast<unsigned char*>(&r) + sizeof(CMLRandom<double>::DrawMethod) + sizeof(int),
        &five, sizeof(int));
    ASSERT_EQ(r.GetDistribution(), 5);
    EXPECT_TRUE(r.GetChooseNumberMethod() == nullptr);
    r.Initialize();
    r.GetArrayNumbers(2, out);
    EXPECT_EQ(r.IsInitialized(), 1);
    EXPECT_EQ(r.GetNumber(), 0.0);
    EXPECT_EQ(out[0], 3.0);
}

TEST(RandomDraws, ZigguratTables) {
    CMLRandom<double> r;
    CMLRandom<float> f;
    r.CreateZigguratTables();
    f.Initialize();
    const double *X = r.GetZigguratAbscissae(), *Q = r.GetZigguratRatios();
    const float *F = f.GetZigguratAbscissae(), *FQ = f.GetZigguratRatios();
    const std::pair<int, double> xs[] = {{0, 3.7130862467425505},    {1, 3.442619855899},
                                         {2, 3.2230849845811416},    {3, 3.0832288582168683},
                                         {64, 1.5330878776740433},   {126, 0.36287143109703196},
                                         {127, 0.27232086481396467}, {128, 0.0}};
    for (const auto& [k, x] : xs)
        EXPECT_EQ(X[k], x) << k;
    EXPECT_EQ(Q[0], 0.9271586026096681);
    EXPECT_EQ(Q[127], 0.0);
    // Every layer has the same area v = X[k] * (f(X[k+1]) - f(X[k])); the top one closes at the
    // mode. The float tables follow the double ones.
    auto density = [](double x) { return std::exp(-x * x / 2); };
    for (int k = 1; k < 127; ++k) {
        EXPECT_NEAR(X[k] * (density(X[k + 1]) - density(X[k])), 0.00991256303526217, 1e-12) << k;
        EXPECT_EQ(Q[k], X[k + 1] / X[k]);
        EXPECT_NEAR(F[k + 1], X[k + 1], 2e-5) << k;
    }
    EXPECT_NEAR(X[127] * (1 - density(X[127])), 0.00991256303526217, 1e-9);
    EXPECT_EQ(std::vector<float>({F[0], F[1], F[128], FQ[127]}),
              std::vector<float>({3.7130864f, 3.4426198f, 0.0f, 0.0f}));
}

TEST(RandomDraws, NormalSequencesOfANewObject) {
    const double expected[3][5] = {
        {0.7229107086806935, 0.28958701912249163, -1.1029142687583378, 0.38366710293284473,
         -0.8879839015526063},
        {0.16430759836192332, 0.08755347396428415, 0.750115016340777, -0.7528774436395886,
         -1.2498096777403909},
        // SWB: the uniform from the lags, the layer from the 32-bit generator.
        {0.3215392401384829, -0.612824916032516, 1.0694190975943993, 0.52993972243979,
         -0.09887646873956427}};
    for (int a = 0; a < 3; ++a) {
        CMLRandom<double> r;
        r.SetAlgorithm(a);
        if (a == 2) r.SetRandomSeeds();  // the lags from the default 32-bit state, which moves on
        r.SetNormal(0, 1);
        r.Initialize();
        for (double e : expected[a])
            EXPECT_EQ(r.GetNumber(), e) << a;
        if (a == 0) {
            // Far enough for the wedges and the tail to have been used.
            std::vector<double> rest(20000 - 5);
            r.GetArrayNumbers(static_cast<int>(rest.size()), rest.data());
            EXPECT_EQ(rest.back(), 0.7705075899776724);
        }
    }
}

TYPED_TEST(RandomTyped, UniformAndExponentialAtTheEndsOfTheUnitDraw) {
    using T = TypeParam;
    CMLRandom<T> r;
    const T lnP = std::is_same_v<T, float> ? T(-16.118095f) : T(-20.72326583694641);
    r.SetExponential(T(2));
    r.Initialize();
    Next32Is(r, 0u);  // U = 0: ln P stands in for ln 0
    EXPECT_EQ(r.GetNumber(), -lnP / T(2));
    Next32Is(r, 0xFFFFFFFFu);  // U = 1
    EXPECT_EQ(r.GetNumber(), T(0));
    r.SetUniform(T(-3), T(5));
    r.Initialize();
    Next32Is(r, 0xFFFFFFFFu);
    EXPECT_EQ(r.GetNumber(), T(5));
    Next32Is(r, 0u);
    EXPECT_EQ(r.GetNumber(), T(-3));
    CMLRandom<T> ref = r;
    EXPECT_EQ(r.GetNumber(), T(-3) + T(8) * ref.GetXorshift32());
    r.SetUniform(T(2), T(1));  // a reversed segment is not corrected
    r.Initialize();
    Next32Is(r, 0xFFFFFFFFu);
    EXPECT_EQ(r.GetNumber(), T(1));
    CMLRandom<double> d;
    d.SetExponential(2.0);
    d.Initialize();
    EXPECT_EQ(d.GetNumber(), 0.07432753335952781);
    EXPECT_EQ(d.GetNumber(), 1.1188385850836837);
}

// Sample moments and goodness of fit with fixed seeds (deterministic, so never flaky); the bounds
// are several standard errors wide.
TYPED_TEST(RandomTyped, DistributionsFitStatistically) {
    using T = TypeParam;
    const int n = 200000;
    const double means[3] = {4, -1, 0.25}, variances[3] = {16.0 / 12, 9, 0.0625};
    const double meanTol[3] = {0.02, 0.04, 0.003}, varTol[3] = {0.02, 0.15, 0.002};
    const std::function<double(double)> cdf[3] = {
        [](double x) { return (x - 2) / 4; },
        [](double x) { return 0.5 * std::erfc(-(x + 1) / 3 / std::sqrt(2.0)); },
        [](double x) { return 1 - std::exp(-4 * x); }};
    for (int a = 0; a < 3; ++a) {
        CMLRandom<T> r;
        FixedSeeds(r, a, 2024u);
        std::vector<T> v(n);
        for (int d = 0; d < 3; ++d) {
            SetDistribution(r, d);
            r.GetArrayNumbers(n, v.data());
            double sum = 0, squares = 0, chi2 = 0;
            std::vector<double> bins(100, 0.0);
            int tail = 0;
            for (T x : v) {
                sum += x;
                bins[std::min(99, std::max(0, int(cdf[d](x) * 100)))] += 1;
                tail += std::fabs((x + 1) / 3) > 3.442619855899 ? 1 : 0;
            }
            for (T x : v)
                squares += (x - sum / n) * (x - sum / n);
            for (double b : bins)
                chi2 += (b - n / 100.0) * (b - n / 100.0) / (n / 100.0);
            EXPECT_NEAR(sum / n, means[d], meanTol[d]) << a << d;
            EXPECT_NEAR(squares / (n - 1), variances[d], varTol[d]) << a << d;
            // 100 bins: chi-square with 99 degrees of freedom, mean 99, sd 14.
            EXPECT_LT(chi2, 170) << a << d;
            const auto [lo, hi] = std::minmax_element(v.begin(), v.end());
            EXPECT_TRUE(d != 0 || (*lo >= T(2) && *hi <= T(6))) << a;  // inside the segment
            if (d == 1) {
                // The tail beyond r = 3.44 (probability 5.76e-4 on both sides) is reached.
                EXPECT_NEAR(tail, 0.000576 * n, 60) << a;
            }
        }
    }
}

TYPED_TEST(RandomTyped, Integer32DrawsReachBothEndsPlusOne) {
    using T = TypeParam;
    CMLRandom<T> r;
    EXPECT_EQ(r.GetIntegerNumber32(5, 5), 5);
    EXPECT_EQ(r.GetIntegerNumber32(7, 3), 7);
    EXPECT_EQ(r.Xorshift32(), 3701687786u);  // empty intervals draw nothing
    // U = 1 gives hi + 1, and U = 0 with a negative lo gives lo - 1.
    const unsigned int words[] = {0xFFFFFFFFu, 0u, 0u};
    const int lo[] = {3, -5, 3}, hi[] = {7, 5, 7}, expected[] = {8, -6, 3};
    for (int k = 0; k < 3; ++k) {
        Next32Is(r, words[k]);
        EXPECT_EQ(r.GetIntegerNumber32(lo[k], hi[k]), expected[k]) << k;
    }
    // The 64-bit algorithm still draws from the 32-bit generator here.
    r.SetAlgorithm(1);
    Next32Is(r, 0xFFFFFFFFu);
    Next64Is(r, 0u);
    EXPECT_EQ(r.GetIntegerNumber32(0, 9), 10);
    EXPECT_EQ(r.GetXorshift64(), T(0));  // untouched
    int counts[12] = {};
    r.SetXorshift32Seed(99u);
    for (int k = 0; k < 120000; ++k) {
        const int v = r.GetIntegerNumber32(1, 10);
        ASSERT_TRUE(v >= 0 && v <= 11) << v;
        ++counts[v];
    }
    for (int v = 1; v <= 10; ++v)
        EXPECT_NEAR(counts[v], 12000, 600) << v;
    EXPECT_LT(counts[0] + counts[11], 5);  // only exact ends of the uniform reach them
}

TYPED_TEST(RandomTyped, Integer64AndIntegerArrays) {
    using T = TypeParam;
    CMLRandom<T> r;
    EXPECT_EQ(r.GetIntegerNumber64(4, 4), 4);
    EXPECT_EQ(r.GetIntegerNumber64(9, -9), 9);
    const unsigned long long words[] = {~0ull, 0, 1ull << 63, 0};
    const long long lo[] = {-10, -10, 0, LLONG_MIN}, hi[] = {10, 10, 3, LLONG_MAX};
    const long long expected[] = {10, -10, 2, LLONG_MIN};  // no +1; 1.5 rounds away from zero
    for (int k = 0; k < 4; ++k) {
        Next64Is(r, words[k]);
        EXPECT_EQ(r.GetIntegerNumber64(lo[k], hi[k]), expected[k]) << k;
    }
    int out[64];
    long long big[64];
    r.GetArrayIntegerNumbers32(4, 4, 3, out);
    EXPECT_EQ(out[2], 4);
    out[0] = 123;
    r.GetArrayIntegerNumbers32(0, 10, 0, out);
    EXPECT_EQ(out[0], 123);
    Next32Is(r, 0xFFFFFFFFu);
    r.GetArrayIntegerNumbers32(0, 10, 1, out);
    EXPECT_EQ(out[0], 10);                         // no +1 here
    r.GetArrayIntegerNumbers32(10, -10, 64, out);  // hi < lo: values between hi and lo
    const auto [lo32, hi32] = std::minmax_element(out, out + 64);
    EXPECT_GE(*lo32, -10);
    EXPECT_LT(*lo32, 0);
    EXPECT_LE(*hi32, 10);
    r.GetArrayIntegerNumbers64(-3, -3, 2, big);
    EXPECT_EQ(big[1], -3);
    Next64Is(r, ~0ull);
    r.GetArrayIntegerNumbers64(5, 1000, 1, big);
    EXPECT_EQ(big[0], 1000);
    r.GetArrayIntegerNumbers64(1000, 5, 64, big);
    EXPECT_GE(*std::min_element(big, big + 64), 5);
    EXPECT_LE(*std::max_element(big, big + 64), 1000);
    // SWB for algorithm 2.
    T lags[32] = {};
    lags[20] = T(0.75);
    lags[5] = T(0.25);
    r.SetAlgorithm(2);
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, T(0));
    EXPECT_EQ(r.GetIntegerNumber64(0, 100), 50);
}

TEST(RandomReport, FloatArrayReports) {
    CMLRandom<double> r;
    const double v[4] = {0.25, 0.5, 0.75, 1.5};
    EXPECT_EQ(Captured([&] { r.TestFloatRandomArray(4, v, 2); }),
              "Element 1.5 with index 3 is out the given segment for uniform distribution\n"
              "Type of algorithm: Xorshift 32 bits.  Type of distribution: Uniform.\n"
              "Number of generated random values = 4\n"
              "First 2 values: 0.25, 0.5\n"
              "Theoretical values: mean = 0.5, standard deviation = 0.288675\n"
              "Statistical values: mean = 0.75, standard deviation = 0.540062\n"
              "Difference in means = 0.25, relative difference dif/n = 0.0625\n"
              "Difference in SD = 0.251387, relative difference dif/n = 0.0628466\n"
              "\n");
    CMLRandom<float> f;
    const float w[2] = {0.5f, 0.5f};
    f.SetAlgorithm(2);
    f.SetExponential(2.0f);
    EXPECT_EQ(Captured([&] { f.TestFloatRandomArray(2, w, 0); }),
              "Type of algorithm: SWB.  Type of distribution: Exponential.\n"
              "Number of generated random values = 2\n"
              "Theoretical values: mean = 0.5, standard deviation = 0.5\n"
              "Statistical values: mean = 0.5, standard deviation = 0\n"
              "Difference in means = 0, relative difference dif/n = 0\n"
              "Difference in SD = 0.5, relative difference dif/n = 0.25\n"
              "\n");
    f.SetAlgorithm(1);
    f.SetNormal(0.5f, 0.0f);
    const std::string normal = Captured([&] { f.TestFloatRandomArray(2, w, 5); });
    EXPECT_EQ(normal.substr(0, normal.find('\n')),
              "Type of algorithm: Xorshift 64 bits.  Type of distribution: Normal.");
    EXPECT_NE(normal.find("First 2 values: 0.5, 0.5\n"), std::string::npos);
    EXPECT_EQ(Captured([&] { f.TestFloatRandomArray(0, w, 1); }), "");
}

TEST(RandomReport, IntegerArrayReportRestoresTheDistribution) {
    CMLRandom<double> r;
    r.SetNormal(3.0, 2.0);
    r.Initialize();
    const int v[5] = {1, 2, 3, 6, 7};
    const double one = 3.0;
    EXPECT_EQ(Captured([&] { r.TestIntegerRandomArray(1.0, 6, 5, v, 5); }),
              "Segment: left end = 1, right end = 6\n"
              "Element 7 with index 4 is out the given segment for uniform distribution\n"
              "Type of algorithm: Xorshift 32 bits.  Type of distribution: Uniform.\n"
              "Number of generated random values = 5\n"
              "First 5 values: 1, 2, 3, 6, 7\n"
              "Theoretical values: mean = 3.5, standard deviation = 1.44338\n"
              "Statistical values: mean = 3.8, standard deviation = 2.58844\n"
              "Difference in means = 0.3, relative difference dif/n = 0.06\n"
              "Difference in SD = 1.14506, relative difference dif/n = 0.229012\n"
              "\n");
    EXPECT_EQ(r.GetDistribution(), 1);
    EXPECT_EQ(r.IsInitialized(), 1);
    const std::string after = Captured([&] { r.TestFloatRandomArray(1, &one, 0); });
    EXPECT_NE(after.find("Theoretical values: mean = 3, standard deviation = 2\n"),
              std::string::npos);
}

}  // namespace
