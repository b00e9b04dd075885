// Umbrella header: includes every family of the library.
#ifndef ML_ML_H
#define ML_ML_H

#include <ml/types.h>

#include <ml/precision.h>
#include <ml/complex.h>
#include <ml/algebra.h>
#include <ml/vector_n.h>
#include <ml/vector_fixed.h>
#include <ml/matrix_mn.h>
#include <ml/matrix_fixed.h>
#include <ml/sorting.h>
#include <ml/random.h>
#include <ml/quaternion.h>
#include <ml/transform2d.h>

#endif  // ML_ML_H
