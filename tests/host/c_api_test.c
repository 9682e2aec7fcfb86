/* SPDX-License-Identifier: MIT */
/* The public header compiles as C99, and a C program can call the identity functions. */
#include <stdio.h>
#include <string.h>

#include "qmath/qmath.h"

int main(void) {
    uint32_t count = 0, id1 = 0, id2 = 0, major = 0, minor = 0, build = 0, revision = 0;
    char name[64];
    QmHandle handle = 0;
    int failed = 0;
    memset(name, 0x7f, sizeof name);
    failed |= GetDeviceCount(&count) != qmeSuccess || count != 1;
    failed |= GetDeviceID(name, &id1, &id2, 0) != qmeSuccess || strcmp(name, "General and Online Math") != 0 ||
              id1 != 0x03000000u || id2 != 6;
    failed |= MathVerOfDLL(0, &major, &minor, &build, &revision) != qmeSuccess || major != 3 || minor != 0 ||
              build != 10 || revision != 0;
    failed |= MathCreate(0, 0x100, &handle) != qmeSuccess || (handle & 0xFFu) != 0 || (handle & ~0xFFu) != 0x100;
    failed |= MathDelete(handle) != qmeSuccess;
    printf("%s: %s %u.%u.%u.%u\n", failed ? "FAILED" : "ok", name, major, minor, build, revision);
    return failed;
}
