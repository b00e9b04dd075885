# Subsystem 1: precision rule, scalar helpers, complex numbers, algebra.
list(APPEND ML_SOURCES
    foundations/precision.cpp
    foundations/complex.cpp)
list(APPEND ML_PUBLIC_HEADERS
    include/ml/precision.h
    include/ml/complex.h)
list(APPEND ML_SOURCES foundations/algebra.cpp)
list(APPEND ML_PUBLIC_HEADERS include/ml/algebra.h)
