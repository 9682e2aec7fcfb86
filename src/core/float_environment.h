// SPDX-License-Identifier: MIT
// The floating-point mode a call computes in.
//
// Every exactness argument in the module assumes one mode: singles and doubles rounded to nearest,
// subnormals kept (no flush to zero, no denormals-are-zero), every exception masked, and long doubles
// of 64 significant bits rounded to nearest. A host may run in another: directed rounding for
// interval work, flush to zero for speed, unmasked exceptions to catch its own faults, and Windows
// hosts keep the x87 unit at 53 bits, which would silently cut the extended logarithm to doubles.
// So every exported call that computes holds a FloatEnvironment: where the host's mode differs from
// the module's, it sets the module's on entry and puts the host's back, flags and all, on return.
// Results are then the same in every host, and no trap fires inside the module. Where the modes
// agree (the usual case) it costs two reads of control registers.
#pragma once

#include <cstdint>

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#include <xmmintrin.h>
#define QM_FLOAT_MXCSR 1
#else
#include <cfenv>
#define QM_FLOAT_MXCSR 0
#endif
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define QM_FLOAT_X87 1
#else
#define QM_FLOAT_X87 0
#endif

namespace qm {

class FloatEnvironment {
public:
    // MXCSR: the six exception masks set, round to nearest, FTZ and DAZ clear.
    static constexpr uint32_t kSseControl = 0xFFC0, kSseMode = 0x1F80;
    // x87 control word: the six exception masks set, 64-bit precision, round to nearest.
    static constexpr uint16_t kX87Control = 0x0F3F, kX87Mode = 0x033F;

    FloatEnvironment() noexcept {
#if QM_FLOAT_MXCSR
        host_ = _mm_getcsr();
        sse_ = (host_ & kSseControl) != kSseMode;
        if (sse_) _mm_setcsr(kSseMode | (host_ & ~kSseControl));
#else
        round_ = std::fegetround();
        if (round_ != FE_TONEAREST) std::fesetround(FE_TONEAREST);
#endif
#if QM_FLOAT_X87
        uint16_t word;
        __asm__ volatile("fnstcw %0" : "=m"(word));
        x87_ = (word & kX87Control) != kX87Mode;
        if (x87_) {
            // fnstenv keeps the host's control and status words (its flags too) and masks every
            // exception; fldenv on return gives them back as they were.
            __asm__ volatile("fnstenv %0" : "=m"(env_));
            const uint16_t mode = static_cast<uint16_t>((word & ~kX87Control) | kX87Mode);
            __asm__ volatile("fldcw %0" : : "m"(mode));
        }
#endif
    }
    ~FloatEnvironment() {
#if QM_FLOAT_X87
        if (x87_) __asm__ volatile("fldenv %0" : : "m"(env_));
#endif
#if QM_FLOAT_MXCSR
        if (sse_) _mm_setcsr(host_);
#else
        if (round_ != FE_TONEAREST) std::fesetround(round_);
#endif
    }
    FloatEnvironment(const FloatEnvironment&) = delete;
    FloatEnvironment& operator=(const FloatEnvironment&) = delete;

private:
#if QM_FLOAT_MXCSR
    uint32_t host_ = 0;
    bool sse_ = false;
#else
    int round_ = 0;
#endif
#if QM_FLOAT_X87
    bool x87_ = false;
    unsigned char env_[28]{};  // the x87 environment in its 32-bit protected-mode layout
#endif
};

}  // namespace qm
