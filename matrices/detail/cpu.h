// Run-time CPU feature detection for the kernels that carry an instruction-set specific variant.
// The build itself targets the baseline ISA; only functions marked with a target attribute use
// wider instructions, and they are called only after this check.
#ifndef ML_MATRICES_DETAIL_CPU_H
#define ML_MATRICES_DETAIL_CPU_H

#if (defined(__x86_64__) || defined(__i386__)) && (defined(__GNUC__) || defined(__clang__))
#define ML_HAVE_X86_DISPATCH 1
#define ML_TARGET_AVX2 __attribute__((target("avx2,fma")))
#else
#define ML_HAVE_X86_DISPATCH 0
#define ML_TARGET_AVX2
#endif

namespace ml::detail {

// True when the processor (and the operating system) support AVX2 and FMA.
inline bool CpuHasAvx2Fma() {
#if ML_HAVE_X86_DISPATCH
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#else
    return false;
#endif
}

}  // namespace ml::detail

#endif  // ML_MATRICES_DETAIL_CPU_H
