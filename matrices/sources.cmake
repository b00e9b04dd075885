# Subsystem 3: dynamic, square and fixed matrices.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
list(APPEND ML_SOURCES
    matrices/matrix_mn.cpp
    matrices/svd.cpp
    matrices/detail/gemm.cpp
    matrices/detail/svd_kernels.cpp)
list(APPEND ML_PUBLIC_HEADERS
    include/ml/matrix_mn.h)
list(APPEND ML_SOURCES
    matrices/matrix_fixed.cpp
    matrices/matrix_fixed_decompositions.cpp)
list(APPEND ML_PUBLIC_HEADERS include/ml/matrix_fixed.h)
