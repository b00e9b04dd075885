# Subsystem 5: numerical analysis.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
