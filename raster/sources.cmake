# Subsystem 7: grids, channels, wavelets.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
