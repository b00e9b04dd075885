// Umbrella header: includes every family of the library.
#ifndef ML_ML_H
#define ML_ML_H

#include <ml/types.h>

#include <ml/precision.h>
#include <ml/complex.h>
#include <ml/sorting.h>
#include <ml/random.h>

#endif  // ML_ML_H
