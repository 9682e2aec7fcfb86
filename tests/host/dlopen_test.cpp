// SPDX-License-Identifier: MIT
// Loads the built library by path, as a host application does, and resolves every export by
// name: the C names plainly and the typed Bayer members by their C++ symbols.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "qmath/qmath.h"

namespace {

const char* const kExports[] = {"GetDeviceCount",
                                "GetDeviceID",
                                "MathVerOfDLL",
                                "MathCreate",
                                "MathDelete",
                                "MathReset",
                                "MathSetProcess",
                                "MathSetConstant",
                                "MathSetData",
                                "MathProcessData",
                                "MathBayerSimple",
                                "MathBayerInterpolate",
                                "_Z22MathBayerInterpolateU8P13QmdDataStructS0_tdddiiist",
                                "_Z23MathBayerInterpolateU16P13QmdDataStructS0_tdddiiist",
                                "_Z23MathBayerInterpolateI16P13QmdDataStructS0_tdddiiist",
                                "_Z23MathBayerInterpolateU32P13QmdDataStructS0_tdddiiist",
                                "_Z23MathBayerInterpolateI32P13QmdDataStructS0_tdddiiist"};

struct Module {
    void* handle = dlopen(QMATH_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ~Module() {
        if (handle != nullptr) dlclose(handle);
    }
    template <class F> F Get(const char* name) const { return reinterpret_cast<F>(dlsym(handle, name)); }
};

TEST(HostLoad, ResolvesEveryExportAndNoInternalName) {
    Module module;
    ASSERT_NE(module.handle, nullptr) << dlerror();
    for (const char* name : kExports) EXPECT_NE(dlsym(module.handle, name), nullptr) << name;
    for (const char* name : {"_ZN2qm14ScalarDispatchEiPK13QmdDataStructS2_dd", "_ZN2qm11InstanceForEj"})
        EXPECT_EQ(dlsym(module.handle, name), nullptr) << name;
}

TEST(HostLoad, IdentifiesTheModuleAndRunsAnInstanceLifecycle) {
    Module module;
    ASSERT_NE(module.handle, nullptr) << dlerror();
    auto getCount = module.Get<decltype(&GetDeviceCount)>("GetDeviceCount");
    auto getId = module.Get<decltype(&GetDeviceID)>("GetDeviceID");
    auto version = module.Get<decltype(&MathVerOfDLL)>("MathVerOfDLL");
    auto create = module.Get<decltype(&MathCreate)>("MathCreate");
    auto destroy = module.Get<decltype(&MathDelete)>("MathDelete");
    uint32_t count = 0, id1 = 0, id2 = 0, v[4] = {};
    char name[32];
    std::memset(name, 0x55, sizeof name);
    EXPECT_EQ(getCount(&count) | getId(name, &id1, &id2, 0) | version(0, &v[0], &v[1], &v[2], &v[3]), qmeSuccess);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(std::string(name), "General and Online Math");
    EXPECT_EQ(static_cast<unsigned char>(name[24]), 0x55u) << "exactly 24 bytes are written";
    EXPECT_EQ(id1, 0x03000000u);
    EXPECT_EQ(id2, 6u);
    EXPECT_TRUE(v[0] == 3 && v[1] == 0 && v[2] == 10 && v[3] == 0);
    EXPECT_EQ(getCount(nullptr) | getId(nullptr, nullptr, nullptr, 0) | version(0, nullptr, nullptr, nullptr, nullptr),
              qmeSuccess)
        << "null outputs are skipped";
    QmHandle first = 0, second = 0;
    ASSERT_EQ(create(0, 0x1200, &first) | create(0, 0, &second), qmeSuccess);
    EXPECT_EQ(first, 0x1200u) << "a freshly loaded module hands out slot 0 first";
    EXPECT_EQ(second, 1u);
    EXPECT_EQ(destroy(first) | destroy(second), qmeSuccess);
}

}  // namespace
