// SPDX-License-Identifier: MIT
// Finds the single-precision arguments whose decimal logarithm lies closest to a rounding midpoint
// of a single and closest to an integer (other than at the powers of ten themselves): the values
// where a fast logarithm's bound is least able to decide the stored element. It walks every
// positive finite single (a minute or so); log10_edge_test.cpp holds what it printed.
//   g++ -O2 -std=c++20 tests/scalar/log10_edges.cpp -o /tmp/log10_edges && /tmp/log10_edges
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

struct Hit {
    long double distance;  // in units of the relevant spacing
    float x;
};

void Keep(std::vector<Hit>& best, Hit h, size_t count) {
    best.push_back(h);
    std::sort(best.begin(), best.end(), [](const Hit& a, const Hit& b) { return a.distance < b.distance; });
    if (best.size() > count) best.pop_back();
}

}  // namespace

int main() {
    std::vector<Hit> midpoint, integer;
    long double worstMid = 1.0L, worstInt = 1.0L;
    for (uint32_t bits = 1; bits < 0x7F800000u; ++bits) {
        float x;
        std::memcpy(&x, &bits, sizeof x);
        const long double l = std::log10(static_cast<long double>(x));
        if (l == 0.0L) continue;
        // Distance to the nearest midpoint between singles, in ulps of the single.
        const float f = static_cast<float>(l);
        const long double ulp = std::nextafter(std::fabs(f), INFINITY) - std::fabs(f);
        const long double mid = 0.5L - std::fabs(l - f) / ulp;
        if (mid < worstMid || midpoint.size() < 12) {
            Keep(midpoint, {mid, x}, 12);
            worstMid = midpoint.back().distance;
        }
        // Distance to the nearest integer, absolute (powers of ten give exactly 0 and are skipped).
        const long double near = std::fabs(l - std::nearbyint(l));
        if (near != 0.0L && (near < worstInt || integer.size() < 12)) {
            Keep(integer, {near, x}, 12);
            worstInt = integer.back().distance;
        }
    }
    std::printf("closest to a single midpoint (ulps):\n");
    for (const Hit& h : midpoint) std::printf("  %a  %.9g  %.3Lg\n", h.x, h.x, h.distance);
    std::printf("closest to an integer:\n");
    for (const Hit& h : integer) std::printf("  %a  %.9g  %.3Lg\n", h.x, h.x, h.distance);
}
