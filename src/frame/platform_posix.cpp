// Linux.
#include "frame/platform.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "frame/frame.h"

namespace uvek {
namespace {

// An address that only this library has, for the loader to tell its path by.
const char anchor = 0;

bool IsReadableWord(uintptr_t address)
{
    if (address == 0)
        return false;  // to the call below, a null set is no set at all
    // An impossible first argument makes the call fail in any case: with EFAULT when the kernel
    // could not read the signal set at `address`, with EINVAL when it could.
    const int savedErrno = errno;
    const long result = syscall(SYS_rt_sigprocmask, ~0, (void*)address, nullptr, sizeof(uint64_t));
    const bool readable = result != 0 && errno != EFAULT;
    errno = savedErrno;
    return readable;
}

}  // namespace

void ModulePath(void*, char* path, size_t capacity)
{
    Dl_info info;
    path[0] = '\0';
    if (dladdr(&anchor, &info) && info.dli_fname)
        snprintf(path, capacity, "%s", info.dli_fname);
}

bool CanOpenForReading(const char* path)
{
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    close(file);
    return true;
}

void ReportLoadFailure(const char* text, const char* caption)
{
    fprintf(stderr, "%s:%s\n", caption, text);
}

void* PlatformAllocate(size_t bytes) { return malloc(bytes); }

void PlatformRelease(void* block) { free(block); }

bool IsReadable(const void* address, size_t bytes)
{
    if (bytes == 0)
        return true;
    constexpr uintptr_t kWord = sizeof(uint64_t);
    const uintptr_t page = (uintptr_t)sysconf(_SC_PAGESIZE);
    const uintptr_t first = (uintptr_t)address, last = first + bytes - 1;
    if (last < first)
        return false;
    // A word on a multiple of its size lies within one page.
    for (uintptr_t at = first & ~(kWord - 1); at <= last; at = (at & ~(page - 1)) + page) {
        if (!IsReadableWord(at))
            return false;
        if (at > UINTPTR_MAX - page)
            break;
    }
    return true;
}

namespace {

// A constructor cannot refuse the load, so a failed one ends the process.
__attribute__((constructor)) void OnLoad()
{
    if (!LoadEntry(nullptr, kReasonProcessAttach))
        _exit(EXIT_FAILURE);
}

}  // namespace
}  // namespace uvek
