// SPDX-License-Identifier: MIT
// The module's fuzz target: every input is a program of exported calls, run against host buffers
// that are exactly as large as their descriptors say and end where a protected page begins.
//
// After every call the target checks that
//   - the status is one the module documents (0, 5010, 5020, 8000 to 8006);
//   - the guard bytes around every buffer are intact (the protected page catches the rest);
//   - only the buffers the call may write have changed: the image given to MathProcessData and,
//     for online frames, the source frame (the orientation steps rewrite it in place);
//   - a failed call wrote nothing, except that an online frame may have been oriented before its
//     options or output were found wanting;
//   - a refused MathCreate left the handle output alone.
// Any violation aborts, which libFuzzer reports with the input that caused it.
//
// Two kinds of input are on by default; each has a macro and an environment variable (1 turns it
// on, 0 off):
//   QMATH_FUZZ_OVERLAP       online output buffers that partly overlap the source frame buffer
//   QMATH_FUZZ_ODD_OFFSETS   buffers starting at addresses that are not a multiple of their
//                            element size
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <vector>

#include "core/allocation.h"
#include "core/element_types.h"
#include "qmath/qmath.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/asan_interface.h>
#define QMATH_FUZZ_POISON(p, n) __asan_poison_memory_region((p), (n))
#define QMATH_FUZZ_UNPOISON(p, n) __asan_unpoison_memory_region((p), (n))
#endif
#endif
#ifndef QMATH_FUZZ_POISON
#define QMATH_FUZZ_POISON(p, n) ((void)(p), (void)(n))
#define QMATH_FUZZ_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

#ifndef QMATH_FUZZ_OVERLAP
#define QMATH_FUZZ_OVERLAP 1
#endif
#ifndef QMATH_FUZZ_ODD_OFFSETS
#define QMATH_FUZZ_ODD_OFFSETS 1
#endif

namespace {

[[noreturn]] void Fail(const char* what, long detail = 0) {
    std::fprintf(stderr, "qmath_fuzz: %s (%ld)\n", what, detail);
    std::abort();
}

// With QMATH_FUZZ_REPORT set, the count of calls made is printed every 2^20 calls.
bool g_report = false;
std::time_t g_started = 0;

bool Switch(const char* name, bool fallback) {
    const char* value = std::getenv(name);
    return value == nullptr || *value == '\0' ? fallback : *value != '0';
}

// ---------------------------------------------------------------------------------------------
// The input, read from the front. When it runs out every read gives 0.
class Input {
public:
    Input(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
    bool empty() const { return p_ >= end_; }
    uint8_t U8() { return p_ < end_ ? *p_++ : 0; }
    uint16_t U16() {
        const uint32_t low = U8();
        return static_cast<uint16_t>(low | uint32_t{U8()} << 8);
    }
    uint32_t U32() {
        const uint32_t low = U16();
        return low | uint32_t{U16()} << 16;
    }
    uint64_t U64() {
        const uint64_t low = U32();
        return low | uint64_t{U32()} << 32;
    }
    uint32_t Below(uint32_t n) { return n <= 256 ? U8() % n : U32() % n; }
    bool Chance(uint32_t percent) { return U8() % 100 < percent; }
    template <class T, size_t N> T Pick(const std::array<T, N>& table) { return table[Below(N)]; }

private:
    const uint8_t* p_;
    const uint8_t* end_;
};

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr std::array<double, 32> kDoubles = {0.0,
                                             -0.0,
                                             1.0,
                                             -1.0,
                                             0.5,
                                             2.9,
                                             -2.9,
                                             3.99,
                                             255.0,
                                             256.0,
                                             65535.0,
                                             65536.0,
                                             2147483647.0,
                                             0x1p31,
                                             -0x1p31,
                                             0x1p32,
                                             0x1p63,
                                             -0x1p63,
                                             0x1p64,
                                             1e300,
                                             -1e300,
                                             kInf,
                                             -kInf,
                                             NAN,
                                             4.9e-324,
                                             1.7976931348623157e308,
                                             2.2250738585072014e-308,
                                             1e-300,
                                             31.0,
                                             32.0,
                                             33.0,
                                             -4.0e9};

double Double(Input& in) {
    switch (in.Below(4)) {
        case 0:
        case 1: return in.Pick(kDoubles);
        case 2: return static_cast<double>(static_cast<int32_t>(in.U32()) % 4096);
        default: {
            const uint64_t bits = in.U64();
            double d;
            std::memcpy(&d, &bits, sizeof d);
            return d;
        }
    }
}

// Codes the module knows, their neighbours, and a few that no table has.
constexpr std::array<int32_t, 44> kProcessCodes = {0,    1,    2,    3,    4,    5,    6,    7,    8,    9,    10,
                                                   255,  256,  257,  499,  500,  501,  502,  503,  504,  505,  506,
                                                   507,  508,  509,  510,  1999, 2000, 2001, 2002, 2003, 8999, 9000,
                                                   9001, 9002, 9003, 9004, 9005, 9006, 9007, 9008, 9009, 9010, -1};
constexpr std::array<int32_t, 34> kConstantCodes = {
    0,    1,    2,    3,    4,    5,    6,    7,    8,    1999, 2000, 2001, 2002, 2003, 9001, 9002, 9003,
    9004, 9007, 9008, 9009, 9010, 9011, 9012, 9013, 9014, 9015, 9016, 9017, -1,   2,    3,    9002, 2000};
constexpr std::array<int32_t, 16> kDataCodes = {0,    1,    2,    8999, 9000, 9001, 9002, 9003,
                                                9004, 9005, 9006, 9007, 9008, -1,   0,    9004};
constexpr std::array<int32_t, 22> kTypes = {1, 2, 3, 4, 5, 6, 7, 8, 11, 15, 1, 3, 6, 7, 8, 11, 0, 9, 10, 12, 14, -1};
constexpr std::array<uint16_t, 8> kOptionCodes = {9001, 9002, 9003, 9004, 9005, 9006, 9007, 9008};

int32_t Code(Input& in, const int32_t* table, size_t n) {
    return in.Chance(90) ? table[in.Below(static_cast<uint32_t>(n))] : static_cast<int32_t>(in.U32());
}

// ---------------------------------------------------------------------------------------------
// Host buffers. Each lives in an arena of its own: a mapping whose last page is protected, with
// the buffer's last byte just before that page. Everything in front of the buffer is poisoned
// for the address sanitizer, and the few bytes that share an 8-byte granule with its first byte
// hold guard values.
constexpr size_t kPage = 4096;
constexpr size_t kCap = 64 * 1024;  // the largest buffer, in bytes
constexpr size_t kArenaBytes = kCap + 64;
constexpr uint8_t kGuard = 0xA5;

struct Arena {
    unsigned char* base = nullptr;  // kArenaBytes usable, then the protected page
    unsigned char* start = nullptr;
    size_t bytes = 0;
    unsigned char* end() const { return start + bytes; }
    unsigned char* limit() const { return base + kArenaBytes; }
};

unsigned char* MapArena() {
    const size_t usable = (kArenaBytes + kPage - 1) / kPage * kPage;
    void* m = mmap(nullptr, usable + kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED) Fail("mmap");
    auto* p = static_cast<unsigned char*>(m);
    if (mprotect(p + usable, kPage, PROT_NONE) != 0) Fail("mprotect");
    return p + usable - kArenaBytes;  // so base + kArenaBytes is the protected page
}

// Places `bytes` bytes so that they end at the protected page, or, when the start must be aligned
// to `align`, as close before it as that allows (the gap is poisoned and guarded).
void Place(Arena& a, size_t bytes, size_t align) {
    QMATH_FUZZ_UNPOISON(a.base, kArenaBytes);
    unsigned char* start = a.limit() - bytes;
    start -= reinterpret_cast<uintptr_t>(start) % align;
    a.start = start;
    a.bytes = bytes;
    unsigned char* granule = start - reinterpret_cast<uintptr_t>(start) % 8;
    std::memset(granule, kGuard, static_cast<size_t>(start - granule));
    std::memset(a.end(), kGuard, static_cast<size_t>(a.limit() - a.end()));
    QMATH_FUZZ_POISON(a.base, static_cast<size_t>(granule - a.base));
    QMATH_FUZZ_POISON(a.end(), static_cast<size_t>(a.limit() - a.end()));
}

bool GuardsIntact(const Arena& a) {
    const unsigned char* granule = a.start - reinterpret_cast<uintptr_t>(a.start) % 8;
    for (const unsigned char* p = granule; p < a.start; ++p)
        if (*p != kGuard) return false;
    // Bytes between the end and the protected page are poisoned; read them unpoisoned for a moment.
    const size_t tail = static_cast<size_t>(a.limit() - a.end());
    if (tail == 0) return true;
    QMATH_FUZZ_UNPOISON(a.end(), tail);
    bool ok = true;
    for (const unsigned char* p = a.end(); p < a.limit(); ++p) ok = ok && *p == kGuard;
    QMATH_FUZZ_POISON(a.end(), tail);
    return ok;
}

// ---------------------------------------------------------------------------------------------
// Descriptors. Each normally owns arena of the same index; a view instead describes bytes inside
// another descriptor's buffer (the same bytes, or an overlapping part of them).
constexpr int kDescriptors = 6;
constexpr int kArenas = kDescriptors + 2;  // two more for the raw-pointer Bayer export and names
constexpr int kRawOut = kDescriptors, kRawSamples = kDescriptors + 1;

struct Host {
    Arena arena[kArenas];
    std::vector<unsigned char> before[kArenas];
    QmdDataStruct desc[kDescriptors];
    int arenaOf[kDescriptors];  // the arena whose bytes the descriptor describes
    bool short_[kDescriptors];  // describes more bytes than it has (a product that wraps)
    bool nullData[kDescriptors];
    // What each of the 256 records holds, as the host has set it: process, operand 1, source frame.
    struct Slot {
        int32_t process = 0;
        QmdDataStruct* operand1 = nullptr;
        QmdDataStruct* source = nullptr;
        bool inUse = false;
    } slot[256];
    bool touched[256] = {};  // records a call of this input may have changed
    bool overlap = QMATH_FUZZ_OVERLAP;
    bool oddOffsets = QMATH_FUZZ_ODD_OFFSETS;
    uint64_t calls = 0;
};

Host& TheHost() {
    static Host* host = [] {
        auto* h = new Host;
        for (Arena& a : h->arena) {
            a.base = MapArena();
            Place(a, 0, 1);
        }
        for (int i = 0; i < kDescriptors; ++i) {
            h->desc[i] = QmdDataStruct{nullptr, 0, 0, qmeTypeU16, 1, {}};
            h->arenaOf[i] = i;
            h->short_[i] = false;
            h->nullData[i] = true;
        }
        h->overlap = Switch("QMATH_FUZZ_OVERLAP", h->overlap);
        h->oddOffsets = Switch("QMATH_FUZZ_ODD_OFFSETS", h->oddOffsets);
        return h;
    }();
    return *host;
}

// Fills bytes from a seed, with extreme values spread in (`extremes` 0: none, else one element
// in 2^(extremes * 2)).
void FillFrom(uint64_t x, uint32_t extremes, unsigned char* p, size_t bytes, int32_t type) {
    x |= 1;
    const size_t size = qm::ElementSize(type);
    for (size_t i = 0; i < bytes; ++i) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        p[i] = static_cast<unsigned char>(x >> 24);
    }
    if (extremes == 0) return;
    const uint64_t mask = (uint64_t{1} << (2 * extremes)) - 1;
    for (size_t e = 0; (e + 1) * size <= bytes; ++e) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        if ((x & mask) != 0) continue;
        const double d = kDoubles[(x >> 8) % kDoubles.size()];
        unsigned char* at = p + e * size;
        if (type == qmeTypeF64) {
            std::memcpy(at, &d, 8);
        } else if (type == qmeTypeF32) {
            const float f = static_cast<float>(d);
            std::memcpy(at, &f, 4);
        } else {
            std::memset(at, (x >> 16) & 1 ? 0xFF : 0x00, size);  // all ones or zero: the integer extremes
            if ((x >> 17) & 1) at[size - 1] ^= 0x80;
        }
    }
}

void Fill(Input& in, unsigned char* p, size_t bytes, int32_t type) {
    const uint64_t seed = in.U64();
    FillFrom(seed, in.Below(4), p, bytes, type);
}

// The shapes every input starts from, so that its first bytes already make calls: a frame of each
// family's favourite types, all 8 x 6 but for a 16 x 12 mosaic and its 8 x 6 colour image.
void DefaultShapes(Host& h) {
    static constexpr struct {
        uint32_t w, h;
        int32_t type;
    } kStart[kDescriptors] = {{8, 6, qmeTypeU16}, {8, 6, qmeTypeF64},   {8, 6, qmeTypeI32},
                              {8, 6, qmeTypeU8},  {16, 12, qmeTypeU16}, {8, 6, qmeTypeRgb24}};
    for (int i = 0; i < kDescriptors; ++i) {
        const size_t bytes = size_t{kStart[i].w} * kStart[i].h * qm::ElementSize(kStart[i].type);
        Place(h.arena[i], bytes, 8);
        FillFrom(0x9E3779B97F4A7C15ull * (i + 1), 2, h.arena[i].start, bytes, kStart[i].type);
        h.desc[i] = QmdDataStruct{h.arena[i].start, kStart[i].w, kStart[i].h, kStart[i].type, 1, {}};
        h.arenaOf[i] = i;
        h.short_[i] = false;
        h.nullData[i] = false;
    }
}

uint32_t Dimension(Input& in) {
    switch (in.Below(16)) {
        case 0: return 0;
        case 1: return 1;
        case 2:
        case 3:
        case 4:
        case 5:
        case 6:
        case 7:
        case 8: return 1 + in.Below(24);
        case 9:
        case 10: return 1 + in.Below(300);
        case 11: return (1u << in.Below(11)) + in.Below(3) - 1;
        case 12: return 2;
        default: return in.U32();
    }
}

void Reshape(Host& h, Input& in, int i, bool quiet = false);

// The descriptor gets a buffer of its own again (views into arena `i` are moved out first).
void Rehome(Host& h, Input& in, int arena) {
    for (int j = 0; j < kDescriptors; ++j)
        if (j != arena && h.arenaOf[j] == arena) Reshape(h, in, j, true);
}

// A new shape, type and buffer for descriptor i. Sizes are exact: nWidth x nHeight elements of the
// type's size, ending at the protected page. A product that wraps in 32 bits gets the bytes of its
// 32-bit count, which is what the engines that count use.
void Reshape(Host& h, Input& in, int i, bool quiet) {
    QmdDataStruct& d = h.desc[i];
    const int32_t type = quiet ? d.eType : in.Pick(kTypes);
    const size_t size = qm::ElementSize(type);
    uint32_t w = quiet ? d.nWidth : Dimension(in), ht = quiet ? d.nHeight : Dimension(in);
    if (!quiet && in.Chance(6)) {  // a product just past 2^32, so its 32-bit count is small or negative
        static constexpr std::array<uint32_t, 6> kWide = {3, 5, 17, 257, 65536, 65537};
        w = in.Pick(kWide);
        ht = static_cast<uint32_t>((uint64_t{1} << 32) / w) + in.Below(4);
    }
    const uint64_t product = uint64_t{w} * ht;
    const int32_t count = static_cast<int32_t>(static_cast<uint32_t>(product));
    size_t bytes;
    bool isShort = false;
    if (product <= kCap && product * size <= kCap) {
        bytes = static_cast<size_t>(product * size);
    } else if (product >= (uint64_t{1} << 31) && (count <= 0 || uint64_t(count) * size <= kCap)) {
        bytes = count > 0 ? static_cast<size_t>(count) * size : 0;
        isShort = true;
    } else {  // too big for the arena: fewer rows
        w = w == 0 ? 1 : (w > kCap / size ? static_cast<uint32_t>(kCap / size) : w);
        ht = static_cast<uint32_t>(std::min<uint64_t>(ht, kCap / size / w));
        bytes = size_t{w} * ht * size;
    }
    if (!quiet) Rehome(h, in, i);
    const bool odd = h.oddOffsets && !quiet && in.Chance(30);
    Place(h.arena[i], bytes, odd ? 1 : 8);
    Fill(in, h.arena[i].start, bytes, type);
    h.arenaOf[i] = i;
    h.short_[i] = isShort;
    h.nullData[i] = !quiet && in.Chance(4);
    d.pData = h.nullData[i] ? nullptr : h.arena[i].start;
    d.nWidth = w;
    d.nHeight = ht;
    d.eType = type;
    d.nDepth = quiet ? d.nDepth : (in.Chance(80) ? 1 : in.U32() % 5);
    for (uint32_t& r : d.nReserved) r = 0xDEADBEEF;
}

// Descriptor i becomes a view of bytes inside descriptor j's buffer: all of them with another type
// or width, or (with overlap on) a part starting some elements in.
void MakeView(Host& h, Input& in, int i, int j) {
    if (i == j || h.arenaOf[j] != j || h.nullData[j]) return;
    Rehome(h, in, i);
    const Arena& a = h.arena[j];
    const int32_t type = in.Chance(50) ? h.desc[j].eType : in.Pick(kTypes);
    const size_t size = qm::ElementSize(type);
    size_t offset = 0;
    if (h.overlap && in.Chance(60)) {
        offset = in.Below(static_cast<uint32_t>(a.bytes / 2 + 1));
        if (!h.oddOffsets) offset -= offset % 8;
    }
    const size_t elements = (a.bytes - offset) / size;
    uint32_t w = elements == 0 ? 0 : 1 + in.Below(static_cast<uint32_t>(std::min<size_t>(elements, 64)));
    uint32_t ht = w == 0 ? 0 : static_cast<uint32_t>(elements / w);
    if (in.Chance(30) && ht > 0) ht = 1 + in.Below(ht);
    QmdDataStruct& d = h.desc[i];
    d = QmdDataStruct{a.start + offset, w, ht, type, 1, {}};
    h.arenaOf[i] = j;
    h.short_[i] = false;
    h.nullData[i] = false;
}

// ---------------------------------------------------------------------------------------------
// The calls.

struct Call {
    Host& h;
    bool writable[kArenas] = {};
    bool onlineFrame = false;  // an online frame: its source may be oriented even when it fails
    int sourceArena = -1;
};

void Snapshot(Host& h) {
    for (int a = 0; a < kArenas; ++a) h.before[a].assign(h.arena[a].start, h.arena[a].end());
}

void Check(const Call& c, QmeErrorCode status) {
    Host& h = c.h;
    if ((++h.calls & 0xFFFFF) == 0 && g_report)
        std::fprintf(stderr, "qmath_fuzz: %llu calls in %.0f s\n", static_cast<unsigned long long>(h.calls),
                     std::difftime(std::time(nullptr), g_started));
    const int32_t s = static_cast<int32_t>(status);
    if (!(s == 0 || s == 5010 || s == 5020 || (s >= 8000 && s <= 8006))) Fail("undocumented status", s);
    const bool failed = s != 0 && s != 8003;
    for (int a = 0; a < kArenas; ++a) {
        if (!GuardsIntact(h.arena[a])) Fail("guard bytes overwritten, arena", a);
        bool mayChange = c.writable[a] && !failed;
        // The orientation steps run before the options and the output type are looked at.
        if (c.onlineFrame && a == c.sourceArena && (s == 0 || s == 8000 || s == 8001 || s == 8002)) mayChange = true;
        if (!mayChange && h.arena[a].bytes != 0 &&
            std::memcmp(h.before[a].data(), h.arena[a].start, h.arena[a].bytes) != 0) {
            std::fprintf(stderr, "qmath_fuzz: arena %d changed by a call that returned %d\n", a, s);
            Fail("unexpected write");
        }
    }
}

int DescriptorIndex(const Host& h, const QmdDataStruct* d) {
    for (int i = 0; i < kDescriptors; ++i)
        if (d == &h.desc[i]) return i;
    return -1;
}

// A descriptor argument: one of the host's, or null.
QmdDataStruct* PickDescriptor(Host& h, Input& in) {
    const uint32_t k = in.Below(kDescriptors + 1);
    return k == kDescriptors ? nullptr : &h.desc[k];
}

bool IsShort(const Host& h, const QmdDataStruct* d) {
    const int i = DescriptorIndex(h, d);
    return i >= 0 && h.short_[i];
}

// Byte range of a descriptor's data inside its arena.
bool Overlaps(const Host& h, const QmdDataStruct* a, const QmdDataStruct* b) {
    const int i = DescriptorIndex(h, a), j = DescriptorIndex(h, b);
    if (i < 0 || j < 0 || a->pData == nullptr || b->pData == nullptr || h.arenaOf[i] != h.arenaOf[j]) return false;
    return true;
}

QmHandle AnyHandle(Input& in, const std::vector<QmHandle>& live) {
    switch (in.Below(8)) {
        case 0: return 255;       // the spare record
        case 1: return in.U32();  // anything
        case 2: {                 // a low slot, some tag
            const uint32_t slot = in.Below(8);
            return slot | in.U32() << 8;
        }
        default: return live.empty() ? in.Below(4) : live[in.Below(static_cast<uint32_t>(live.size()))];
    }
}

QmHandle PickHandle(Host& h, Input& in, const std::vector<QmHandle>& live) {
    const QmHandle handle = AnyHandle(in, live);
    h.touched[handle & 0xFF] = true;
    return handle;
}

// Whether MathProcessData on this instance and image is one the target can make: a Bayer
// reconstruction goes by shapes, so a descriptor whose product wraps (and whose buffer therefore
// holds less than it claims) is kept away from it, and an online output that partly overlaps the
// source frame waits for the overlap switch.
bool CanProcess(const Host& h, QmHandle handle, const QmdDataStruct* image) {
    const Host::Slot& rec = h.slot[handle & 0xFF];
    const int32_t process = rec.process;
    if (process == qmeProcessBayerSimple || process == qmeProcessBayerInterpolate)
        return !IsShort(h, image) && !IsShort(h, rec.operand1);
    if (process == qmeProcessOnline && !h.overlap && image != nullptr && rec.source != nullptr && image != rec.source &&
        Overlaps(h, image, rec.source)) {
        const QmdDataStruct* s = rec.source;
        return image->pData == s->pData && image->nWidth == s->nWidth &&
               qm::ElementSize(image->eType) == qm::ElementSize(s->eType);
    }
    return true;
}

// Allocation failures: the gate refuses the n-th allocation from now (0: none).
int g_failAfter = 0;
bool Gate(size_t) noexcept { return g_failAfter <= 0 || --g_failAfter != 0; }

void Process(Host& h, QmHandle handle, QmdDataStruct* image) {
    if (!CanProcess(h, handle, image)) return;
    Call c{h};
    const int i = DescriptorIndex(h, image);
    if (i >= 0) c.writable[h.arenaOf[i]] = true;
    const Host::Slot& rec = h.slot[handle & 0xFF];
    if (rec.process == qmeProcessOnline) {
        c.onlineFrame = true;
        const int s = DescriptorIndex(h, rec.source);
        c.sourceArena = s >= 0 ? h.arenaOf[s] : -1;
        // The colour copy leaves the source alone.
        if (image != nullptr && image->eType == qmeTypeRgb24) c.onlineFrame = false;
    }
    Snapshot(h);
    Check(c, MathProcessData(handle, image));
}

void SetData(Host& h, QmHandle handle, int32_t code, QmdDataStruct* image) {
    Call c{h};  // MathSetData never writes a host buffer
    Snapshot(h);
    const QmeErrorCode s = MathSetData(handle, code, image);
    Check(c, s);
    Host::Slot& slot = h.slot[handle & 0xFF];
    if (code == qmeDataOperand1) slot.operand1 = image;
    if (code == qmeDataSourceFrame && s == qmeSuccess) slot.source = image;
}

void SetOption(Host& h, QmHandle handle, int32_t code, bool on) {
    Call c{h};
    Snapshot(h);
    const QmeErrorCode s = MathSetProcess(handle, code, on ? 1 : 0);
    Check(c, s);
    if (s == qmeSuccess) h.slot[handle & 0xFF].process = code > 9000 && code <= 9009 ? 9000 : code;
}

void BayerDirect(Host& h, Input& in) {
    QmdDataStruct* dst = PickDescriptor(h, in);
    QmdDataStruct* src = PickDescriptor(h, in);
    if (IsShort(h, dst) || IsShort(h, src)) return;
    Call c{h};
    const int i = DescriptorIndex(h, dst);
    if (i >= 0) c.writable[h.arenaOf[i]] = true;
    const uint16_t shift = in.Chance(50) ? static_cast<uint16_t>(in.Below(34)) : in.U16();
    const double g1 = Double(in), g2 = Double(in), g3 = Double(in);
    const int32_t o1 = static_cast<int32_t>(in.U32()) >> in.Below(32),
                  o2 = static_cast<int32_t>(in.U32()) >> in.Below(32),
                  o3 = static_cast<int32_t>(in.U32()) >> in.Below(32);
    const uint16_t phase = in.Chance(80) ? static_cast<uint16_t>(in.Below(6)) : in.U16();
    const auto reserved = static_cast<int16_t>(in.U16());
    Snapshot(h);
    QmeErrorCode s;
    switch (in.Below(6)) {
        case 0: s = MathBayerSimple(dst, src, shift); break;
        case 1: s = MathBayerInterpolateU8(dst, src, shift, g1, g2, g3, o1, o2, o3, reserved, phase); break;
        case 2: s = MathBayerInterpolateU16(dst, src, shift, g1, g2, g3, o1, o2, o3, reserved, phase); break;
        case 3: s = MathBayerInterpolateI16(dst, src, shift, g1, g2, g3, o1, o2, o3, reserved, phase); break;
        case 4: s = MathBayerInterpolateU32(dst, src, shift, g1, g2, g3, o1, o2, o3, reserved, phase); break;
        default: s = MathBayerInterpolateI32(dst, src, shift, g1, g2, g3, o1, o2, o3, reserved, phase); break;
    }
    Check(c, s);
}

// The raw-pointer export: W x H output pixels, (H - 1) x P + W samples, as it documents.
void BayerRaw(Host& h, Input& in) {
    const uint32_t w = in.Chance(90) ? in.Below(40) : in.U32();
    const uint32_t ht = in.Chance(90) ? in.Below(12) : in.U32();
    const uint32_t pitch = in.Chance(70) ? w + in.Below(3) : in.Below(64);
    const uint64_t outBytes = uint64_t{w} * ht * 3;
    const uint64_t samples = ht == 0 ? 0 : uint64_t{ht - 1} * pitch + w;
    if (outBytes > kCap || samples * 2 > kCap) return;
    Place(h.arena[kRawOut], static_cast<size_t>(outBytes), 1);
    Place(h.arena[kRawSamples], static_cast<size_t>(samples * 2), h.oddOffsets ? 1 : 2);
    Fill(in, h.arena[kRawSamples].start, h.arena[kRawSamples].bytes, qmeTypeU16);
    Call c{h};
    c.writable[kRawOut] = true;
    const bool nullOut = in.Chance(3), nullSamples = in.Chance(3);
    Snapshot(h);
    const uint32_t reserved = in.U32();
    const uint16_t shift = in.U16();
    Check(c, MathBayerInterpolate(nullOut ? nullptr : reinterpret_cast<QmdRgbTriple*>(h.arena[kRawOut].start), w, ht,
                                  nullSamples ? nullptr : reinterpret_cast<const uint16_t*>(h.arena[kRawSamples].start),
                                  pitch, reserved, shift));
}

void Identity(Host& h, Input& in) {
    Arena& a = h.arena[kRawOut];
    Place(a, 24, 1);  // the name: 24 bytes with its terminator
    Place(h.arena[kRawSamples], 16, 8);
    auto* words = reinterpret_cast<uint32_t*>(h.arena[kRawSamples].start);
    Call c{h};
    c.writable[kRawOut] = c.writable[kRawSamples] = true;
    const uint8_t nulls = in.U8();
    const auto maybe = [&](int bit, uint32_t* p) { return nulls >> bit & 1 ? nullptr : p; };
    Snapshot(h);
    switch (in.Below(3)) {
        case 0: Check(c, GetDeviceCount(maybe(0, words))); break;
        case 1:
            Check(c, GetDeviceID(nulls & 1 ? nullptr : reinterpret_cast<char*>(a.start), maybe(1, words),
                                 maybe(2, words + 1), in.U32()));
            if (!(nulls & 1) && std::strcmp(reinterpret_cast<char*>(a.start), "General and Online Math") != 0)
                Fail("device name");
            break;
        default:
            Check(c, MathVerOfDLL(in.U32(), maybe(0, words), maybe(1, words + 1), maybe(2, words + 2),
                                  maybe(3, words + 3)));
            break;
    }
}

// A typical online cycle: options, frame count, references, a source frame and several frames.
void OnlineCycle(Host& h, Input& in, QmHandle handle) {
    const uint32_t options = in.U16();
    for (uint32_t k = 0; k < kOptionCodes.size(); ++k) SetOption(h, handle, kOptionCodes[k], options >> k & 1);
    SetOption(h, handle, 9009, options >> 8 & 1);
    Call c{h};
    Snapshot(h);
    Check(c, MathSetConstant(handle, qmeConstFrameCount, static_cast<double>(in.Below(5))));
    Check(c, MathSetConstant(handle, qmeConstA, Double(in)));
    Check(c, MathSetConstant(handle, qmeConstB, Double(in)));
    QmdDataStruct* source = PickDescriptor(h, in);
    SetData(h, handle, qmeDataSourceFrame, source);
    if (options & 1) SetData(h, handle, qmeDataDarkFrame, PickDescriptor(h, in));
    if (options & 2) {
        const int32_t code = in.Chance(50) ? qmeDataFlatField : qmeDataFlatFieldMean;
        SetData(h, handle, code, PickDescriptor(h, in));
    }
    if (options & 0x40) SetData(h, handle, qmeDataGainFrame, PickDescriptor(h, in));
    QmdDataStruct* out = PickDescriptor(h, in);
    for (uint32_t f = 0, frames = 1 + in.Below(5); f < frames; ++f) {
        if (source != nullptr && in.Chance(50)) {
            const int s = DescriptorIndex(h, source);
            if (h.arenaOf[s] == s) Fill(in, h.arena[s].start, h.arena[s].bytes, source->eType);
        }
        Process(h, handle, out);
    }
}

// Every record as a fresh load of the module has it, so that an input replays alike: slots free,
// and the colour flag and Bayer constants (which outlive MathDelete) zero.
void ResetTable(Host& h) {
    for (uint32_t slot = 0; slot < 256; ++slot) {
        if (!h.touched[slot]) continue;
        h.touched[slot] = false;
        MathDelete(slot);
        for (int32_t code = qmeConstColourFlag; code <= qmeConstBayerPhase; ++code) MathSetConstant(slot, code, 0.0);
        h.slot[slot] = Host::Slot{};
    }
}

void Forget(Host& h, QmHandle handle) { h.slot[handle & 0xFF] = Host::Slot{}; }

// MathCreate took the lowest free slot and gave it back ORed with the tag.
void Claimed(Host& h, QmHandle handle, uint32_t tag) {
    uint32_t slot = 0;
    while (slot < 255 && h.slot[slot].inUse) ++slot;
    if (slot == 255 || handle != (slot | tag)) Fail("MathCreate did not give the lowest free slot", slot);
    h.slot[slot] = Host::Slot{};
    h.slot[slot].inUse = true;
    h.touched[slot] = true;
}

void Run(Input& in) {
    Host& h = TheHost();
    ResetTable(h);
    DefaultShapes(h);
    std::vector<QmHandle> live;
    for (int step = 0; step < 64 && !in.empty(); ++step) {
        switch (in.Below(21)) {
            case 0: {
                QmHandle handle = 0x5A5A5A5A;
                const bool nullOut = in.Chance(3);
                const uint32_t tag = in.Chance(70) ? in.U32() & ~0xFFu : in.U32();
                Call c{h};
                Snapshot(h);
                const QmeErrorCode s = MathCreate(in.U32(), tag, nullOut ? nullptr : &handle);
                Check(c, s);
                if (s != qmeSuccess && handle != 0x5A5A5A5A) Fail("refused MathCreate wrote the handle");
                if (s == qmeSuccess) {
                    Claimed(h, handle, tag);
                    live.push_back(handle);
                }
                break;
            }
            case 1: {
                const QmHandle handle = PickHandle(h, in, live);
                Call c{h};
                Snapshot(h);
                Check(c, MathDelete(handle));
                Forget(h, handle);
                std::erase_if(live, [&](QmHandle l) { return (l & 0xFF) == (handle & 0xFF); });
                break;
            }
            case 2: {
                Call c{h};
                Snapshot(h);
                Check(c, MathReset(PickHandle(h, in, live)));
                break;
            }
            case 3:
            case 4: {
                const QmHandle handle = PickHandle(h, in, live);
                const int32_t code = Code(in, kProcessCodes.data(), kProcessCodes.size());
                SetOption(h, handle, code, in.Chance(60));
                break;
            }
            case 5: {
                Call c{h};
                Snapshot(h);
                const QmHandle handle = PickHandle(h, in, live);
                const int32_t code = Code(in, kConstantCodes.data(), kConstantCodes.size());
                Check(c, MathSetConstant(handle, code, Double(in)));
                break;
            }
            case 6:
            case 7: {
                const QmHandle handle = PickHandle(h, in, live);
                const int32_t code = Code(in, kDataCodes.data(), kDataCodes.size());
                SetData(h, handle, code, PickDescriptor(h, in));
                break;
            }
            case 8:
            case 9:
            case 10: {
                const QmHandle handle = PickHandle(h, in, live);
                Process(h, handle, PickDescriptor(h, in));
                break;
            }
            case 11: Reshape(h, in, static_cast<int>(in.Below(kDescriptors))); break;
            case 12: {
                const int i = static_cast<int>(in.Below(kDescriptors));
                MakeView(h, in, i, static_cast<int>(in.Below(kDescriptors)));
                break;
            }
            case 13: {
                const int i = static_cast<int>(in.Below(kDescriptors));
                if (h.arenaOf[i] == i) Fill(in, h.arena[i].start, h.arena[i].bytes, h.desc[i].eType);
                break;
            }
            case 14: BayerDirect(h, in); break;
            case 15: BayerRaw(h, in); break;
            case 16: Identity(h, in); break;
            case 17: OnlineCycle(h, in, PickHandle(h, in, live)); break;
            case 18: g_failAfter = static_cast<int>(in.Below(4)); break;
            case 20: {  // a full table: the next MathCreate is refused and writes no handle
                std::vector<QmHandle> taken;
                Call c{h};
                Snapshot(h);
                for (int k = 0; k < 256; ++k) {
                    QmHandle handle = 0x5A5A5A5A;
                    const QmeErrorCode s = MathCreate(0, 0, &handle);
                    Check(c, s);
                    if (s != qmeSuccess) {
                        if (handle != 0x5A5A5A5A) Fail("refused MathCreate wrote the handle");
                        break;
                    }
                    Claimed(h, handle, 0);
                    taken.push_back(handle);
                }
                // Give most back, some in the middle first, so that later creations reuse them.
                for (size_t k = 0; k < taken.size(); ++k)
                    if (k % 7 != 3) {
                        Check(c, MathDelete(taken[k]));
                        Forget(h, taken[k]);
                    }
                break;
            }
            default: {  // several frames in a row on one instance: accumulation cycles
                const QmHandle handle = PickHandle(h, in, live);
                QmdDataStruct* out = PickDescriptor(h, in);
                for (uint32_t f = 0, n = 1 + in.Below(6); f < n; ++f) Process(h, handle, out);
                break;
            }
        }
    }
    g_failAfter = 0;
    ResetTable(h);  // releases every reference frame: LeakSanitizer sees a clean table
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    for (bool& t : TheHost().touched) t = true;  // the first input starts from a clean table
    qm::SetAllocationGate(Gate);
    g_report = std::getenv("QMATH_FUZZ_REPORT") != nullptr;
    g_started = std::time(nullptr);
    if (g_report)
        std::atexit([] {
            std::fprintf(stderr, "qmath_fuzz: %llu calls in %.0f s\n", static_cast<unsigned long long>(TheHost().calls),
                         std::difftime(std::time(nullptr), g_started));
        });
    TheHost();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    Run(in);
    return 0;
}
