# Subsystem 3: dynamic, square and fixed matrices.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
