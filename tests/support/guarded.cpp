#include "support/guarded.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace uvek::test {
namespace {

constexpr uint8_t kSlack = 0x5a;

size_t PageSize()
{
#ifdef _WIN32
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
#else
    return (size_t)sysconf(_SC_PAGESIZE);
#endif
}

// `pages` usable bytes with an inaccessible page on either side; the address of the first guard.
uint8_t* Map(size_t pages, size_t page)
{
#ifdef _WIN32
    auto* mapping = (uint8_t*)VirtualAlloc(nullptr, pages + 2 * page, MEM_RESERVE, PAGE_NOACCESS);
    if (!mapping || !VirtualAlloc(mapping + page, pages, MEM_COMMIT, PAGE_READWRITE))
        std::abort();
#else
    void* mapped = mmap(nullptr, pages + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto* mapping = (uint8_t*)mapped;
    if (mapped == MAP_FAILED || mprotect(mapping + page, pages, PROT_READ | PROT_WRITE) != 0)
        std::abort();
#endif
    return mapping;
}

void Unmap(uint8_t* mapping, size_t bytes)
{
#ifdef _WIN32
    (void)bytes;
    VirtualFree(mapping, 0, MEM_RELEASE);
#else
    munmap(mapping, bytes);
#endif
}

bool IsFilled(const uint8_t* from, const uint8_t* to)
{
    for (; from < to; ++from)
        if (*from != kSlack)
            return false;
    return true;
}

}  // namespace

GuardedBytes::GuardedBytes(size_t size, Flush flush) : size_(size)
{
    const size_t page = PageSize();
    pages_ = (size + page - 1) / page * page;
    if (pages_ == 0)
        pages_ = page;
    mapping_ = Map(pages_, page);
    std::memset(mapping_ + page, kSlack, pages_);
    data_ = mapping_ + page + (flush == Flush::End ? pages_ - size : 0);
}

GuardedBytes::~GuardedBytes()
{
    if (mapping_)
        Unmap(mapping_, pages_ + 2 * PageSize());
}

bool GuardedBytes::IsSlackIntact() const
{
    const uint8_t* first = mapping_ + PageSize();
    return IsFilled(first, data_) && IsFilled(data_ + size_, first + pages_);
}

void GuardedBytes::swap(GuardedBytes& other)
{
    std::swap(mapping_, other.mapping_);
    std::swap(pages_, other.pages_);
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
}

std::ostream& operator<<(std::ostream& out, const Shape& shape)
{
    return out << shape.width << "x" << shape.height << " padding " << shape.padding << (shape.upward ? " upward" : "")
               << (shape.flush == Flush::End ? " ends" : " starts") << " " << shape.offset << " bytes from the guard";
}

}  // namespace uvek::test
