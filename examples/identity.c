/* SPDX-License-Identifier: MIT */
/* A minimal host: loads the module by path, prints its name, identifiers and version, and
 * creates and deletes an instance. Usage: qmath_identity [path/to/libqmath.so] */
#include <dlfcn.h>
#include <stdio.h>

#include "qmath/qmath.h"

#ifndef QMATH_LIBRARY_PATH
#define QMATH_LIBRARY_PATH "libqmath.so"
#endif

typedef QmeErrorCode (*GetDeviceCountFn)(uint32_t*);
typedef QmeErrorCode (*GetDeviceIDFn)(char*, uint32_t*, uint32_t*, uint32_t);
typedef QmeErrorCode (*MathVerOfDLLFn)(uint32_t, uint32_t*, uint32_t*, uint32_t*, uint32_t*);
typedef QmeErrorCode (*MathCreateFn)(uint32_t, uint32_t, QmHandle*);
typedef QmeErrorCode (*MathDeleteFn)(QmHandle);

int main(int argc, char** argv) {
    const char* path = argc > 1 ? argv[1] : QMATH_LIBRARY_PATH;
    void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    GetDeviceCountFn getDeviceCount;
    GetDeviceIDFn getDeviceId;
    MathVerOfDLLFn version;
    MathCreateFn create;
    MathDeleteFn destroy;
    uint32_t count = 0, id1 = 0, id2 = 0, major = 0, minor = 0, build = 0, revision = 0;
    char name[64] = "";
    QmHandle handle = 0;
    QmeErrorCode status;

    if (module == NULL) {
        fprintf(stderr, "cannot load %s: %s\n", path, dlerror());
        return 1;
    }
    /* The POSIX way to take a function from dlsym: copy the object pointer's bytes. */
    *(void**)&getDeviceCount = dlsym(module, "GetDeviceCount");
    *(void**)&getDeviceId = dlsym(module, "GetDeviceID");
    *(void**)&version = dlsym(module, "MathVerOfDLL");
    *(void**)&create = dlsym(module, "MathCreate");
    *(void**)&destroy = dlsym(module, "MathDelete");
    if (!getDeviceCount || !getDeviceId || !version || !create || !destroy) {
        fprintf(stderr, "%s lacks an export: %s\n", path, dlerror());
        return 1;
    }

    getDeviceCount(&count);
    getDeviceId(name, &id1, &id2, 0);
    version(0, &major, &minor, &build, &revision);
    printf("module      %s\n", path);
    printf("devices     %u\n", count);
    printf("name        %s\n", name);
    printf("identifiers 0x%08X %u\n", id1, id2);
    printf("version     %u.%u.%u.%u\n", major, minor, build, revision);

    status = create(0, 0x4200, &handle);
    if (status != qmeSuccess) {
        fprintf(stderr, "MathCreate failed: %d\n", (int)status);
        return 1;
    }
    printf("instance    handle 0x%08X (slot %u, tag 0x%X)\n", handle, handle & 0xFFu, handle & ~0xFFu);
    status = destroy(handle);
    printf("deleted     status %d\n", (int)status);
    dlclose(module);
    return status == qmeSuccess ? 0 : 1;
}
