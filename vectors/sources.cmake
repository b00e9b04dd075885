# Subsystem 2: dynamic and fixed vectors, free vector functions.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
