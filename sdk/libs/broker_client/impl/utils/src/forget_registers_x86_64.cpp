#include "utils/src/forget_registers.h"

namespace kavro {

namespace {

// The registers belong to whoever is called (System V ABI, section 3.2.3): none is to be restored.

void forget_sse() {
    asm volatile("pxor %xmm0, %xmm0; pxor %xmm1, %xmm1; pxor %xmm2, %xmm2; pxor %xmm3, %xmm3;"
                 "pxor %xmm4, %xmm4; pxor %xmm5, %xmm5; pxor %xmm6, %xmm6; pxor %xmm7, %xmm7;"
                 "pxor %xmm8, %xmm8; pxor %xmm9, %xmm9; pxor %xmm10, %xmm10; pxor %xmm11, %xmm11;"
                 "pxor %xmm12, %xmm12; pxor %xmm13, %xmm13; pxor %xmm14, %xmm14;"
                 "pxor %xmm15, %xmm15");
}

/// The upper half of the registers, which AVX-512 added.
void forget_avx512() {
    asm volatile("vpxorq %zmm16, %zmm16, %zmm16; vpxorq %zmm17, %zmm17, %zmm17;"
                 "vpxorq %zmm18, %zmm18, %zmm18; vpxorq %zmm19, %zmm19, %zmm19;"
                 "vpxorq %zmm20, %zmm20, %zmm20; vpxorq %zmm21, %zmm21, %zmm21;"
                 "vpxorq %zmm22, %zmm22, %zmm22; vpxorq %zmm23, %zmm23, %zmm23;"
                 "vpxorq %zmm24, %zmm24, %zmm24; vpxorq %zmm25, %zmm25, %zmm25;"
                 "vpxorq %zmm26, %zmm26, %zmm26; vpxorq %zmm27, %zmm27, %zmm27;"
                 "vpxorq %zmm28, %zmm28, %zmm28; vpxorq %zmm29, %zmm29, %zmm29;"
                 "vpxorq %zmm30, %zmm30, %zmm30; vpxorq %zmm31, %zmm31, %zmm31");
}

} // namespace

[[gnu::noinline]] void forget_registers() noexcept {
    if (__builtin_cpu_supports("avx512f"))
        forget_avx512();
    if (__builtin_cpu_supports("avx"))
        asm volatile("vzeroall");
    else
        forget_sse();
}

} // namespace kavro
