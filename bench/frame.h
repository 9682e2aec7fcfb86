// SPDX-License-Identifier: MIT
// Frames for the benchmarks: square images of any element type, filled with a pattern. Every
// benchmark runs at two sides: 2048 (the frames fit the last-level cache) and 4096 (they do not),
// its first argument, read back with Side(state).
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "core/element_types.h"
#include "qmath/qmath.h"

namespace qmbench {

inline uint32_t Side(const benchmark::State& state) { return static_cast<uint32_t>(state.range(0)); }

// The frame sides every benchmark runs at.
#define QM_BENCH_SIDES ->Arg(2048)->Arg(4096)

// A 64-byte aligned image with its descriptor.
class Frame {
public:
    Frame(int32_t type, uint32_t width, uint32_t height)
        : bytes_(static_cast<size_t>(width) * height * qm::ElementSize(type)),
          data_(static_cast<unsigned char*>(::operator new[](bytes_, std::align_val_t{64}))) {
        desc_ = QmdDataStruct{data_, width, height, type, 1, {}};
        for (size_t i = 0; i < bytes_; ++i) data_[i] = static_cast<unsigned char>((i * 2654435761u) >> 13);
    }
    Frame(int32_t type, uint32_t side) : Frame(type, side, side) {}
    ~Frame() { ::operator delete[](data_, std::align_val_t{64}); }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    QmdDataStruct* desc() { return &desc_; }
    void* data() { return data_; }
    size_t bytes() const { return bytes_; }

    // Fills the frame with values of its element type from `value(i)`.
    template <class T, class F> void Fill(F value) {
        T* p = reinterpret_cast<T*>(data_);
        for (size_t i = 0; i < bytes_ / sizeof(T); ++i) p[i] = static_cast<T>(value(i));
    }

private:
    size_t bytes_;
    unsigned char* data_;
    QmdDataStruct desc_{};
};

// Reports bytes per second as the bytes read plus the bytes written per iteration.
inline void SetBytes(benchmark::State& state, size_t bytesPerIteration) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytesPerIteration));
}

}  // namespace qmbench
