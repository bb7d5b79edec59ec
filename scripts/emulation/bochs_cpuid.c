/* Preloaded into bochs-bin: turns its corei7_skylake_x model into a many-core
 * processor: AVX-512 F and CD stay, BW/DQ/VL are removed from CPUID and from
 * the decoder (they fault), ER/PF appear in CPUID (their instructions are not
 * implemented and fault). Relies on the symbols Debian's bochs 2.7 exports. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
enum { OBJ_SIZE = 0xd40, ISA_MASK = 0x1c, SLOTS = 16 };
typedef struct {
    uint32_t eax, ebx, ecx, edx;
} leaf_t;
static void (*leaf0)(void*, uint32_t, uint32_t, leaf_t*);
static void (*ctor)(void*, void*);
static const char* (*name)(unsigned);

static void leaf(void* o, uint32_t fn, uint32_t sub, leaf_t* r) {
    leaf0(o, fn, sub, r);
    if (fn == 1)
        r->eax = 0x00050671;
    if (fn == 7 && sub == 0) {
        r->ebx &= ~(1u << 17 | 1u << 30 | 1u << 31 | 1u << 21);
        r->ebx |= 1u << 26 | 1u << 27;
        r->ecx |= 1;
    }
}

static void* create(void* cpu) {
    static const char* const off[] = {"avx512bw", "avx512dq", "avx512vl"};
    char* o = calloc(1, OBJ_SIZE);
    ctor(o, cpu);
    for (unsigned i = 0, n = 0; i < 90; i++)
        for (int k = 0; k < 3; k++)
            if (name(i) && !strcmp(name(i), off[k]))
                ((uint32_t*)(o + ISA_MASK))[i / 32] &= ~(1u << i % 32);
    return o;
}

__attribute__((constructor)) static void patch(void) {
    void** vt = dlsym(RTLD_DEFAULT, "_ZTV18corei7_skylake_x_t");
    if (!vt)
        return; /* the wrapper shell, not bochs-bin */
    leaf0 = dlsym(RTLD_DEFAULT, "_ZNK18corei7_skylake_x_t14get_cpuid_leafEjjP16cpuid_function_t");
    ctor = dlsym(RTLD_DEFAULT, "_ZN18corei7_skylake_x_tC1EP8BX_CPU_C");
    name = dlsym(RTLD_DEFAULT, "_Z20get_cpu_feature_namej");
    unsigned char* c = dlsym(RTLD_DEFAULT, "_Z29create_corei7_skylake_x_cpuidP8BX_CPU_C");
    int i = 0, ok = 0;
    if (leaf0 && ctor && name && c) {
        mprotect((void*)((uintptr_t)vt & ~4095ul), 8192, PROT_READ | PROT_WRITE);
        for (i = 2; i < SLOTS; i++)
            if (vt[i] == (void*)leaf0) {
                vt[i] = leaf;
                ok = 1;
                break;
            }
        mprotect((void*)((uintptr_t)c & ~4095ul), 8192, PROT_READ | PROT_WRITE | PROT_EXEC);
        void* h = create;
        memcpy(c, "\x48\xb8", 2);
        memcpy(c + 2, &h, 8);
        memcpy(c + 10, "\xff\xe0", 2);
    }
    if (!ok) {
        fputs("bochs_cpuid: unexpected bochs version\n", stderr);
        _exit(125);
    }
}
