# Subsystem 6: sorting, random numbers, statistics.
list(APPEND ML_SOURCES
    statistics/sorting.cpp
    statistics/random.cpp)
list(APPEND ML_PUBLIC_HEADERS
    include/ml/sorting.h
    include/ml/random.h)
