// SPDX-License-Identifier: Apache-2.0
// A program that loads the shared library given as its argument can get rid of it again.
#include <dlfcn.h>

#include <cstdio>

namespace {

int failed(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    return 1;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) return failed("usage: unload_test library");
    const char* const path = arguments[1];
    for (int round = 0; round < 2; ++round) {
        void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        if (!library) return failed(dlerror());
        void* const loaded = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
        if (!loaded) return failed("the library is not found while it is loaded");
        if (dlclose(loaded) != 0 || dlclose(library) != 0) return failed(dlerror());
        if (dlopen(path, RTLD_NOW | RTLD_NOLOAD)) return failed("the library stays loaded");
    }
    return 0;
}
