// Preloaded into the daemon: the C++ library can make no threads, as where their number is limited.
// Qt's own, without which there is no bus and no line, are made all the same.

#include <cerrno>
#include <cstring>

#include <dlfcn.h>
#include <pthread.h>

namespace {

bool is_of_cpp_library(void* address)
{
    Dl_info info{};
    return dladdr(address, &info) != 0 && info.dli_fname != nullptr &&
           std::strstr(info.dli_fname, "libstdc++") != nullptr;
}

} // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*start)(void*), void* argument) noexcept
{
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto c_create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (is_of_cpp_library(__builtin_return_address(0)))
        return EAGAIN;
    return c_create(thread, attributes, start, argument);
}
