#include <ml/random.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
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

using Words = std::vector<unsigned long long>;
const Words kDefault32 = {123456789u, 362436069u, 521288629u, 88675123u};
const Words kDefault64 = {88172645463325252ull, 0x07F4809ED9054ADFull, 0x62C6C85408A4C66Cull,
                          0x908FAC67FA2A9A82ull};

// Sets the states so that the next Xorshift32 and Xorshift64 words are the given ones: with
// x = 0 a step returns w ^ (w >> 19) (w ^ (w >> 17)), inverted here.
template <class T>
void NextWordsAre(CMLRandom<T>& r, unsigned int word32, unsigned long long word64 = 0) {
    r.SetXorshift32Seeds(0, 0, 0, word32 ^ (word32 >> 19));
    r.SetXorshift64Seeds(0, 0, 0, word64 ^ (word64 >> 17) ^ (word64 >> 34) ^ (word64 >> 51));
}

// The four words of the 32-bit (or the 64-bit) xorshift state.
template <class T>
Words State(const CMLRandom<T>& r, bool wide) {
    unsigned int x, y, z, w;
    unsigned long long X, Y, Z, W;
    r.GetXorshift32Seeds(x, y, z, w);
    r.GetXorshift64Seeds(X, Y, Z, W);
    return wide ? Words{X, Y, Z, W} : Words{x, y, z, w};
}

// The 32-bit state the clock seeding derives from t = seed + w - now.
Words ClockState32(unsigned int t) {
    const unsigned int y = t ^ (t << 5), z = (t >> 7) ^ (y << 13);
    return {t, y, z, (y << 11) ^ (z >> 3)};
}

template <class T>
void SetDistribution(CMLRandom<T>& r, int d) {
    if (d == 0) r.SetUniform(T(2), T(6));
    if (d == 1) r.SetNormal(T(-1), T(3));
    if (d == 2) r.SetExponential(T(4));
}

TEST(RandomLayout, PlainObjectWithoutHeap) {
    static_assert(!std::is_polymorphic_v<CMLRandom<double>>);
    static_assert(std::is_trivially_copyable_v<CMLRandom<double>>);
    static_assert(std::is_same_v<CMLRandom<float>::DrawMethod, float (CMLRandom<float>::*)()>);
    EXPECT_EQ(ML_DBL_ULP, std::ldexp(1.0, -153));
    EXPECT_EQ(static_cast<float>(ML_DBL_ULP), 0.0f);
}

TYPED_TEST(RandomTyped, FixedStatesAndOneWordSeeds) {
    using T = TypeParam;
    CMLRandom<T> r, copy;
    for (unsigned int w : {3701687786u, 458299110u, 2500872618u})
        EXPECT_EQ(r.Xorshift32(), w);
    for (unsigned long long w : {13399700009526981159ull, 3404024066155060222ull})
        EXPECT_EQ(r.Xorshift64(), w);
    int i;
    T carry;
    copy.GetSWBState(i, carry);
    EXPECT_EQ(std::vector<int>({copy.GetAlgorithm(), copy.GetDistribution(), copy.IsInitialized(),
                                i, int(carry)}),
              std::vector<int>(5, 0));
    EXPECT_EQ(std::make_pair(State(copy, false), State(copy, true)),
              std::make_pair(kDefault32, kDefault64));
    EXPECT_EQ(std::make_pair(copy.GetXorshift32Seed(), copy.GetXorshift64Seed()),
              std::make_pair(123456789u, kDefault64[0]));
    copy.Initialize();  // uniform on [0, 1]: a + w * U is U itself
    r = copy;
    EXPECT_EQ(copy.GetNumber(), r.GetXorshift32());

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
    EXPECT_EQ(State(r, true)[3], 17873510174476400863ull);
}

// Checked against time() read before and after (again when the second changes in between).
TYPED_TEST(RandomTyped, ClockSeedingConstructionAndLagRefills) {
    using T = TypeParam;
    auto unit = [](unsigned int w) { return static_cast<T>(w / 4294967295.0); };
    for (int attempt = 0; attempt < 5; ++attempt) {
        const std::time_t before = std::time(nullptr);
        CMLRandom<T> r, lags;
        r.SetRandomSeeds(7u);
        r.SetAlgorithm(1);
        r.SetRandomSeeds(9ull);
        if (before != std::time(nullptr)) continue;
        const unsigned int now = static_cast<unsigned int>(before);
        EXPECT_EQ(State(r, false), ClockState32(7u + 88675123u - now));
        const unsigned long long t = 9ull + kDefault64[3] - static_cast<unsigned long long>(before);
        const unsigned long long y = t ^ (t << 11), z = (t >> 13) ^ (y << 27);
        EXPECT_EQ(State(r, true), (Words{t, y, z, (y << 21) ^ (z >> 7)}));
        // A new object seeds its 32-bit state twice from the clock, the first time from a zero
        // fourth word, and takes its lags from the next 32 words.
        const Words s = ClockState32(static_cast<unsigned int>(ClockState32(0u - now)[3]) - now);
        r.SetXorshift32Seeds(unsigned(s[0]), unsigned(s[1]), unsigned(s[2]), unsigned(s[3]));
        T lag[32];
        for (int refill = 0; refill < 3; ++refill) {
            // For SWB no clock: both refills take the next 32 words of the 32-bit state, which
            // moves on, and the xorshift reseeding does nothing. Seeding leaves the flag alone.
            if (refill == 1) {
                lags.SetAlgorithm(2);
                lags.Initialize();
                lags.SetRandomXorshiftSeeds(5u);
                lags.SetRandomSeeds();
                r.SetXorshift32Seeds(123456789u, 362436069u, 521288629u, 88675123u);
            }
            if (refill == 2) lags.SetRandomSWBSeeds(5ull);
            lags.GetSWBSeeds(lag);
            for (int k = 0; k < 32; ++k)
                ASSERT_EQ(lag[k], unit(r.Xorshift32())) << refill << " " << k;
        }
        EXPECT_EQ(std::make_pair(lags.IsInitialized(), lags.Xorshift32()),
                  std::make_pair(1, r.Xorshift32()));
        return;
    }
    GTEST_SKIP() << "the clock kept changing second during the call";
}

// A 64-bit word converts to T with a single rounding, whatever its size (a 32-bit word divides
// by 2^32 - 1, so both ends are reached: see the uniform draws).
TYPED_TEST(RandomTyped, Scaling64BitWordsRoundsOnce) {
    using T = TypeParam;
    CMLRandom<T> r;
    std::mt19937_64 words(1);
    Words cases = {~0ull, 3, 0x2000001, 0x40000000000001, 0x8000000000000001, 0x8000008000000000};
    for (int k = 0; k < 10000; ++k)
        cases.push_back(words() >> (k % 64));
    for (unsigned long long u : cases) {
        NextWordsAre(r, 0u, u);
        ASSERT_EQ(r.GetXorshift64(), static_cast<T>(u) * T(0x1p-64)) << u;
    }
}

// x[i] = x[i+20] - x[i+5] - c, plus 1 and a borrow when not positive. The float borrow unit is
// ML_DBL_ULP as float, which is 0: a float generator never carries.
TYPED_TEST(RandomTyped, SWBStepsBorrowsAndWraps) {
    using T = TypeParam;
    CMLRandom<T> r;
    r.Initialize();  // refreshes the borrow unit
    const T borrow = static_cast<T>(ML_DBL_ULP), d = T(15) / T(32);
    T lags[32], c;
    int i;
    auto state = [&] {
        r.GetSWBState(i, c);
        return std::make_pair(i, c);
    };
    for (int k = 0; k < 32; ++k)
        lags[k] = T(k) / T(32);
    r.SetSWBSeeds(lags);
    r.SetSWBState(0, T(0));
    for (int k = 0; k < 12; ++k)  // twelve positive differences, then x[0] - x[17] < 0
        EXPECT_EQ(r.SWB(), d) << k;
    EXPECT_EQ(r.SWB(), T(1) - T(2) / T(32));
    EXPECT_EQ(state(), std::make_pair(13, borrow));
    for (int k = 13; k < 1000; ++k) {
        const T v = r.SWB();
        ASSERT_TRUE(v > T(0) && v <= T(1) && (borrow > T(0) || state().second == T(0))) << k;
        ASSERT_EQ(state().first, (k + 1) % 32);  // wraps after 31
    }
    // The index is a truncating remainder: -1 stays -1, replaces lag 31, and is then 0.
    r.SetSWBState(33, T(0.25));
    EXPECT_EQ(state(), std::make_pair(1, T(0.25)));
    r.SetSWBState(-1, T(0));
    EXPECT_EQ(state().first, -1);
    r.SetSWBSeeds(lags);
    EXPECT_EQ(r.SWB(), d);
    r.GetSWBSeeds(lags);
    EXPECT_EQ(std::make_pair(lags[31], state().first), std::make_pair(d, 0));
    if constexpr (std::is_same_v<T, double>) {
        // The borrow decides tiny differences: 2u - u - u = 0 is not positive, so +1 and a new
        // borrow; without the carry the difference u is kept.
        double tiny[32] = {};
        tiny[20] = 2 * ML_DBL_ULP;
        tiny[5] = ML_DBL_ULP;
        for (const double carry : {ML_DBL_ULP, 0.0}) {
            r.SetSWBSeeds(tiny);
            r.SetSWBState(0, carry);
            EXPECT_EQ(r.SWB(), carry > 0 ? 1.0 : ML_DBL_ULP);
            EXPECT_EQ(state().second, carry);
        }
    }
}

TYPED_TEST(RandomTyped, InitializedFlagAndMethodTable) {
    using T = TypeParam;
    using R = CMLRandom<T>;
    R r;
    T unset = T(7);
    r.GetArrayNumbers(1, &unset);
    EXPECT_EQ(std::make_tuple(r.GetNumber(), r.GetBoolean(), unset), std::make_tuple(0, true, 7));
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
            SetDistribution(r, d);
            EXPECT_EQ(std::make_pair(r.IsInitialized(), r.GetNumber()), std::make_pair(0, T(0)));
            r.Initialize();
            const auto method = table[d][(a == 1 || a == 2) ? a : 0];
            EXPECT_TRUE(r.GetChooseNumberMethod() == method) << d << " " << a;
            R copy = r;  // GetNumber and GetArrayNumbers draw through the chosen method
            std::vector<T> out(500);
            EXPECT_EQ(r.GetNumber(), (copy.*method)());
            r.GetArrayNumbers(500, out.data());
            for (T x : out)
                ASSERT_EQ(x, (copy.*method)()) << d << " " << a;
        }
    }
}

TEST(RandomDraws, ZigguratTables) {
    CMLRandom<double> r;
    CMLRandom<float> f;
    r.CreateZigguratTables();
    f.Initialize();
    const double *X = r.GetZigguratAbscissae(), *Q = r.GetZigguratRatios();
    const float *F = f.GetZigguratAbscissae(), *FQ = f.GetZigguratRatios();
    EXPECT_EQ(std::vector<double>({X[0], X[1], X[2], X[3], X[64], X[126], X[127], X[128], Q[0]}),
              std::vector<double>({3.7130862467425505, 3.442619855899, 3.2230849845811416,
                                   3.0832288582168683, 1.5330878776740433, 0.36287143109703196,
                                   0.27232086481396467, 0.0, 0.9271586026096681}));
    EXPECT_EQ(std::vector<float>({F[0], F[1], F[128], FQ[127]}),
              std::vector<float>({3.7130864f, 3.4426198f, 0.0f, 0.0f}));
    // Every layer has the same area v = X[k] * (f(X[k+1]) - f(X[k])); the top one closes at the
    // mode. The float tables follow the double ones.
    auto density = [](double x) { return std::exp(-x * x / 2); };
    for (int k = 1; k < 127; ++k) {
        EXPECT_NEAR(X[k] * (density(X[k + 1]) - density(X[k])), 0.00991256303526217, 1e-12) << k;
        EXPECT_EQ(Q[k], X[k + 1] / X[k]);
        EXPECT_NEAR(F[k + 1], X[k + 1], 2e-5) << k;
    }
    EXPECT_NEAR(X[127] * (1 - density(X[127])), 0.00991256303526217, 1e-9);
}

TEST(RandomDraws, NormalAndExponentialSequencesOfANewObject) {
    const std::vector<double> expected[4] = {
        {0.7229107086806935, 0.28958701912249163, -1.1029142687583378, 0.38366710293284473},
        {0.16430759836192332, 0.08755347396428415, 0.750115016340777, -0.7528774436395886},
        // SWB: the uniform from the lags, the layer from the 32-bit generator.
        {0.3215392401384829, -0.612824916032516, 1.0694190975943993, 0.52993972243979},
        {0.07432753335952781, 1.1188385850836837}};  // exponential with rate 2
    for (int a = 0; a < 4; ++a) {
        CMLRandom<double> r;
        r.SetAlgorithm(a % 3);
        if (a == 2) r.SetRandomSeeds();  // the lags from the default 32-bit state, which moves on
        a < 3 ? r.SetNormal(0, 1) : r.SetExponential(2);
        r.Initialize();
        std::vector<double> got(expected[a].size());
        for (double& x : got)
            x = r.GetNumber();
        EXPECT_EQ(got, expected[a]) << a;
        if (a == 0) {
            // Far enough for the wedges and the tail to have been used.
            std::vector<double> rest(20000 - 4);
            r.GetArrayNumbers(static_cast<int>(rest.size()), rest.data());
            EXPECT_EQ(rest.back(), 0.7705075899776724);
        }
    }
}

// Words 0 and all ones give U = 0 (ln P stands in for ln 0) and U = 1; a reversed segment is not
// corrected; GetBoolean is U < 0.5.
TYPED_TEST(RandomTyped, UniformExponentialAndBooleanAtTheEndsOfTheUnitDraw) {
    using T = TypeParam;
    CMLRandom<T> r;
    const T lnP = std::is_same_v<T, float> ? T(-16.118095f) : T(-20.72326583694641);
    struct Case {
        int exponential;
        T left, right;
        unsigned int word;
        T expected;
    } const cases[] = {{1, 2, 0, 0u, -lnP / T(2)}, {1, 2, 0, 0xFFFFFFFFu, 0},
                       {0, -3, 5, 0xFFFFFFFFu, 5}, {0, -3, 5, 0u, -3},
                       {0, 2, 1, 0xFFFFFFFFu, 1},  {0, 0, 1, 0x7FFF0000u, 1},
                       {0, 0, 1, 0x80000000u, 0}};
    for (const Case& c : cases) {
        c.exponential ? r.SetExponential(c.left) : r.SetUniform(c.left, c.right);
        r.Initialize();
        NextWordsAre(r, c.word);
        EXPECT_EQ(c.left == T(0) ? T(r.GetBoolean()) : r.GetNumber(), c.expected) << c.word;
    }
    r.SetUniform(T(-3), T(5));
    r.Initialize();
    CMLRandom<T> ref = r;
    EXPECT_EQ(r.GetNumber(), T(-3) + T(8) * ref.GetXorshift32());
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
        // Fixed seeds for every generator: lags from one 32-bit state, layers from another.
        CMLRandom<T> r;
        r.SetXorshift32Seed(2024u);
        r.SetXorshift64Seed(2025ull);
        r.SetAlgorithm(2);
        r.SetRandomSeeds();
        r.SetXorshift32Seed(2026u);
        r.SetAlgorithm(a);
        std::vector<T> v(n);
        for (int d = 0; d < 3; ++d) {
            SetDistribution(r, d);
            r.Initialize();
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
            // The normal tail beyond r = 3.44 (probability 5.76e-4 on both sides) is reached.
            EXPECT_TRUE(d != 1 || std::abs(tail - 0.000576 * n) < 60) << a << " " << tail;
        }
    }
}

// One integer draw of each form from chosen words: the single 32-bit draw spans hi - lo + 1 from
// lo - 0.5 (so U = 1 gives hi + 1 and U = 0 with a negative lo gives lo - 1) and uses the 32-bit
// generator also for algorithm 1; the 64-bit and array draws span hi - lo and round half away
// from zero; empty ranges give lo; SWB serves algorithm 2.
TYPED_TEST(RandomTyped, IntegerDraws) {
    using T = TypeParam;
    struct Case {
        int form, algorithm;
        unsigned int word32;
        unsigned long long word64;
        long long lo, hi, expected;
    } const cases[] = {{32, 0, ~0u, 0, 3, 7, 8},
                       {32, 0, 0, 0, -5, 5, -6},
                       {32, 0, 0, 0, 3, 7, 3},
                       {32, 1, ~0u, 0, 0, 9, 10},
                       {32, 0, ~0u, 0, 5, 5, 5},
                       {32, 0, ~0u, 0, 7, 3, 7},
                       {32, 0, 0x80000000u, 0, 1, 10, 6},
                       {64, 0, 0, ~0ull, -10, 10, 10},
                       {64, 0, ~0u, 0, -10, 10, -10},
                       {64, 0, 0, 1ull << 63, 0, 3, 2},
                       {64, 0, 0, 0, LLONG_MIN, LLONG_MAX, LLONG_MIN},
                       {64, 0, 0, ~0ull, 9, -9, 9},
                       {64, 2, 0, 0, 0, 100, 50},
                       {-32, 0, ~0u, 0, 0, 10, 10},
                       {-32, 0, 0, ~0ull, 4, 4, 4},
                       {-32, 2, 0, 0, -20, 20, 0},
                       {-64, 0, ~0u, ~0ull, 5, 1000, 1000},
                       {-64, 0, ~0u, 0, -3, -3, -3},
                       {-64, 2, 0, 0, 1000, 0, 500}};
    CMLRandom<T> r;
    T lags[32] = {};  // SWB: 0.75 - 0.25 is the uniform
    lags[20] = T(0.75);
    lags[5] = T(0.25);
    for (const Case& c : cases) {
        r.SetAlgorithm(c.algorithm);
        NextWordsAre(r, c.word32, c.word64);
        r.SetSWBSeeds(lags);
        r.SetSWBState(0, T(0));
        int out32 = 123;
        long long out64 = 123;
        if (c.form == 32) out64 = r.GetIntegerNumber32(int(c.lo), int(c.hi));
        if (c.form == 64) out64 = r.GetIntegerNumber64(c.lo, c.hi);
        if (c.form == -32) r.GetArrayIntegerNumbers32(int(c.lo), int(c.hi), 1, &out32);
        if (c.form == -64) r.GetArrayIntegerNumbers64(c.lo, c.hi, 1, &out64);
        EXPECT_EQ(c.form == -32 ? out32 : out64, c.expected) << c.form << " " << c.lo;
    }
    int out[64] = {123};
    long long big[64];
    r.SetAlgorithm(0);
    r.SetXorshift32Seed(99u);
    r.SetXorshift64Seed(99ull);
    r.GetArrayIntegerNumbers32(0, 10, 0, out);         // nothing for n = 0
    r.GetArrayIntegerNumbers32(10, -10, 63, out + 1);  // hi < lo: values between hi and lo
    r.GetArrayIntegerNumbers64(1000, 5, 64, big);
    const auto [lo32, hi32] = std::minmax_element(out + 1, out + 64);
    const auto [lo64, hi64] = std::minmax_element(big, big + 64);
    EXPECT_TRUE(out[0] == 123 && *lo32 >= -10 && *lo32 < 0 && *hi32 <= 10 && *hi32 > 0);
    EXPECT_TRUE(*lo64 >= 5 && *lo64 < 500 && *hi64 <= 1000 && *hi64 > 500);
}

template <class F>
std::string Captured(F f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
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
    f.SetAlgorithm(1);
    f.SetExponential(2.0f);
    EXPECT_EQ(Captured([&] { f.TestFloatRandomArray(2, w, 0); }),
              "Type of algorithm: Xorshift 64 bits.  Type of distribution: Exponential.\n"
              "Number of generated random values = 2\n"
              "Theoretical values: mean = 0.5, standard deviation = 0.5\n"
              "Statistical values: mean = 0.5, standard deviation = 0\n"
              "Difference in means = 0, relative difference dif/n = 0\n"
              "Difference in SD = 0.5, relative difference dif/n = 0.25\n"
              "\n");
    EXPECT_EQ(Captured([&] { f.TestFloatRandomArray(0, w, 1); }), "");
}

TEST(RandomReport, IntegerArrayReportRestoresTheDistribution) {
    CMLRandom<double> r;
    r.SetAlgorithm(2);
    r.SetNormal(3.0, 2.0);
    r.Initialize();
    const int v[5] = {1, 2, 3, 6, 7};
    const double one = 3.0;
    EXPECT_EQ(Captured([&] { r.TestIntegerRandomArray(1.0, 6, 5, v, 5); }),
              "Segment: left end = 1, right end = 6\n"
              "Element 7 with index 4 is out the given segment for uniform distribution\n"
              "Type of algorithm: SWB.  Type of distribution: Uniform.\n"
              "Number of generated random values = 5\n"
              "First 5 values: 1, 2, 3, 6, 7\n"
              "Theoretical values: mean = 3.5, standard deviation = 1.44338\n"
              "Statistical values: mean = 3.8, standard deviation = 2.58844\n"
              "Difference in means = 0.3, relative difference dif/n = 0.06\n"
              "Difference in SD = 1.14506, relative difference dif/n = 0.229012\n"
              "\n");
    EXPECT_EQ(std::make_pair(r.GetDistribution(), r.IsInitialized()), std::make_pair(1, 1));
    const std::string after = Captured([&] { r.TestFloatRandomArray(1, &one, 3); });
    EXPECT_EQ(after.substr(0, after.find("Statistical")),
              "Type of algorithm: SWB.  Type of distribution: Normal.\n"
              "Number of generated random values = 1\n"
              "First 1 values: 3\n"  // no more than there are
              "Theoretical values: mean = 3, standard deviation = 2\n");
}

}  // namespace
