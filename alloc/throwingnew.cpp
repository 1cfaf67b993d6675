// The allocating forms of operator new for the programs that allocate through mimalloc. Its own
// ends the process when memory runs out; these throw std::bad_alloc as the standard says, so that
// a file too large for the memory is refused with its name like any unreadable file. Memory
// still comes from mimalloc (it serves malloc), and its operator delete frees it.

#include <cstdlib>
#include <new>

namespace {

void* allocate(std::size_t size, std::size_t alignment)
{
    if (size == 0)
        size = 1;
    for (;;) {
        void* memory =
            alignment == 0
                ? std::malloc(size)
                : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
        if (memory)
            return memory;
        const std::new_handler handler = std::get_new_handler();
        if (!handler)
            throw std::bad_alloc();
        handler();
    }
}

} // namespace

void* operator new(std::size_t size)
{
    return allocate(size, 0);
}

void* operator new[](std::size_t size)
{
    return allocate(size, 0);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    return allocate(size, std::size_t(alignment));
}

void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return allocate(size, std::size_t(alignment));
}
