#include <ml/random.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <ctime>
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

// A state whose next Xorshift32 word is `word`: with x = 0 the step is w ^ (w >> 19), inverted
// here.
template <class T>
void Next32Is(CMLRandom<T>& r, unsigned int word) {
    r.SetXorshift32Seeds(0, 0, 0, word ^ (word >> 19));
}

// The same for the 64-bit generator (w ^ (w >> 17) inverted).
template <class T>
void Next64Is(CMLRandom<T>& r, unsigned long long word) {
    r.SetXorshift64Seeds(0, 0, 0, word ^ (word >> 17) ^ (word >> 34) ^ (word >> 51));
}

// Standard normal distribution function.
double Phi(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

// Pearson's statistic of `values` over `bins` equiprobable bins of the distribution function F.
template <class T, class F>
double ChiSquare(const std::vector<T>& values, int bins, F cdf) {
    std::vector<double> counts(static_cast<std::size_t>(bins), 0.0);
    for (T v : values) {
        int b = static_cast<int>(cdf(static_cast<double>(v)) * bins);
        if (b >= bins) b = bins - 1;
        if (b < 0) b = 0;
        counts[static_cast<std::size_t>(b)] += 1;
    }
    const double expected = static_cast<double>(values.size()) / bins;
    double chi2 = 0;
    for (double c : counts)
        chi2 += (c - expected) * (c - expected) / expected;
    return chi2;
}

template <class T>
void MeanAndVariance(const std::vector<T>& v, double& mean, double& var) {
    double s = 0, s2 = 0;
    for (T x : v)
        s += x;
    mean = s / static_cast<double>(v.size());
    for (T x : v)
        s2 += (x - mean) * (x - mean);
    var = s2 / static_cast<double>(v.size() - 1);
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

// Runs a report function and returns what it printed.
template <class F>
std::string Captured(F f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

// ------------------------------------------------------------------------------------------------

TEST(RandomLayout, PlainObjectWithoutHeap) {
    static_assert(!std::is_polymorphic_v<CMLRandom<double>>);
    static_assert(std::is_trivially_copyable_v<CMLRandom<double>>);
    static_assert(std::is_same_v<CMLRandom<float>::DrawMethod, float (CMLRandom<float>::*)()>);
    EXPECT_EQ(ML_DBL_ULP, std::ldexp(1.0, -153));
    EXPECT_EQ(static_cast<float>(ML_DBL_ULP), 0.0f);
}

TYPED_TEST(RandomTyped, NewObjectHasFixedXorshiftSequences) {
    using T = TypeParam;
    for (int round = 0; round < 2; ++round) {
        CMLRandom<T> r;
        const unsigned int first32[5] = {3701687786u, 458299110u, 2500872618u, 3633119408u,
                                         516391518u};
        for (unsigned int w : first32)
            EXPECT_EQ(r.Xorshift32(), w);
        EXPECT_EQ(r.Xorshift64(), 13399700009526981159ull);
        EXPECT_EQ(r.Xorshift64(), 3404024066155060222ull);
        EXPECT_EQ(r.Xorshift64(), 10774373472297100312ull);
    }
}

TYPED_TEST(RandomTyped, ConstructionDefaults) {
    using T = TypeParam;
    CMLRandom<T> r;
    EXPECT_EQ(r.GetAlgorithm(), 0);
    EXPECT_EQ(r.GetDistribution(), 0);
    EXPECT_EQ(r.IsInitialized(), 0);
    EXPECT_EQ(r.GetXorshift32Seed(), kDefault32[0]);
    EXPECT_EQ(r.GetXorshift64Seed(), kDefault64[0]);
    int i;
    T carry;
    r.GetSWBState(i, carry);
    EXPECT_EQ(i, 0);
    EXPECT_EQ(carry, T(0));
    // The clock-seeded lags are words of the 32-bit generator scaled to [0, 1].
    T lags[32];
    r.GetSWBSeeds(lags);
    for (T v : lags)
        EXPECT_TRUE(v >= T(0) && v <= T(1));
    // Uniform on [0, 1] once initialised: a + w * U is U itself.
    r.Initialize();
    CMLRandom<T> copy = r;
    EXPECT_EQ(r.GetNumber(), copy.GetXorshift32());
}

// Seeding ---------------------------------------------------------------------------------------

TYPED_TEST(RandomTyped, OneWordSeeds) {
    using T = TypeParam;
    CMLRandom<T> r;
    unsigned int a, b, c, d;
    r.SetXorshift32Seed(12345u);
    r.GetXorshift32Seeds(a, b, c, d);
    EXPECT_EQ(a, 3810508439u);
    EXPECT_EQ(b, 1689001973u);
    EXPECT_EQ(c, 2588221029u);
    EXPECT_EQ(d, 521403786u);
    r.SetXorshift32Seed(0xFFFFFFFFu);
    r.GetXorshift32Seeds(a, b, c, d);
    EXPECT_EQ(a, 2086812337u);
    EXPECT_EQ(b, 2333907765u);
    EXPECT_EQ(c, 612830565u);
    EXPECT_EQ(d, 521323377u);

    unsigned long long A, B, C, D;
    r.SetXorshift64Seed(12345ull);
    r.GetXorshift64Seeds(A, B, C, D);
    EXPECT_EQ(A, 1723943553580695ull);
    EXPECT_EQ(B, 14034374148334918212ull);
    EXPECT_EQ(C, 18186981677524286020ull);
    EXPECT_EQ(D, 849866795001603295ull);
    // The second and third words share one mixing constant.
    EXPECT_EQ(B ^ (A << 13), C ^ (A << 21));
    r.SetXorshift64Seed(~0ull);
    r.GetXorshift64Seeds(A, B, C, D);
    EXPECT_EQ(A, 18446744052911046105ull);
    EXPECT_EQ(B, 18358402180761016900ull);
    EXPECT_EQ(C, 18328605339355675204ull);
    EXPECT_EQ(D, 17873510174476400863ull);
}

// The clock seeding, checked against time() read before and after the call (repeated in the rare
// case that the second changes in between).
TYPED_TEST(RandomTyped, ClockSeedingOfXorshiftStates) {
    using T = TypeParam;
    for (int attempt = 0; attempt < 5; ++attempt) {
        CMLRandom<T> r;
        const std::time_t before = std::time(nullptr);
        r.SetRandomSeeds(7u);
        r.SetAlgorithm(1);
        r.SetRandomSeeds(9ull);
        const std::time_t after = std::time(nullptr);
        if (before != after) continue;

        const unsigned int t = 7u + kDefault32[3] - static_cast<unsigned int>(before);
        const unsigned int y = t ^ (t << 5), z = (t >> 7) ^ (y << 13);
        unsigned int a, b, c, d;
        r.GetXorshift32Seeds(a, b, c, d);
        EXPECT_EQ(a, t);
        EXPECT_EQ(b, y);
        EXPECT_EQ(c, z);
        EXPECT_EQ(d, (y << 11) ^ (z >> 3));

        const unsigned long long T64 =
            9ull + kDefault64[3] - static_cast<unsigned long long>(before);
        const unsigned long long Y = T64 ^ (T64 << 11), Z = (T64 >> 13) ^ (Y << 27);
        unsigned long long A, B, C, D;
        r.GetXorshift64Seeds(A, B, C, D);
        EXPECT_EQ(A, T64);
        EXPECT_EQ(B, Y);
        EXPECT_EQ(C, Z);
        EXPECT_EQ(D, (Y << 21) ^ (Z >> 7));
        return;
    }
    GTEST_SKIP() << "the clock kept changing second during the call";
}

TYPED_TEST(RandomTyped, SWBReseedingDrawsLagsFromThe32BitGenerator) {
    using T = TypeParam;
    CMLRandom<T> r;
    r.SetAlgorithm(2);
    r.SetRandomSeeds();  // no clock: 32 words of the current 32-bit state
    CMLRandom<T> ref;
    T lags[32];
    r.GetSWBSeeds(lags);
    for (int k = 0; k < 32; ++k)
        EXPECT_EQ(lags[k], static_cast<T>(ref.Xorshift32() / 4294967295.0)) << k;
    EXPECT_EQ(r.Xorshift32(), ref.Xorshift32());  // the state moved on by 32 words

    // For SWB the xorshift reseeding does nothing, and SetRandomSWBSeeds only refills the lags.
    CMLRandom<T> s;
    s.SetAlgorithm(2);
    s.SetRandomXorshiftSeeds(5u);
    EXPECT_EQ(s.Xorshift32(), 3701687786u);
    s.SetXorshift32Seeds(kDefault32[0], kDefault32[1], kDefault32[2], kDefault32[3]);
    s.SetRandomSWBSeeds(5ull);
    T again[32];
    s.GetSWBSeeds(again);
    for (int k = 0; k < 32; ++k)
        EXPECT_EQ(again[k], lags[k]);
    EXPECT_EQ(s.IsInitialized(), 0);
    s.Initialize();
    s.SetRandomSeeds();  // seeding never touches the flag
    s.SetXorshift32Seed(3u);
    EXPECT_EQ(s.IsInitialized(), 1);
}

// Generators ------------------------------------------------------------------------------------

TYPED_TEST(RandomTyped, ScalingToTheUnitInterval) {
    using T = TypeParam;
    CMLRandom<T> r;
    Next32Is(r, 0xFFFFFFFFu);
    EXPECT_EQ(r.GetXorshift32(), T(1));
    Next32Is(r, 0u);
    EXPECT_EQ(r.GetXorshift32(), T(0));
    Next32Is(r, 0x80000000u);
    EXPECT_EQ(r.GetXorshift32(), static_cast<T>(2147483648.0 / 4294967295.0));
    Next64Is(r, 1ull << 63);
    EXPECT_EQ(r.GetXorshift64(), T(0.5));
    // The 64-bit word converts to T with a single rounding, whatever its size.
    std::mt19937_64 words(1);
    std::vector<unsigned long long> cases = {~0ull, 1, 3, (1ull << 25) + 1, (1ull << 54) + 1,
                                             (1ull << 63) + 1, (1ull << 63) + (1ull << 39)};
    for (int k = 0; k < 10000; ++k) cases.push_back(words() >> (k % 64));
    for (unsigned long long u : cases) {
        Next64Is(r, u);
        ASSERT_EQ(r.GetXorshift64(), static_cast<T>(u) * T(0x1p-64)) << u;
    }
}

TEST(RandomSWB, StepsThroughTheLags) {
    CMLRandom<double> r;
    double lags[32];
    for (int k = 0; k < 32; ++k)
        lags[k] = k / 32.0;
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, 0.0);
    // x[i] = x[i+20] - x[i+5] - c: twelve positive differences of 15/32, then x[0] - x[17] < 0.
    for (int k = 0; k < 12; ++k)
        EXPECT_EQ(r.SWB(), 15 / 32.0) << k;
    EXPECT_EQ(r.SWB(), 1 - 2 / 32.0);
    int i;
    double c;
    r.GetSWBState(i, c);
    EXPECT_EQ(i, 13);
    EXPECT_EQ(c, ML_DBL_ULP);
    for (int k = 13; k < 32; ++k)
        r.SWB();
    r.GetSWBState(i, c);
    EXPECT_EQ(i, 0);  // wraps after 31
}

TEST(RandomSWB, DoubleBorrowDecidesTinyDifferences) {
    CMLRandom<double> r;
    double lags[32] = {};
    lags[20] = 2 * ML_DBL_ULP;
    lags[5] = ML_DBL_ULP;
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, ML_DBL_ULP);
    EXPECT_EQ(r.SWB(), 1.0);  // 2u - u - u = 0 is not positive: +1 and a new borrow
    int i;
    double c;
    r.GetSWBState(i, c);
    EXPECT_EQ(c, ML_DBL_ULP);
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, 0.0);
    EXPECT_EQ(r.SWB(), ML_DBL_ULP);  // without the borrow the difference stays positive
    r.GetSWBState(i, c);
    EXPECT_EQ(c, 0.0);
}

TEST(RandomSWB, FloatNeverCarries) {
    CMLRandom<float> r;
    r.Initialize();  // refreshes the borrow unit: ML_DBL_ULP as float is 0
    float lags[32] = {};
    lags[20] = 0.25f;
    lags[5] = 0.5f;
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, 0.0f);
    EXPECT_EQ(r.SWB(), 0.75f);  // -0.25 + 1: a borrow, but the borrow unit is 0
    int i;
    float c;
    r.GetSWBState(i, c);
    EXPECT_EQ(c, 0.0f);
    for (int k = 0; k < 32; ++k)
        lags[k] = static_cast<float>(k % 7) / 7.0f;
    r.SetSWBSeeds(lags);
    for (int k = 0; k < 1000; ++k) {
        const float v = r.SWB();
        EXPECT_GT(v, 0.0f);
        EXPECT_LE(v, 1.0f);
        r.GetSWBState(i, c);
        EXPECT_EQ(c, 0.0f);
    }
}

TEST(RandomSWB, StateIndexIsARemainder) {
    CMLRandom<double> r;
    int i;
    double c;
    r.SetSWBState(33, 0.25);
    r.GetSWBState(i, c);
    EXPECT_EQ(i, 1);
    EXPECT_EQ(c, 0.25);
    r.SetSWBState(-1, 0.0);
    r.GetSWBState(i, c);
    EXPECT_EQ(i, -1);
    // A negative index counts from the end: -1 replaces lag 31, then the index is 0.
    double lags[32];
    for (int k = 0; k < 32; ++k)
        lags[k] = k / 64.0;
    r.SetSWBSeeds(lags);
    EXPECT_EQ(r.SWB(), lags[19] - lags[4]);
    double after[32];
    r.GetSWBSeeds(after);
    EXPECT_EQ(after[31], lags[19] - lags[4]);
    r.GetSWBState(i, c);
    EXPECT_EQ(i, 0);
}

// Flag and method table -------------------------------------------------------------------------

TYPED_TEST(RandomTyped, NothingIsDrawnBeforeInitialize) {
    using T = TypeParam;
    CMLRandom<T> r;
    EXPECT_EQ(r.GetNumber(), T(0));
    EXPECT_TRUE(r.GetBoolean());
    T out[3] = {T(7), T(7), T(7)};
    r.GetArrayNumbers(3, out);
    EXPECT_EQ(out[0], T(7));
    EXPECT_EQ(r.Xorshift32(), 3701687786u);  // nothing was drawn

    r.Initialize();
    EXPECT_EQ(r.IsInitialized(), 1);
    r.SetAlgorithm(0);
    EXPECT_EQ(r.IsInitialized(), 0);
    r.Initialize();
    r.SetUniform(T(0), T(1));
    EXPECT_EQ(r.IsInitialized(), 0);
    r.Initialize();
    r.SetNormal(T(0), T(1));
    EXPECT_EQ(r.IsInitialized(), 0);
    r.Initialize();
    r.SetExponential(T(1));
    EXPECT_EQ(r.IsInitialized(), 0);
    EXPECT_EQ(r.GetNumber(), T(0));
}

TYPED_TEST(RandomTyped, MethodTable) {
    using T = TypeParam;
    using R = CMLRandom<T>;
    const typename R::DrawMethod table[3][3] = {
        {&R::GetUniformXorshift32, &R::GetUniformXorshift64, &R::GetUniformSWB},
        {&R::GetNormalXorshift32, &R::GetNormalXorshift64, &R::GetNormalSWB},
        {&R::GetExponentialXorshift32, &R::GetExponentialXorshift64, &R::GetExponentialSWB}};
    R r;
    for (int d = 0; d < 3; ++d) {
        if (d == 0) r.SetUniform(T(0), T(1));
        if (d == 1) r.SetNormal(T(0), T(1));
        if (d == 2) r.SetExponential(T(1));
        for (int a : {0, 1, 2, 7, -1}) {
            r.SetAlgorithm(a);
            const int column = (a == 1 || a == 2) ? a : 0;
            EXPECT_TRUE(r.GetChooseNumberMethod() == table[d][column]) << d << " " << a;
            // GetNumber draws through the chosen method.
            r.Initialize();
            R copy = r;
            EXPECT_EQ(r.GetNumber(), (copy.*table[d][column])());
        }
    }
}

TEST(RandomMethodTable, UnknownDistributionDrawsNothing) {
    // No setter stores an unknown distribution; reaching one takes a raw write, as a caller who
    // reads the record would. The object is trivially copyable, so build one through its bytes.
    CMLRandom<double> r;
    unsigned char bytes[sizeof(r)];
    std::memcpy(bytes, &r, sizeof(r));
    const int five = 5;
    // The distribution is the third field after the draw-method pointer and the algorithm.
    std::memcpy(bytes + sizeof(CMLRandom<double>::DrawMethod) + sizeof(int), &five, sizeof(int));
    std::memcpy(&r, bytes, sizeof(r));
    ASSERT_EQ(r.GetDistribution(), 5);
    EXPECT_TRUE(r.GetChooseNumberMethod() == nullptr);
    r.Initialize();
    EXPECT_EQ(r.IsInitialized(), 1);
    EXPECT_EQ(r.GetNumber(), 0.0);
    double out[2] = {3, 3};
    r.GetArrayNumbers(2, out);
    EXPECT_EQ(out[0], 3.0);
}

// Every method fills arrays exactly as repeated single draws would.
TYPED_TEST(RandomTyped, ArraysMatchSingleDraws) {
    using T = TypeParam;
    for (int a = 0; a < 3; ++a) {
        for (int d = 0; d < 3; ++d) {
            CMLRandom<T> r;
            FixedSeeds(r, a, 11u);
            if (d == 0) r.SetUniform(T(-2), T(3));
            if (d == 1) r.SetNormal(T(1), T(2));
            if (d == 2) r.SetExponential(T(0.5));
            r.Initialize();
            CMLRandom<T> single = r;
            std::vector<T> out(5000);
            r.GetArrayNumbers(5000, out.data());
            for (int k = 0; k < 5000; ++k)
                ASSERT_EQ(out[k], single.GetNumber()) << a << d << k;
            EXPECT_EQ(r.Xorshift32(), single.Xorshift32());
            EXPECT_EQ(r.Xorshift64(), single.Xorshift64());
            EXPECT_EQ(r.SWB(), single.SWB());
        }
    }
}

// Distributions ---------------------------------------------------------------------------------

TEST(RandomDraws, ZigguratTables) {
    CMLRandom<double> r;
    r.CreateZigguratTables();
    const double* X = r.GetZigguratAbscissae();
    const double* Q = r.GetZigguratRatios();
    EXPECT_EQ(X[0], 3.7130862467425505);
    EXPECT_EQ(X[1], 3.442619855899);
    EXPECT_EQ(X[2], 3.2230849845811416);
    EXPECT_EQ(X[3], 3.0832288582168683);
    EXPECT_EQ(X[64], 1.5330878776740433);
    EXPECT_EQ(X[126], 0.36287143109703196);
    EXPECT_EQ(X[127], 0.27232086481396467);
    EXPECT_EQ(X[128], 0.0);
    EXPECT_EQ(Q[0], 0.9271586026096681);
    EXPECT_EQ(Q[1], 0.9362302895738892);
    EXPECT_EQ(Q[127], 0.0);
    // Every layer has the same area v = X[k] * (f(X[k+1]) - f(X[k])).
    auto f = [](double x) { return std::exp(-x * x / 2); };
    for (int k = 1; k < 127; ++k) {
        EXPECT_GT(X[k], X[k + 1]);
        EXPECT_NEAR(X[k] * (f(X[k + 1]) - f(X[k])), 0.00991256303526217, 1e-12) << k;
        EXPECT_EQ(Q[k], X[k + 1] / X[k]);
    }
    // The top layer closes at the mode.
    EXPECT_NEAR(X[127] * (1 - f(X[127])), 0.00991256303526217, 1e-9);
}

TEST(RandomDraws, FloatZigguratTables) {
    CMLRandom<float> r;
    r.Initialize();
    const float* X = r.GetZigguratAbscissae();
    EXPECT_EQ(X[0], 3.7130864f);
    EXPECT_EQ(X[1], 3.4426198f);
    EXPECT_EQ(X[128], 0.0f);
    CMLRandom<double> d;
    d.Initialize();
    for (int k = 2; k < 128; ++k) {
        EXPECT_GT(X[k - 1], X[k]);
        EXPECT_NEAR(X[k], d.GetZigguratAbscissae()[k], 2e-5) << k;
    }
    EXPECT_EQ(r.GetZigguratRatios()[127], 0.0f);
}

TEST(RandomDraws, NormalSequencesOfANewObject) {
    const double expected32[5] = {0.7229107086806935, 0.28958701912249163, -1.1029142687583378,
                                  0.38366710293284473, -0.8879839015526063};
    const double expected64[5] = {0.16430759836192332, 0.08755347396428415, 0.750115016340777,
                                  -0.7528774436395886, -1.2498096777403909};
    CMLRandom<double> a;
    a.SetNormal(0, 1);
    a.Initialize();
    for (double e : expected32)
        EXPECT_EQ(a.GetNumber(), e);
    // Far enough for the wedges and the tail to have been used.
    std::vector<double> rest(20000 - 5);
    a.GetArrayNumbers(static_cast<int>(rest.size()), rest.data());
    EXPECT_EQ(rest.back(), 0.7705075899776724);

    CMLRandom<double> b;
    b.SetAlgorithm(1);
    b.SetNormal(0, 1);
    b.Initialize();
    for (double e : expected64)
        EXPECT_EQ(b.GetNumber(), e);

    // SWB: the uniform from the lags, the layer from the 32-bit generator.
    const double expectedSWB[5] = {0.3215392401384829, -0.612824916032516, 1.0694190975943993,
                                   0.52993972243979, -0.09887646873956427};
    CMLRandom<double> c;
    c.SetAlgorithm(2);
    c.SetRandomSeeds();
    c.SetNormal(0, 1);
    c.Initialize();
    for (double e : expectedSWB)
        EXPECT_EQ(c.GetNumber(), e);
    int i;
    double carry;
    c.GetSWBState(i, carry);
    EXPECT_EQ(i, 5);
}

TYPED_TEST(RandomTyped, ExponentialGuardsTheLogarithm) {
    using T = TypeParam;
    CMLRandom<T> r;
    r.SetExponential(T(2));
    r.Initialize();
    Next32Is(r, 0u);  // U = 0: ln P stands in for ln 0
    const T lnP = std::is_same_v<T, float> ? T(-16.118095f) : T(-20.72326583694641);
    EXPECT_EQ(r.GetNumber(), -lnP / T(2));
    Next32Is(r, 0xFFFFFFFFu);  // U = 1
    EXPECT_EQ(r.GetNumber(), T(0));
    CMLRandom<double> d;
    d.SetExponential(2.0);
    d.Initialize();
    EXPECT_EQ(d.GetNumber(), 0.07432753335952781);
    EXPECT_EQ(d.GetNumber(), 1.1188385850836837);
}

TYPED_TEST(RandomTyped, UniformIsAffineInTheUnitDraw) {
    using T = TypeParam;
    CMLRandom<T> r;
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
}

// Sample moments and goodness of fit with fixed seeds (deterministic, so never flaky); the bounds
// are several standard errors wide.
TYPED_TEST(RandomTyped, DistributionsFitStatistically) {
    using T = TypeParam;
    const int n = 200000;
    for (int a = 0; a < 3; ++a) {
        CMLRandom<T> r;
        FixedSeeds(r, a, 2024u);
        std::vector<T> v(n);
        double mean, var;

        r.SetUniform(T(2), T(6));
        r.Initialize();
        r.GetArrayNumbers(n, v.data());
        MeanAndVariance(v, mean, var);
        EXPECT_NEAR(mean, 4.0, 0.02) << a;
        EXPECT_NEAR(var, 16.0 / 12.0, 0.02) << a;
        for (T x : v)
            ASSERT_TRUE(x >= T(2) && x <= T(6));
        // 100 bins: chi-square with 99 degrees of freedom, mean 99, sd 14.
        EXPECT_LT(ChiSquare(v, 100, [](double x) { return (x - 2) / 4; }), 170) << a;

        r.SetNormal(T(-1), T(3));
        r.Initialize();
        r.GetArrayNumbers(n, v.data());
        MeanAndVariance(v, mean, var);
        EXPECT_NEAR(mean, -1.0, 0.04) << a;
        EXPECT_NEAR(var, 9.0, 0.15) << a;
        EXPECT_LT(ChiSquare(v, 100, [](double x) { return Phi((x + 1) / 3); }), 170) << a;
        // The tail beyond r = 3.44 (probability 5.76e-4 on both sides) is reached.
        int tail = 0;
        for (T x : v)
            tail += std::fabs((x + 1) / 3) > 3.442619855899 ? 1 : 0;
        EXPECT_NEAR(tail, 0.000576 * n, 60) << a;

        r.SetExponential(T(4));
        r.Initialize();
        r.GetArrayNumbers(n, v.data());
        MeanAndVariance(v, mean, var);
        EXPECT_NEAR(mean, 0.25, 0.003) << a;
        EXPECT_NEAR(var, 0.0625, 0.002) << a;
        EXPECT_LT(ChiSquare(v, 100, [](double x) { return 1 - std::exp(-4 * x); }), 170) << a;
    }
}

// Integer draws ---------------------------------------------------------------------------------

TYPED_TEST(RandomTyped, Integer32EndsAndEmptyIntervals) {
    using T = TypeParam;
    CMLRandom<T> r;
    EXPECT_EQ(r.GetIntegerNumber32(5, 5), 5);
    EXPECT_EQ(r.GetIntegerNumber32(7, 3), 7);
    EXPECT_EQ(r.Xorshift32(), 3701687786u);  // empty intervals draw nothing
    Next32Is(r, 0xFFFFFFFFu);
    EXPECT_EQ(r.GetIntegerNumber32(3, 7), 8);  // U = 1 gives hi + 1
    Next32Is(r, 0u);
    EXPECT_EQ(r.GetIntegerNumber32(-5, 5), -6);  // U = 0 with a negative lo gives lo - 1
    Next32Is(r, 0u);
    EXPECT_EQ(r.GetIntegerNumber32(3, 7), 3);
    // The 64-bit algorithm still draws from the 32-bit generator here.
    r.SetAlgorithm(1);
    Next32Is(r, 0xFFFFFFFFu);
    Next64Is(r, 0u);
    EXPECT_EQ(r.GetIntegerNumber32(0, 9), 10);
    EXPECT_EQ(r.GetXorshift64(), T(0));  // untouched
}

TYPED_TEST(RandomTyped, Integer32CoversTheRange) {
    using T = TypeParam;
    CMLRandom<T> r;
    r.SetXorshift32Seed(99u);
    int counts[12] = {};
    for (int k = 0; k < 120000; ++k) {
        const int v = r.GetIntegerNumber32(1, 10);
        ASSERT_GE(v, 0);
        ASSERT_LE(v, 11);
        ++counts[v];
    }
    for (int v = 1; v <= 10; ++v)
        EXPECT_NEAR(counts[v], 12000, 600) << v;
    EXPECT_LT(counts[0] + counts[11], 5);  // only exact ends of the uniform reach them
}

TYPED_TEST(RandomTyped, Integer64) {
    using T = TypeParam;
    CMLRandom<T> r;
    EXPECT_EQ(r.GetIntegerNumber64(4, 4), 4);
    EXPECT_EQ(r.GetIntegerNumber64(9, -9), 9);
    Next64Is(r, ~0ull);
    EXPECT_EQ(r.GetIntegerNumber64(-10, 10), 10);  // no +1: U = 1 gives hi
    Next64Is(r, 0ull);
    EXPECT_EQ(r.GetIntegerNumber64(-10, 10), -10);
    Next64Is(r, 1ull << 63);
    EXPECT_EQ(r.GetIntegerNumber64(0, 3), 2);  // 1.5 rounds half away from zero
    Next64Is(r, 0ull);
    EXPECT_EQ(r.GetIntegerNumber64(LLONG_MIN, LLONG_MAX), LLONG_MIN);  // no overflow of the span
    // SWB for algorithm 2.
    r.SetAlgorithm(2);
    T lags[32] = {};
    lags[20] = T(0.75);
    lags[5] = T(0.25);
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, T(0));
    EXPECT_EQ(r.GetIntegerNumber64(0, 100), 50);
}

TYPED_TEST(RandomTyped, IntegerArrays) {
    using T = TypeParam;
    CMLRandom<T> r;
    int out[64];
    r.GetArrayIntegerNumbers32(4, 4, 3, out);
    EXPECT_EQ(out[0], 4);
    EXPECT_EQ(out[2], 4);
    out[0] = 123;
    r.GetArrayIntegerNumbers32(0, 10, 0, out);
    EXPECT_EQ(out[0], 123);
    Next32Is(r, 0xFFFFFFFFu);
    r.GetArrayIntegerNumbers32(0, 10, 1, out);
    EXPECT_EQ(out[0], 10);  // no +1 here
    // hi < lo: values between hi and lo.
    r.GetArrayIntegerNumbers32(10, -10, 64, out);
    bool spread = false;
    for (int v : out) {
        EXPECT_GE(v, -10);
        EXPECT_LE(v, 10);
        spread = spread || v < 0;
    }
    EXPECT_TRUE(spread);

    long long big[64];
    r.GetArrayIntegerNumbers64(-3, -3, 2, big);
    EXPECT_EQ(big[1], -3);
    Next64Is(r, ~0ull);
    r.GetArrayIntegerNumbers64(5, 1000, 1, big);
    EXPECT_EQ(big[0], 1000);
    r.GetArrayIntegerNumbers64(1000, 5, 64, big);
    for (long long v : big) {
        EXPECT_GE(v, 5);
        EXPECT_LE(v, 1000);
    }
}

// Reports ---------------------------------------------------------------------------------------

TEST(RandomReport, FloatArrayReport) {
    CMLRandom<double> r;
    const double v[4] = {0.25, 0.5, 0.75, 1.5};
    const std::string text = Captured([&] { r.TestFloatRandomArray(4, v, 2); });
    EXPECT_EQ(text,
              "Element 1.5 with index 3 is out the given segment for uniform distribution\n"
              "Type of algorithm: Xorshift 32 bits.  Type of distribution: Uniform.\n"
              "Number of generated random values = 4\n"
              "First 2 values: 0.25, 0.5\n"
              "Theoretical values: mean = 0.5, standard deviation = 0.288675\n"
              "Statistical values: mean = 0.75, standard deviation = 0.540062\n"
              "Difference in means = 0.25, relative difference dif/n = 0.0625\n"
              "Difference in SD = 0.251387, relative difference dif/n = 0.0628466\n"
              "\n");
}

TEST(RandomReport, NamesAndOptionalLines) {
    CMLRandom<float> r;
    r.SetAlgorithm(2);
    r.SetExponential(2.0f);
    const float v[2] = {0.5f, 0.5f};
    const std::string text = Captured([&] { r.TestFloatRandomArray(2, v, 0); });
    EXPECT_EQ(text,
              "Type of algorithm: SWB.  Type of distribution: Exponential.\n"
              "Number of generated random values = 2\n"
              "Theoretical values: mean = 0.5, standard deviation = 0.5\n"
              "Statistical values: mean = 0.5, standard deviation = 0\n"
              "Difference in means = 0, relative difference dif/n = 0\n"
              "Difference in SD = 0.5, relative difference dif/n = 0.25\n"
              "\n");
    r.SetAlgorithm(1);
    r.SetNormal(0.5f, 0.0f);
    const std::string normal = Captured([&] { r.TestFloatRandomArray(2, v, 5); });
    EXPECT_EQ(normal.substr(0, normal.find('\n')),
              "Type of algorithm: Xorshift 64 bits.  Type of distribution: Normal.");
    EXPECT_NE(normal.find("First 2 values: 0.5, 0.5\n"), std::string::npos);
    EXPECT_EQ(Captured([&] { r.TestFloatRandomArray(0, v, 1); }), "");
}

TEST(RandomReport, IntegerArrayReportRestoresTheDistribution) {
    CMLRandom<double> r;
    r.SetNormal(3.0, 2.0);
    r.Initialize();
    const int v[5] = {1, 2, 3, 6, 7};
    const std::string text = Captured([&] { r.TestIntegerRandomArray(1.0, 6, 5, v, 5); });
    EXPECT_EQ(text,
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
    const double one = 3.0;
    const std::string after = Captured([&] { r.TestFloatRandomArray(1, &one, 0); });
    EXPECT_NE(after.find("Theoretical values: mean = 3, standard deviation = 2\n"),
              std::string::npos);
}

}  // namespace
