// Cube roots and powers of complex numbers with CMLComplex.
#include <ml/ml.h>

#include <cstdio>
#include <initializer_list>

int main() {
    CMLComplex<double> z(-8.0, 0.0);
    CMLComplex<double> roots[3];
    if (!z.Roots(3, roots)) {
        std::printf("%g%+gi has no roots: it is almost zero\n", z.Real(), z.Imag());
        return 1;
    }
    std::printf("cube roots of %g%+gi:\n", z.Real(), z.Imag());
    for (const CMLComplex<double>& r : roots) {
        const CMLComplex<double> cube = r * r * r;
        std::printf("  %+.6f %+.6fi   |r| = %.6f  arg = %7.3f deg   r^3 = %+.6f %+.6fi\n",
                    r.Real(), r.Imag(), r.Magn(), r.AngleInDegrees(), cube.Real(), cube.Imag());
    }

    CMLComplex<double> w(1.0, 1.0);
    for (int n : {2, 5, -3}) {
        const CMLComplex<double> p = w.Power(n);
        std::printf("(1+i)^%-2d = %+.6f %+.6fi   |.| = %.6f  arg = %7.3f deg\n", n, p.Real(),
                    p.Imag(), p.Magn(), p.AngleInDegrees());
    }

    const CMLComplex<double> q = CMLComplex<double>(1.0, 0.0) / CMLComplex<double>(1e-5, 0.0);
    std::printf("1 / 1e-5 = %g%+gi (a divisor whose squared modulus is below 1e-9 is guarded)\n",
                q.Real(), q.Imag());
    return 0;
}
