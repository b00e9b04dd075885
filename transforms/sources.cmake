# Subsystem 4: quaternions, rotation orders, 2D transforms.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
