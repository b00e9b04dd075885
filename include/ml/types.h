// Common declarations shared by every family of the library: the export macro, the element-type
// lists that drive explicit instantiation, and the library-wide constants.
#ifndef ML_TYPES_H
#define ML_TYPES_H

#include <ml/ml_export.h>

#include <type_traits>

// Marks a class template or free function template as part of the shared library's interface.
#define ML_API ML_EXPORT

// Element-type lists. A family declares its instantiations with one list in its header (`extern`)
// and defines them with the same list in its source, so the two cannot drift apart.
#define ML_FOR_EACH_REAL(X) X(float) X(double)

// The double 2^-153 (bit pattern 0x3660000000000000): the borrow unit of the subtract-with-borrow
// random generator. Converted to float it underflows to 0.
inline constexpr double ML_DBL_ULP = 0x1p-153;

namespace ml::detail {

// Wraps a parameter type so that it takes no part in template argument deduction: a tolerance
// argument then follows the element type of the objects compared (a double literal passed with
// float vectors converts instead of making the call ambiguous).
template <class T>
struct type_identity {
    using type = T;
};
template <class T>
using non_deduced_t = typename type_identity<T>::type;

}  // namespace ml::detail

#endif  // ML_TYPES_H
