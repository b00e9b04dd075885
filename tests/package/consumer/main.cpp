// A program built against the installed package: it must find the headers and link the library.
#include <ml/ml.h>

#include <cstdio>

int main() {
    CMLComplex<double> z(8.0, 0.0);
    CMLComplex<double> roots[3];
    if (z.Roots(3, roots) != 1) return 1;
    if (!mlAreAlmostEqual(roots[0], CMLComplex<double>(2.0, 0.0))) return 2;
    std::printf("consumer ok\n");
    return 0;
}
