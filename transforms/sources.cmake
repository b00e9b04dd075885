# Subsystem 4: quaternions, rotation orders, 2D transforms.
list(APPEND ML_SOURCES)
list(APPEND ML_PUBLIC_HEADERS)
list(APPEND ML_SOURCES transforms/quaternion.cpp)
list(APPEND ML_PUBLIC_HEADERS include/ml/quaternion.h)
list(APPEND ML_SOURCES transforms/transform2d.cpp)
list(APPEND ML_PUBLIC_HEADERS include/ml/transform2d.h)
