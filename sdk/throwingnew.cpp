// operator new of the programs that allocate through mimalloc. mimalloc's own ends the process
// when memory runs out; this one throws std::bad_alloc, as the language has it, so that the
// file being read or converted is named in a message instead. The memory still comes from
// mimalloc, through malloc, and goes back through its operator delete.

#include <cstdlib>
#include <new>

namespace {

void* allocate(std::size_t size)
{
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

} // namespace

void* operator new(std::size_t size)
{
    return allocate(size);
}

void* operator new[](std::size_t size)
{
    return allocate(size);
}
