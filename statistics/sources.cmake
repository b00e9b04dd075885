# Subsystem 6: sorting, random numbers, statistics.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
