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
    EXPECT_EQ(std::make_pair(ML_DBL_ULP, static_cast<float>(ML_DBL_ULP)),
              std::make_pair(std::ldexp(1.0, -153), 0.0f));
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
    EXPECT_EQ(std::make_pair(copy.GetXorshift32Seed(), copy.GetXorshift64Seed()),
              std::make_pair(123456789u, kDefault64[0]));
    copy.Initialize();  // uniform on [0, 1]
    EXPECT_EQ(copy.GetNumber(), static_cast<T>(3701687786u / 4294967295.0));

    r.SetXorshift32Seed(12345u);
    EXPECT_EQ(State(r, false), (Words{3810508439u, 1689001973u, 2588221029u, 521403786u}));
    r.SetXorshift32Seed(0xFFFFFFFFu);
    EXPECT_EQ(State(r, false), (Words{2086812337u, 2333907765u, 612830565u, 521323377u}));
    r.SetXorshift64Seed(12345ull);
    const Words w = State(r, true);
    EXPECT_EQ(w, (Words{1723943553580695ull, 14034374148334918212ull, 18186981677524286020ull,
                        849866795001603295ull}));
    EXPECT_EQ(w[1] ^ (w[0] << 13), w[2] ^ (w[0] << 21));  // y and z share one constant
}

// Checked against time() read before and after (again when the second changes in between).
TYPED_TEST(RandomTyped, ClockSeedingAndConstruction) {
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
        lags.GetSWBSeeds(lag);
        for (int k = 0; k < 32; ++k)
            ASSERT_EQ(lag[k], unit(r.Xorshift32())) << k;
        lags.SetAlgorithm(2);
        lags.Initialize();
        lags.SetRandomXorshiftSeeds(5u);  // nothing for SWB; seeding leaves the flag alone
        EXPECT_EQ(std::make_pair(State(lags, false), lags.IsInitialized()),
                  std::make_pair(kDefault32, 1));
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
    Words cases = {~0ull, 3, 0x2000001, 0x40000000000001, 0x8000000000000001, 0x8000008000000001};
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
    for (int k = 13; k < 32; ++k)
        r.SWB();
    EXPECT_EQ(state().first, 0);  // wraps after 31
    // The index is a truncating remainder: -1 stays -1, replaces lag 31, and is then 0.
    r.SetSWBState(33, T(0.25));
    EXPECT_EQ(state(), std::make_pair(1, T(0.25)));
    r.SetSWBState(-1, T(0));
    EXPECT_EQ(state().first, -1);
    r.SetSWBSeeds(lags);
    EXPECT_EQ(r.SWB(), d);
    r.GetSWBSeeds(lags);
    EXPECT_EQ(std::make_pair(lags[31], state().first), std::make_pair(d, 0));
    // The carry is subtracted: 2u - u - u = 0 is not positive, so +1 and a new borrow (in
    // float u is 0 and the difference 0 wraps as well).
    const T u = static_cast<T>(ML_DBL_ULP),
            tiny[32] = {0, 0, 0, 0, 0, u, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2 * u};
    r.SetSWBSeeds(tiny);
    r.SetSWBState(0, u);
    EXPECT_EQ(std::make_pair(r.SWB(), state().second), std::make_pair(T(1), u));
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

// Words 0 and all ones give U = 0 (ln P stands in for ln 0) and U = 1; a reversed segment is
// not corrected; GetBoolean is U < 0.5.
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
}

// Sample moments, the Kolmogorov-Smirnov distance to the distribution and the use of the normal
// tail, with fixed seeds (deterministic, so never flaky); the bounds are several standard
// errors wide (sqrt(n) times the distance exceeds 1.95 with probability 0.001).
TYPED_TEST(RandomTyped, DistributionsFitStatistically) {
    using T = TypeParam;
    const int n = 200000;
    const double means[3] = {4, -1, 0.25}, sds[3] = {4 / std::sqrt(12.0), 3, 0.25};
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
            std::sort(v.begin(), v.end());
            double sum = 0, squares = 0, ks = 0;
            for (int k = 0; k < n; ++k) {
                sum += v[k];
                squares += double(v[k]) * v[k];
                ks = std::max(ks, std::fabs(cdf[d](v[k]) - (k + 0.5) / n));
            }
            const double mean = sum / n, sd = std::sqrt(squares / n - mean * mean);
            EXPECT_NEAR(mean, means[d], 5 * sds[d] / std::sqrt(n)) << a << d;
            EXPECT_NEAR(sd, sds[d], 0.01 * sds[d]) << a << d;
            EXPECT_LT(ks * std::sqrt(n), 1.95) << a << d;
            EXPECT_TRUE(d != 0 || (v.front() >= T(2) && v.back() <= T(6))) << a;  // the segment
            // The normal tail beyond r = 3.44 (probability 5.76e-4 on both sides) is reached.
            const auto tail = std::count_if(v.begin(), v.end(),
                                            [](T x) { return std::fabs((x + 1) / 3) > 3.4426; });
            EXPECT_TRUE(d != 1 || std::abs(tail - 0.000576 * n) < 60) << a << " " << tail;
        }
    }
}

// One integer draw of each form from chosen words: the single 32-bit draw spans hi - lo + 1
// from lo - 0.5 (so U = 1 gives hi + 1 and U = 0 with a negative lo gives lo - 1) and uses the
// 32-bit generator also for algorithm 1; the 64-bit and array draws span hi - lo and round half
// away from zero; empty ranges give lo; SWB serves algorithm 2.
TYPED_TEST(RandomTyped, IntegerDraws) {
    using T = TypeParam;
    // u: both generators give U = 0 (0), U = 1 (1), U = 1/2 (2), or 32-bit 1 and 64-bit 0 (3);
    // SWB always gives 1/2.
    struct Case {
        int form, algorithm, u;
        long long lo, hi, expected;
    } const cases[] = {
        {32, 0, 1, 3, 7, 8},        {32, 0, 0, -5, 5, -6},   {32, 0, 0, 3, 7, 3},
        {32, 1, 3, 0, 9, 10},       {32, 0, 1, 5, 5, 5},     {32, 0, 1, 7, 3, 7},
        {32, 0, 2, 1, 10, 6},       {64, 0, 1, -10, 10, 10}, {64, 0, 3, -10, 10, -10},
        {64, 0, 2, 0, 3, 2},        {64, 0, 1, 9, -9, 9},    {64, 2, 0, 0, 100, 50},
        {-32, 0, 1, 0, 10, 10},     {-32, 0, 1, 4, 4, 4},    {-32, 2, 0, -20, 20, 0},
        {-64, 0, 1, 5, 1000, 1000}, {-64, 0, 1, -3, -3, -3}, {-64, 2, 0, 1000, 0, 500}};
    CMLRandom<T> r;
    T lags[32] = {};
    lags[20] = T(0.75);
    lags[5] = T(0.25);
    for (const Case& c : cases) {
        r.SetAlgorithm(c.algorithm);
        const unsigned int w32[4] = {0u, ~0u, 0x80000000u, ~0u};
        const unsigned long long w64[4] = {0, ~0ull, 1ull << 63, 0};
        NextWordsAre(r, w32[c.u], w64[c.u]);
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
    NextWordsAre(r, 0u, 1ull << 63);
    r.SetAlgorithm(0);
    EXPECT_EQ(r.GetIntegerNumber64(LLONG_MIN, LLONG_MAX), 0);  // the span does not overflow
    int none = 123;
    r.GetArrayIntegerNumbers32(0, 10, 0, &none);  // nothing for n = 0
    EXPECT_EQ(none, 123);
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

// The integers are reported as a uniform sample of [left, right] after the segment line; then
// the distribution and segment are back.
TEST(RandomReport, IntegerArrayReportRestoresTheDistribution) {
    CMLRandom<double> r, uniform;
    r.SetAlgorithm(2);
    uniform.SetAlgorithm(2);
    r.SetNormal(3.0, 2.0);
    r.Initialize();
    uniform.SetUniform(1.0, 6.0);
    const int v[5] = {1, 2, 3, 6, 7};
    const double d[5] = {1, 2, 3, 6, 7};
    EXPECT_EQ(Captured([&] { r.TestIntegerRandomArray(1.0, 6, 5, v, 5); }),
              "Segment: left end = 1, right end = 6\n" +
                  Captured([&] { uniform.TestFloatRandomArray(5, d, 5); }));
    EXPECT_EQ(std::make_pair(r.GetDistribution(), r.IsInitialized()), std::make_pair(1, 1));
    const std::string after = Captured([&] { r.TestFloatRandomArray(1, d + 2, 3); });
    EXPECT_EQ(after.substr(0, after.find("Statistical")),
              "Type of algorithm: SWB.  Type of distribution: Normal.\n"
              "Number of generated random values = 1\n"
              "First 1 values: 3\n"  // no more than there are
              "Theoretical values: mean = 3, standard deviation = 2\n");
}

}  // namespace
