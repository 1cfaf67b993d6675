#pragma once

#include <cstdlib>
#include <new>
#include <rapidjson/fwd.h>

// The allocations of the JSON parser, made by the C library as rapidjson's own allocator makes
// them, except that a request the system cannot meet throws std::bad_alloc: rapidjson would
// write through the null pointer it gets instead.
class JsonAllocator
{
public:
    static const bool kNeedFree = true;

    void* Malloc(size_t size)
    {
        if (size == 0)
            return nullptr;
        return checked(std::malloc(size));
    }
    void* Realloc(void* original, size_t, size_t size)
    {
        if (size == 0) {
            std::free(original);
            return nullptr;
        }
        return checked(std::realloc(original, size));
    }
    static void Free(void* pointer) { std::free(pointer); }

private:
    static void* checked(void* pointer)
    {
        if (!pointer)
            throw std::bad_alloc();
        return pointer;
    }
};

namespace SarifJson {

using Allocator = rapidjson::MemoryPoolAllocator<JsonAllocator>;
using Value = rapidjson::GenericValue<rapidjson::UTF8<char>, Allocator>;
using Document = rapidjson::GenericDocument<rapidjson::UTF8<char>, Allocator, JsonAllocator>;

} // namespace SarifJson
