// CMLRandom<T>: pseudo-random numbers from three interchangeable generators (xorshift on four
// 32-bit words, xorshift on four 64-bit words, subtract-with-borrow on 32 floating-point lags) and
// three distributions (uniform on a segment, normal by a 128-layer ziggurat, exponential).
//
// The object carries all of its state: no heap memory, no virtual functions, nothing shared
// between objects. One object is used by one thread at a time.
//
// Behaviour callers rely on:
//  - A new object always produces the same two xorshift sequences (the first Xorshift32() is
//    3701687786); only its 32 subtract-with-borrow lags are seeded from the clock.
//  - GetNumber(), GetArrayNumbers() and GetBoolean() draw only after Initialize(); any change of
//    algorithm or distribution clears the initialised flag until Initialize() runs again (they
//    then give 0, nothing and true). Seeding never touches the flag; the integer draws and the
//    raw generators ignore it.
//  - The float generator's subtract-with-borrow borrow unit is ML_DBL_ULP converted to float,
//    which is 0: a float generator never carries a borrow, and its sequences reflect that.
//  - GetIntegerNumber32 can return hi + 1 (for a uniform of exactly 1) and lo - 1 (for a uniform
//    of 0 with a negative lo); the 64-bit and array forms use a span without the +1.
#ifndef ML_RANDOM_H
#define ML_RANDOM_H

#include <ml/precision.h>
#include <ml/types.h>

namespace ml::detail {
struct random_engine;
}  // namespace ml::detail

// Element types of CMLRandom.
#define ML_FOR_EACH_RANDOM(X) ML_FOR_EACH_REAL(X)

template <class T>
class ML_API CMLRandom {
public:
    // A draw routine of this class: one value of the chosen generator and distribution.
    using DrawMethod = T (CMLRandom::*)();

    // Generator numbers (GetAlgorithm) and distribution numbers (GetDistribution).
    static constexpr int kXorshift32 = 0;
    static constexpr int kXorshift64 = 1;
    static constexpr int kSWB = 2;
    static constexpr int kUniform = 0;
    static constexpr int kNormal = 1;
    static constexpr int kExponential = 2;

    // Algorithm 0, uniform on [0, 1], flag 0, the fixed xorshift states; the 32 lags are filled
    // from the 32-bit generator after seeding it twice from the clock.
    CMLRandom();
    ~CMLRandom() = default;

    // Stores the algorithm (no range check: values other than 1 and 2 act as 0) and clears the
    // initialised flag.
    void SetAlgorithm(int algorithm) {
        m_algorithm = algorithm;
        m_initialized = 0;
    }
    int GetAlgorithm() const { return m_algorithm; }
    // Uniform on [left, right]: stores left and the width right - left (not checked for sign).
    // Clears the initialised flag.
    void SetUniform(T left, T right) {
        m_distribution = kUniform;
        m_initialized = 0;
        m_left = left;
        m_width = right - left;
    }
    // Normal with the given mean and standard deviation. Clears the initialised flag.
    void SetNormal(T mean, T sd) {
        m_distribution = kNormal;
        m_initialized = 0;
        m_mean = mean;
        m_sd = sd;
    }
    // Exponential with rate lambda. Clears the initialised flag.
    void SetExponential(T lambda) {
        m_distribution = kExponential;
        m_initialized = 0;
        m_lambda = lambda;
    }
    int GetDistribution() const { return m_distribution; }
    // 1 once Initialize() has run since the last change of algorithm or distribution, else 0.
    int IsInitialized() const { return m_initialized; }
    // Selects the draw method of the current algorithm and distribution (null for an unknown
    // distribution), refreshes the borrow unit from ML_DBL_ULP, builds the ziggurat tables and
    // sets the initialised flag.
    void Initialize();
    // The draw method the current algorithm and distribution select; null for a distribution
    // other than 0, 1, 2.
    DrawMethod GetChooseNumberMethod() const;
    // Builds the ziggurat abscissae X[0..128] and ratios Q[k] = X[k+1] / X[k] only.
    void CreateZigguratTables();
    // Read access to the ziggurat tables (129 and 128 values).
    const T* GetZigguratAbscissae() const { return m_zigX; }
    const T* GetZigguratRatios() const { return m_zigQ; }

    // Seeds. One seed spreads over the four words; the plural forms store four words unchanged;
    // the getters return the first word or all four.
    void SetXorshift32Seed(unsigned int seed);
    void SetXorshift64Seed(unsigned long long seed);
    void SetXorshift32Seeds(unsigned int x, unsigned int y, unsigned int z, unsigned int w);
    void SetXorshift64Seeds(unsigned long long x, unsigned long long y, unsigned long long z,
                            unsigned long long w);
    unsigned int GetXorshift32Seed() const { return m_xs32[0]; }
    unsigned long long GetXorshift64Seed() const { return m_xs64[0]; }
    void GetXorshift32Seeds(unsigned int& x, unsigned int& y, unsigned int& z,
                            unsigned int& w) const;
    void GetXorshift64Seeds(unsigned long long& x, unsigned long long& y, unsigned long long& z,
                            unsigned long long& w) const;
    // Copy the 32 lags in or out, element 0 first.
    void SetSWBSeeds(const T* lags);
    void GetSWBSeeds(T* lags) const;
    // Index := i % 32 with truncating division (a negative i stays negative; the generator then
    // uses position i mod 32 counted from the end and reaches 0 after -1), carry := c.
    void SetSWBState(int i, T c) {
        m_swbIndex = i % 32;
        m_carry = c;
    }
    void GetSWBState(int& i, T& c) const {
        i = m_swbIndex;
        c = m_carry;
    }
    // Reseeds the current algorithm's generator: the 32-bit or 64-bit state from
    // seed + fourth word - time(nullptr); for SWB the 32 lags from 32 Xorshift32 words (no clock).
    // Algorithms other than 1 and 2 reseed the 32-bit state.
    void SetRandomSeeds() { SetRandomSeeds(0u); }
    void SetRandomSeeds(unsigned int seed);
    void SetRandomSeeds(unsigned long long seed);
    // As SetRandomSeeds for algorithm 0 or 1; does nothing for any other algorithm.
    void SetRandomXorshiftSeeds() { SetRandomXorshiftSeeds(0u); }
    void SetRandomXorshiftSeeds(unsigned int seed);
    void SetRandomXorshiftSeeds(unsigned long long seed);
    // SetRandomXorshiftSeeds(seed), then the 32 lags from 32 Xorshift32 words.
    void SetRandomSWBSeeds() { SetRandomSWBSeeds(0u); }
    void SetRandomSWBSeeds(unsigned int seed);
    void SetRandomSWBSeeds(unsigned long long seed);

    // One value of the chosen method; 0 while the initialised flag is 0 (or no method is chosen).
    T GetNumber() { return (m_initialized && m_method) ? (this->*m_method)() : T(0); }
    // out[0..n-1] from the chosen method; nothing while the flag is 0, without a method, or for
    // n <= 0.
    void GetArrayNumbers(int n, T* out);
    // An integer of [lo, hi] (hi + 1 and lo - 1 reachable at the ends of the uniform), from SWB
    // for algorithm 2 and from Xorshift32 otherwise; lo when hi <= lo. hi + 1 past the largest
    // int wraps to the smallest.
    int GetIntegerNumber32(int lo, int hi);
    // lo + round(U * (hi - lo)) with U from SWB (algorithm 2) or Xorshift64; lo when hi <= lo.
    long long GetIntegerNumber64(long long lo, long long hi);
    // n values lo + round(U * (hi - lo)) (hi < lo allowed: the values then lie in [hi, lo]);
    // all lo when hi == lo; nothing for n <= 0.
    void GetArrayIntegerNumbers32(int lo, int hi, int n, int* out);
    void GetArrayIntegerNumbers64(long long lo, long long hi, long long n, long long* out);
    // true when GetNumber() < 0.5, so always true while the flag is 0.
    bool GetBoolean() { return GetNumber() < T(0.5); }

    // One raw step of each generator.
    unsigned int Xorshift32();
    unsigned long long Xorshift64();
    T SWB();
    // A raw step scaled to [0, 1]: word / 4294967295.0, or word * 2^-64.
    T GetXorshift32();
    T GetXorshift64();
    // a + w * U on the stored segment.
    T GetUniformXorshift32();
    T GetUniformXorshift64();
    T GetUniformSWB();
    // mean + SD * Z with Z standard normal from the ziggurat.
    T GetNormalXorshift32();
    T GetNormalXorshift64();
    T GetNormalSWB();
    // -ln(U) / lambda (ln U replaced by ln P for U <= P).
    T GetExponentialXorshift32();
    T GetExponentialXorshift64();
    T GetExponentialSWB();

    // Prints to standard output the statistical report of n values: generator and distribution,
    // count, the first nFirst values (none for nFirst = 0; at most n), theoretical and sample mean
    // and standard deviation and their differences. Prints nothing for n <= 0.
    void TestFloatRandomArray(int n, const T* values, int nFirst) const;
    // Prints "Segment: ..." and the same report for n integers as a uniform sample of
    // [left, right]; the distribution and segment are restored afterwards, the initialised flag
    // and draw method are left as they were.
    void TestIntegerRandomArray(T left, int right, int n, const int* values, int nFirst);

private:
    friend struct ml::detail::random_engine;

    DrawMethod m_method = nullptr;
    int m_algorithm = kXorshift32;
    int m_distribution = kUniform;
    int m_initialized = 0;
    T m_left = T(0);
    T m_width = T(1);
    unsigned int m_xs32[4] = {0, 0, 0, 0};
    unsigned long long m_xs64[4] = {0, 0, 0, 0};
    T m_lags[32] = {};
    T m_carry = T(0);
    T m_borrow = T(0);
    int m_swbIndex = 0;
    T m_mean = T(0);
    T m_sd = T(1);
    T m_zigX[129] = {};
    T m_zigQ[128] = {};
    T m_lambda = T(1);
};

#define ML_RANDOM_EXTERN(T) extern template class CMLRandom<T>;
ML_FOR_EACH_RANDOM(ML_RANDOM_EXTERN)
#undef ML_RANDOM_EXTERN

#endif  // ML_RANDOM_H
