#include <ml/random.h>

#include <cmath>
#include <ctime>
#include <iostream>

namespace {

// The largest 32-bit word as a double: word / this maps the generator onto [0, 1], both ends
// included.
constexpr double kWordMax32 = 4294967295.0;

// Multipliers of the one-word seeding, indexed by seed mod 13.
constexpr unsigned long long kSeedPrimes[13] = {3, 5, 7, 13, 17, 19, 23, 37, 47, 59, 61, 67, 71};
constexpr unsigned long long kSeedMultiplier = 0xB11924E1ull;

// The fixed initial states of a new object.
constexpr unsigned int kXs32Default[4] = {123456789u, 362436069u, 521288629u, 88675123u};
constexpr unsigned long long kXs64Default[4] = {88172645463325252ull, 0x07F4809ED9054ADFull,
                                                0x62C6C85408A4C66Cull, 0x908FAC67FA2A9A82ull};
// Mixed into the 64-bit words by the one-word seeding (the second and third words share one).
constexpr unsigned long long kXs64SeedMix = 0x0139408DCBBF7A44ull;

// Constants of the 128-layer normal ziggurat per element type: the virtual width of the base
// strip X[0], the tail start r = X[1], the density at r, the common layer area, and the logarithm
// of P that replaces ln(u) for u <= P.
template <class T>
struct ziggurat_constants;

template <>
struct ziggurat_constants<double> {
    static constexpr double x0 = 3.7130862467425505;
    static constexpr double r = 3.442619855899;
    static constexpr double fr = 0.002669629083880923;
    static constexpr double area = 0.00991256303526217;
    static constexpr double logP = -20.72326583694641;  // ln 1e-9
};

template <>
struct ziggurat_constants<float> {
    static constexpr float x0 = 3.7130864f;
    static constexpr float r = 3.4426198f;
    static constexpr float fr = 0.0026696292f;
    static constexpr float area = 0.009912563f;
    static constexpr float logP = -16.118095f;  // ln 1e-7
};

// The square root of 12: a uniform segment's standard deviation is its width over this.
template <class T>
constexpr T kSqrt12 = T(3.4641016151377544);

// ln u, with ln P in place of the logarithm for u <= P.
template <class T>
inline T GuardedLog(T u) {
    return u > mlDefaultPrecision<T> ? std::log(u) : ziggurat_constants<T>::logP;
}

// Ends a report line as std::endl does (newline, then flush), without instantiating the
// stream's locale helpers inside the library.
std::ostream& EndLine(std::ostream& os) {
    os.put('\n');
    return os.flush();
}

inline unsigned long long SpreadSeed(unsigned long long s) {
    return kSeedMultiplier * s * kSeedPrimes[s % 13];
}

struct Xorshift32State {
    unsigned int x, y, z, w;
    unsigned int Next() {
        const unsigned int t = x ^ (x << 11);
        x = y;
        y = z;
        z = w;
        w = w ^ (w >> 19) ^ (t ^ (t >> 8));
        return w;
    }
};

struct Xorshift64State {
    unsigned long long x, y, z, w;
    unsigned long long Next() {
        const unsigned long long t = x ^ (x << 13);
        x = y;
        y = z;
        z = w;
        w = w ^ (w >> 17) ^ (t ^ (t >> 7));
        return w;
    }
};

template <class T>
inline T Unit32(unsigned int u) {
    return static_cast<T>(u / kWordMax32);
}

// An unsigned 64-bit word converted to T with one rounding, as static_cast<T> does, but without
// the branch on the top bit that the portable conversion takes (unpredictable on random words).
inline double WordToReal(unsigned long long u, double) {
    // Both halves convert exactly; their sum is rounded once.
    return static_cast<double>(static_cast<long long>(u >> 32)) * 4294967296.0 +
           static_cast<double>(static_cast<long long>(u & 0xFFFFFFFFull));
}

inline float WordToReal(unsigned long long u, float) {
    // Below 2^63 the signed conversion is exact; above, halving with a sticky bit keeps the
    // rounding (the word has more than 25 significant bits there).
    const float low = static_cast<float>(static_cast<long long>(u & 0x7FFFFFFFFFFFFFFFull));
    const float high = 2.0f * static_cast<float>(static_cast<long long>((u >> 1) | (u & 1)));
    return static_cast<long long>(u) < 0 ? high : low;
}

template <class T>
inline T Unit64(unsigned long long u) {
    return WordToReal(u, T()) * T(0x1p-64);
}

// One subtract-with-borrow step on the lags (lag 32, taps 20 and 5). The index is used modulo 32
// (a negative index left by SetSWBState counts from the end) and wraps from 31 to 0.
template <class T>
inline T SWBStep(T* lags, T& carry, T borrow, int& index) {
    const int i = index & 31;
    const T v = lags[(i + 20) & 31] - lags[(i + 5) & 31] - carry;
    // Without branches (the sign of v is a coin toss): +1 and the borrow when v is not positive;
    // v + 0 and borrow * 0 are exact otherwise.
    const T wrapped = static_cast<T>(!(v > T(0)));
    const T result = v + wrapped;
    carry = borrow * wrapped;
    lags[i] = result;
    index = index == 31 ? 0 : index + 1;
    return result;
}

// The three generators behind one interface: a uniform on [0, 1] and a ziggurat layer (the low
// seven bits of a raw word; SWB takes its layer from the 32-bit xorshift).
template <class T>
struct Gen32 {
    Xorshift32State s;
    T Uniform() { return Unit32<T>(s.Next()); }
    unsigned int Layer() { return s.Next() & 127u; }
};

template <class T>
struct Gen64 {
    Xorshift64State s;
    T Uniform() { return Unit64<T>(s.Next()); }
    unsigned int Layer() { return static_cast<unsigned int>(s.Next() & 127u); }
};

template <class T>
struct GenSWB {
    T* lags;
    T carry;
    T borrow;
    int index;
    Xorshift32State s;
    T Uniform() { return SWBStep(lags, carry, borrow, index); }
    unsigned int Layer() { return s.Next() & 127u; }
};

// A standard normal deviate by the ziggurat: X holds the 129 layer edges, Q their ratios.
template <class T, class Gen>
inline T StandardNormal(Gen& g, const T* X, const T* Q) {
    for (;;) {
        const T u = T(2) * g.Uniform() - T(1);
        const unsigned int k = g.Layer();
        if (std::fabs(u) < Q[k]) return u * X[k];
        if (k == 0) {
            // Base strip: a deviate from the tail beyond r.
            const T r = ziggurat_constants<T>::r;
            T x, y;
            do {
                x = -GuardedLog(g.Uniform()) / r;
                y = -GuardedLog(g.Uniform());
            } while (x * x > T(2) * y);
            return u >= T(0) ? r + x : -(r + x);
        }
        // Wedge between the layer's rectangle and the density.
        const T x = u * X[k];
        const T f1 = std::exp(-(X[k + 1] * X[k + 1] - x * x) / T(2));
        const T f0 = std::exp(-(X[k] * X[k] - x * x) / T(2));
        if (f1 + (f0 - f1) * g.Uniform() < T(1)) return x;
    }
}

// A non-negative integral value of at most 2^64 as a 64-bit word, 2^64 wrapping to 0.
template <class T>
inline unsigned long long WrappedMagnitude(T m) {
    constexpr T two64 = T(18446744073709551616.0);
    return m >= two64 ? static_cast<unsigned long long>(m - two64)
                      : static_cast<unsigned long long>(m);
}

// lo + trunc(r + 0.5) for r >= 0, lo + trunc(r - 0.5) below (rounding half away from zero),
// added modulo 2^64 so that a result past the largest value wraps, as the integer types do.
template <class T>
inline long long AddRounded(long long lo, T r) {
    const unsigned long long base = static_cast<unsigned long long>(lo);
    if (r >= T(0)) return static_cast<long long>(base + WrappedMagnitude(std::trunc(r + T(0.5))));
    return static_cast<long long>(base - WrappedMagnitude(std::trunc(-r + T(0.5))));
}

// hi - lo exactly, converted to T once (never overflows the integer type).
template <class T>
inline T Span(long long lo, long long hi) {
    const unsigned long long l = static_cast<unsigned long long>(lo);
    const unsigned long long h = static_cast<unsigned long long>(hi);
    return hi >= lo ? static_cast<T>(h - l) : -static_cast<T>(l - h);
}

}  // namespace

namespace ml::detail {

// Moves a generator's state between the object and local variables, so that the array loops
// keep it in registers.
struct random_engine {
    template <class T>
    static Gen32<T> Load32(const CMLRandom<T>& o) {
        return Gen32<T>{{o.m_xs32[0], o.m_xs32[1], o.m_xs32[2], o.m_xs32[3]}};
    }
    template <class T>
    static void Store32(CMLRandom<T>& o, const Xorshift32State& s) {
        o.m_xs32[0] = s.x;
        o.m_xs32[1] = s.y;
        o.m_xs32[2] = s.z;
        o.m_xs32[3] = s.w;
    }
    template <class T>
    static Gen64<T> Load64(const CMLRandom<T>& o) {
        return Gen64<T>{{o.m_xs64[0], o.m_xs64[1], o.m_xs64[2], o.m_xs64[3]}};
    }
    template <class T>
    static void Store64(CMLRandom<T>& o, const Xorshift64State& s) {
        o.m_xs64[0] = s.x;
        o.m_xs64[1] = s.y;
        o.m_xs64[2] = s.z;
        o.m_xs64[3] = s.w;
    }
    template <class T>
    static GenSWB<T> LoadSWB(CMLRandom<T>& o) {
        return GenSWB<T>{o.m_lags, o.m_carry, o.m_borrow, o.m_swbIndex, Load32(o).s};
    }
    template <class T>
    static void StoreSWB(CMLRandom<T>& o, const GenSWB<T>& g) {
        o.m_carry = g.carry;
        o.m_swbIndex = g.index;
        Store32(o, g.s);
    }
    template <class T>
    static void Store(CMLRandom<T>& o, const Gen32<T>& g) {
        Store32(o, g.s);
    }
    template <class T>
    static void Store(CMLRandom<T>& o, const Gen64<T>& g) {
        Store64(o, g.s);
    }
    template <class T>
    static void Store(CMLRandom<T>& o, const GenSWB<T>& g) {
        StoreSWB(o, g);
    }

    template <class T, class Gen>
    static T Uniform(CMLRandom<T>& o, Gen g) {
        const T v = o.m_left + o.m_width * g.Uniform();
        Store(o, g);
        return v;
    }
    template <class T, class Gen>
    static T Normal(CMLRandom<T>& o, Gen g) {
        const T v = o.m_mean + o.m_sd * StandardNormal(g, o.m_zigX, o.m_zigQ);
        Store(o, g);
        return v;
    }
    template <class T, class Gen>
    static T Exponential(CMLRandom<T>& o, Gen g) {
        const T v = -GuardedLog(g.Uniform()) / o.m_lambda;
        Store(o, g);
        return v;
    }

    // n draws of one distribution with the generator state held locally.
    template <class T, class Gen>
    static void Fill(CMLRandom<T>& o, Gen g, int n, T* out) {
        switch (o.m_distribution) {
            case CMLRandom<T>::kUniform: {
                const T a = o.m_left, w = o.m_width;
                for (int k = 0; k < n; ++k)
                    out[k] = a + w * g.Uniform();
                break;
            }
            case CMLRandom<T>::kNormal: {
                const T mean = o.m_mean, sd = o.m_sd;
                for (int k = 0; k < n; ++k)
                    out[k] = mean + sd * StandardNormal(g, o.m_zigX, o.m_zigQ);
                break;
            }
            case CMLRandom<T>::kExponential: {
                const T lambda = o.m_lambda;
                for (int k = 0; k < n; ++k)
                    out[k] = -GuardedLog(g.Uniform()) / lambda;
                break;
            }
            default:
                return;
        }
        Store(o, g);
    }

    // A uniform on [0, 1] for the integer draws: SWB for algorithm 2, else the given xorshift.
    template <class T>
    static T IntegerUniform32(CMLRandom<T>& o) {
        return o.m_algorithm == CMLRandom<T>::kSWB ? o.SWB() : Unit32<T>(o.Xorshift32());
    }
    template <class T>
    static T IntegerUniform64(CMLRandom<T>& o) {
        return o.m_algorithm == CMLRandom<T>::kSWB ? o.SWB() : Unit64<T>(o.Xorshift64());
    }

    // The report shared by both test functions.
    template <class T>
    static void Report(const CMLRandom<T>& o, int n, const T* v, int nFirst) {
        T mean0 = T(0), sd0 = T(0);
        switch (o.m_distribution) {
            case CMLRandom<T>::kUniform:
                mean0 = o.m_left + o.m_width / T(2);
                sd0 = o.m_width / kSqrt12<T>;
                break;
            case CMLRandom<T>::kNormal:
                mean0 = o.m_mean;
                sd0 = o.m_sd;
                break;
            case CMLRandom<T>::kExponential:
                mean0 = sd0 = T(1) / o.m_lambda;
                break;
            default:
                break;
        }
        std::ostream& os = std::cout;
        if (o.m_distribution == CMLRandom<T>::kUniform) {
            const T a = o.m_left, b = o.m_left + o.m_width;
            for (int j = 0; j < n; ++j) {
                if (v[j] < a || v[j] > b) {
                    os << "Element " << v[j] << " with index " << j
                       << " is out the given segment for uniform distribution" << EndLine;
                }
            }
        }
        T sum = T(0);
        for (int j = 0; j < n; ++j)
            sum += v[j];
        const T mean = sum / static_cast<T>(n);
        T sd = T(0);
        if (n > 1) {
            T sq = T(0);
            for (int j = 0; j < n; ++j)
                sq += (v[j] - mean) * (v[j] - mean);
            sd = mlSafeSqrt(sq / static_cast<T>(n - 1));
        }

        static const char* const kAlgorithms[] = {"Xorshift 32 bits. ", "Xorshift 64 bits. ",
                                                  "SWB. "};
        static const char* const kDistributions[] = {"Uniform.", "Normal.", "Exponential."};
        const bool knownAlgorithm = o.m_algorithm >= 0 && o.m_algorithm <= 2;
        const bool knownDistribution = o.m_distribution >= 0 && o.m_distribution <= 2;
        os << "Type of algorithm: " << (knownAlgorithm ? kAlgorithms[o.m_algorithm] : "")
           << " Type of distribution: "
           << (knownDistribution ? kDistributions[o.m_distribution] : "") << EndLine;
        os << "Number of generated random values = " << n << EndLine;
        const int first = nFirst < n ? nFirst : n;
        if (first > 0) {
            os << "First " << first << " values: ";
            for (int j = 0; j + 1 < first; ++j)
                os << v[j] << ", ";
            os << v[first - 1] << EndLine;
        }
        const T d = std::fabs(mean0 - mean), e = std::fabs(sd0 - sd);
        os << "Theoretical values: mean = " << mean0 << ", standard deviation = " << sd0 << EndLine;
        os << "Statistical values: mean = " << mean << ", standard deviation = " << sd << EndLine;
        os << "Difference in means = " << d
           << ", relative difference dif/n = " << d / static_cast<T>(n) << EndLine;
        os << "Difference in SD = " << e
           << ", relative difference dif/n = " << e / static_cast<T>(n) << EndLine;
        os << EndLine;
    }
};

}  // namespace ml::detail

using ml::detail::random_engine;

template <class T>
CMLRandom<T>::CMLRandom() {
    // The clock seeds the 32-bit state twice (starting from a zero fourth word) and the lags are
    // drawn from it; then both xorshift states are fixed, so only the lags depend on the clock.
    SetRandomXorshiftSeeds();
    SetRandomSWBSeeds();
    m_carry = T(0);
    m_borrow = static_cast<T>(ML_DBL_ULP);
    m_swbIndex = 0;
    for (int k = 0; k < 4; ++k) {
        m_xs32[k] = kXs32Default[k];
        m_xs64[k] = kXs64Default[k];
    }
}

template <class T>
void CMLRandom<T>::Initialize() {
    m_method = GetChooseNumberMethod();
    m_borrow = static_cast<T>(ML_DBL_ULP);
    CreateZigguratTables();
    m_initialized = 1;
}

template <class T>
typename CMLRandom<T>::DrawMethod CMLRandom<T>::GetChooseNumberMethod() const {
    const int a = m_algorithm;
    switch (m_distribution) {
        case kUniform:
            return a == kXorshift64 ? &CMLRandom::GetUniformXorshift64
                   : a == kSWB      ? &CMLRandom::GetUniformSWB
                                    : &CMLRandom::GetUniformXorshift32;
        case kNormal:
            return a == kXorshift64 ? &CMLRandom::GetNormalXorshift64
                   : a == kSWB      ? &CMLRandom::GetNormalSWB
                                    : &CMLRandom::GetNormalXorshift32;
        case kExponential:
            return a == kXorshift64 ? &CMLRandom::GetExponentialXorshift64
                   : a == kSWB      ? &CMLRandom::GetExponentialSWB
                                    : &CMLRandom::GetExponentialXorshift32;
        default:
            return nullptr;
    }
}

template <class T>
void CMLRandom<T>::CreateZigguratTables() {
    using Z = ziggurat_constants<T>;
    T* X = m_zigX;
    X[0] = Z::x0;
    X[1] = Z::r;
    X[128] = T(0);
    T f = Z::fr;
    for (int k = 1; k <= 126; ++k) {
        f = f + Z::area / X[k];
        X[k + 1] = mlSafeSqrt(T(-2) * GuardedLog(f));
        f = std::exp(-(X[k + 1] * X[k + 1]) / T(2));
    }
    for (int k = 0; k < 128; ++k)
        m_zigQ[k] = X[k + 1] / X[k];
}

template <class T>
void CMLRandom<T>::SetXorshift32Seed(unsigned int seed) {
    const unsigned long long v = SpreadSeed(seed);
    const unsigned int x = static_cast<unsigned int>(v);
    m_xs32[0] = x;
    m_xs32[1] = static_cast<unsigned int>(v << 5) ^ 123456789u;
    m_xs32[2] = static_cast<unsigned int>(v << 7) ^ 362436069u;
    m_xs32[3] = (x >> 15) ^ 521288629u;
}

template <class T>
void CMLRandom<T>::SetXorshift64Seed(unsigned long long seed) {
    const unsigned long long v = SpreadSeed(seed);
    m_xs64[0] = v;
    m_xs64[1] = (v << 13) ^ kXs64SeedMix;
    m_xs64[2] = (v << 21) ^ kXs64SeedMix;
    m_xs64[3] = (v << 9) ^ 0x07F4809ED9054ADFull;
}

template <class T>
void CMLRandom<T>::SetXorshift32Seeds(unsigned int x, unsigned int y, unsigned int z,
                                      unsigned int w) {
    m_xs32[0] = x;
    m_xs32[1] = y;
    m_xs32[2] = z;
    m_xs32[3] = w;
}

template <class T>
void CMLRandom<T>::SetXorshift64Seeds(unsigned long long x, unsigned long long y,
                                      unsigned long long z, unsigned long long w) {
    m_xs64[0] = x;
    m_xs64[1] = y;
    m_xs64[2] = z;
    m_xs64[3] = w;
}

template <class T>
void CMLRandom<T>::GetXorshift32Seeds(unsigned int& x, unsigned int& y, unsigned int& z,
                                      unsigned int& w) const {
    x = m_xs32[0];
    y = m_xs32[1];
    z = m_xs32[2];
    w = m_xs32[3];
}

template <class T>
void CMLRandom<T>::GetXorshift64Seeds(unsigned long long& x, unsigned long long& y,
                                      unsigned long long& z, unsigned long long& w) const {
    x = m_xs64[0];
    y = m_xs64[1];
    z = m_xs64[2];
    w = m_xs64[3];
}

template <class T>
void CMLRandom<T>::SetSWBSeeds(const T* lags) {
    for (int k = 0; k < 32; ++k)
        m_lags[k] = lags[k];
}

template <class T>
void CMLRandom<T>::GetSWBSeeds(T* lags) const {
    for (int k = 0; k < 32; ++k)
        lags[k] = m_lags[k];
}

template <class T>
void CMLRandom<T>::SetRandomSeeds(unsigned int seed) {
    SetRandomSeeds(static_cast<unsigned long long>(seed));
}

template <class T>
void CMLRandom<T>::SetRandomSeeds(unsigned long long seed) {
    const unsigned long long now = static_cast<unsigned long long>(std::time(nullptr));
    if (m_algorithm == kXorshift64) {
        const unsigned long long t = seed + m_xs64[3] - now;
        const unsigned long long x = t, y = t ^ (t << 11);
        const unsigned long long z = (t >> 13) ^ (y << 27);
        SetXorshift64Seeds(x, y, z, (y << 21) ^ (z >> 7));
    } else if (m_algorithm == kSWB) {
        Xorshift32State s{m_xs32[0], m_xs32[1], m_xs32[2], m_xs32[3]};
        for (int k = 0; k < 32; ++k)
            m_lags[k] = Unit32<T>(s.Next());
        random_engine::Store32(*this, s);
    } else {
        const unsigned int t =
            static_cast<unsigned int>(seed) + m_xs32[3] - static_cast<unsigned int>(now);
        const unsigned int x = t, y = t ^ (t << 5);
        const unsigned int z = (x >> 7) ^ (y << 13);
        SetXorshift32Seeds(x, y, z, (y << 11) ^ (z >> 3));
    }
}

template <class T>
void CMLRandom<T>::SetRandomXorshiftSeeds(unsigned int seed) {
    SetRandomXorshiftSeeds(static_cast<unsigned long long>(seed));
}

template <class T>
void CMLRandom<T>::SetRandomXorshiftSeeds(unsigned long long seed) {
    if (m_algorithm == kXorshift32 || m_algorithm == kXorshift64) SetRandomSeeds(seed);
}

template <class T>
void CMLRandom<T>::SetRandomSWBSeeds(unsigned int seed) {
    SetRandomSWBSeeds(static_cast<unsigned long long>(seed));
}

template <class T>
void CMLRandom<T>::SetRandomSWBSeeds(unsigned long long seed) {
    SetRandomXorshiftSeeds(seed);
    Xorshift32State s{m_xs32[0], m_xs32[1], m_xs32[2], m_xs32[3]};
    for (int k = 0; k < 32; ++k)
        m_lags[k] = Unit32<T>(s.Next());
    random_engine::Store32(*this, s);
}

template <class T>
void CMLRandom<T>::GetArrayNumbers(int n, T* out) {
    if (!m_initialized || !m_method || n <= 0) return;
    // The flag guarantees that the chosen method is the one of the current algorithm and
    // distribution, so the loop can run on a local copy of the generator state.
    switch (m_algorithm) {
        case kXorshift64:
            random_engine::Fill(*this, random_engine::Load64(*this), n, out);
            break;
        case kSWB:
            random_engine::Fill(*this, random_engine::LoadSWB(*this), n, out);
            break;
        default:
            random_engine::Fill(*this, random_engine::Load32(*this), n, out);
            break;
    }
}

template <class T>
int CMLRandom<T>::GetIntegerNumber32(int lo, int hi) {
    if (hi <= lo) return lo;
    const T u = random_engine::IntegerUniform32(*this);
    const T r = static_cast<T>(lo - 0.5) + u * Span<T>(lo, static_cast<long long>(hi) + 1);
    // trunc(r + 0.5) for r >= 0, trunc(r - 0.5) below: the result is an integer of
    // [lo - 1, hi + 1], and hi + 1 past the largest int wraps.
    const T rounded = r >= T(0) ? std::trunc(r + T(0.5)) : std::trunc(r - T(0.5));
    return static_cast<int>(static_cast<unsigned int>(static_cast<long long>(rounded)));
}

template <class T>
long long CMLRandom<T>::GetIntegerNumber64(long long lo, long long hi) {
    if (hi <= lo) return lo;
    const T u = random_engine::IntegerUniform64(*this);
    return AddRounded(lo, u * Span<T>(lo, hi));
}

template <class T>
void CMLRandom<T>::GetArrayIntegerNumbers32(int lo, int hi, int n, int* out) {
    if (n <= 0) return;
    if (hi == lo) {
        for (int k = 0; k < n; ++k)
            out[k] = lo;
        return;
    }
    const T span = Span<T>(lo, hi);
    for (int k = 0; k < n; ++k) {
        const T u = random_engine::IntegerUniform32(*this);
        out[k] = static_cast<int>(static_cast<unsigned int>(AddRounded(lo, u * span)));
    }
}

template <class T>
void CMLRandom<T>::GetArrayIntegerNumbers64(long long lo, long long hi, long long n,
                                            long long* out) {
    if (n <= 0) return;
    if (hi == lo) {
        for (long long k = 0; k < n; ++k)
            out[k] = lo;
        return;
    }
    const T span = Span<T>(lo, hi);
    for (long long k = 0; k < n; ++k)
        out[k] = AddRounded(lo, random_engine::IntegerUniform64(*this) * span);
}

template <class T>
unsigned int CMLRandom<T>::Xorshift32() {
    Gen32<T> g = random_engine::Load32(*this);
    const unsigned int v = g.s.Next();
    random_engine::Store(*this, g);
    return v;
}

template <class T>
unsigned long long CMLRandom<T>::Xorshift64() {
    Gen64<T> g = random_engine::Load64(*this);
    const unsigned long long v = g.s.Next();
    random_engine::Store(*this, g);
    return v;
}

template <class T>
T CMLRandom<T>::SWB() {
    return SWBStep(m_lags, m_carry, m_borrow, m_swbIndex);
}

template <class T>
T CMLRandom<T>::GetXorshift32() {
    return Unit32<T>(Xorshift32());
}

template <class T>
T CMLRandom<T>::GetXorshift64() {
    return Unit64<T>(Xorshift64());
}

template <class T>
T CMLRandom<T>::GetUniformXorshift32() {
    return random_engine::Uniform(*this, random_engine::Load32(*this));
}

template <class T>
T CMLRandom<T>::GetUniformXorshift64() {
    return random_engine::Uniform(*this, random_engine::Load64(*this));
}

template <class T>
T CMLRandom<T>::GetUniformSWB() {
    return random_engine::Uniform(*this, random_engine::LoadSWB(*this));
}

template <class T>
T CMLRandom<T>::GetNormalXorshift32() {
    return random_engine::Normal(*this, random_engine::Load32(*this));
}

template <class T>
T CMLRandom<T>::GetNormalXorshift64() {
    return random_engine::Normal(*this, random_engine::Load64(*this));
}

template <class T>
T CMLRandom<T>::GetNormalSWB() {
    return random_engine::Normal(*this, random_engine::LoadSWB(*this));
}

template <class T>
T CMLRandom<T>::GetExponentialXorshift32() {
    return random_engine::Exponential(*this, random_engine::Load32(*this));
}

template <class T>
T CMLRandom<T>::GetExponentialXorshift64() {
    return random_engine::Exponential(*this, random_engine::Load64(*this));
}

template <class T>
T CMLRandom<T>::GetExponentialSWB() {
    return random_engine::Exponential(*this, random_engine::LoadSWB(*this));
}

template <class T>
void CMLRandom<T>::TestFloatRandomArray(int n, const T* values, int nFirst) const {
    if (n <= 0) return;
    random_engine::Report(*this, n, values, nFirst);
}

template <class T>
void CMLRandom<T>::TestIntegerRandomArray(T left, int right, int n, const int* values, int nFirst) {
    if (n <= 0) return;
    T* converted = new T[static_cast<unsigned int>(n)];
    for (int k = 0; k < n; ++k)
        converted[k] = static_cast<T>(values[k]);
    const int distribution = m_distribution;
    const T a = m_left, w = m_width;
    m_distribution = kUniform;
    m_left = left;
    m_width = static_cast<T>(right) - left;
    std::cout << "Segment: left end = " << left << ", right end = " << right << EndLine;
    random_engine::Report(*this, n, converted, nFirst);
    m_distribution = distribution;
    m_left = a;
    m_width = w;
    delete[] converted;
}

#define ML_RANDOM_DEFINE(T) template class CMLRandom<T>;
ML_FOR_EACH_RANDOM(ML_RANDOM_DEFINE)
#undef ML_RANDOM_DEFINE
