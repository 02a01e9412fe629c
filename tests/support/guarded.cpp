#include "support/guarded.h"

#include <map>
#include <mutex>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace uvek::test {
namespace {

constexpr uint8_t kSlack = 0x5a;

size_t AskPageSize()
{
#ifdef _WIN32
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
#else
    return (size_t)sysconf(_SC_PAGESIZE);
#endif
}

size_t PageSize()
{
    static const size_t size = AskPageSize();
    return size;
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

// Mappings that are in no use, by their usable bytes: tests make millions, and the system takes its time over one.
class Pool {
public:
    uint8_t* Take(size_t pages, size_t page)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::vector<uint8_t*>& kept = free_[pages];
        if (kept.empty())
            return Map(pages, page);
        uint8_t* const mapping = kept.back();
        kept.pop_back();
        return mapping;
    }
    void Return(uint8_t* mapping, size_t pages)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        free_[pages].push_back(mapping);
    }

private:
    std::mutex mutex_;
    std::map<size_t, std::vector<uint8_t*>> free_;
};

Pool& Mappings()
{
    static Pool* const pool = new Pool;  // outlives every object that returns to it
    return *pool;
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
    mapping_ = Mappings().Take(pages_, page);
    std::memset(mapping_ + page, kSlack, pages_);
    data_ = mapping_ + page + (flush == Flush::End ? pages_ - size : 0);
}

GuardedBytes::~GuardedBytes()
{
    if (mapping_)
        Mappings().Return(mapping_, pages_);
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
