# Subsystem 2: dynamic and fixed vectors, free vector functions.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
list(APPEND ML_SOURCES vectors/vector_n.cpp)
list(APPEND ML_PUBLIC_HEADERS include/ml/vector_n.h)
list(APPEND ML_SOURCES vectors/vector_fixed.cpp)
list(APPEND ML_PUBLIC_HEADERS include/ml/vector_fixed.h)
