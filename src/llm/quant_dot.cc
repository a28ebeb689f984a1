#include "llm/quant_dot.h"

#if defined(__aarch64__) && defined(__linux__)
#include <sys/auxv.h>
#endif

namespace skimlet {

bool cpuHasAVX2() {
#if defined(__x86_64__)
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#else
  return false;
#endif
}

bool cpuHasAVX512VNNI() {
#if defined(__x86_64__)
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vnni");
#else
  return false;
#endif
}

namespace {

bool cpuHasDotProd() {
#if defined(__aarch64__) && defined(__APPLE__)
  return true;
#elif defined(__aarch64__) && defined(__linux__) && defined(HWCAP_ASIMDDP)
  return (getauxval(AT_HWCAP) & HWCAP_ASIMDDP) != 0;
#else
  return false;
#endif
}

DotKernels chooseProducts() {
  if (cpuHasAVX512VNNI()) {
    if (auto k = avx512DotKernels(); k.q4K) return k;
  }
  if (cpuHasAVX2()) {
    if (auto k = avx2DotKernels(); k.q4K) return k;
  }
  if (cpuHasDotProd()) {
    if (auto k = neonDotKernels(); k.q4K) return k;
  }
  return genericDotKernels();
}

DotKernels choose() {
  DotKernels k = chooseProducts();
  if (!k.attendRow && cpuHasAVX2()) k.attendRow = avx2DotKernels().attendRow;
  if (!k.attendRow) k.attendRow = genericDotKernels().attendRow;
  if (!k.gated && cpuHasAVX2()) k.gated = avx2DotKernels().gated;
  if (!k.gated) k.gated = genericDotKernels().gated;
  return k;
}

}  // namespace

const DotKernels& dotKernels() {
  static const DotKernels kernels = choose();
  return kernels;
}

}  // namespace skimlet
