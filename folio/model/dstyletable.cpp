#include "folio/model/dstyletable.h"

#include <atomic>
#include <mutex>
#include <unordered_map>

namespace {

// Numbers index chunks of styles that never move once made, so that looking a number up needs
// no lock while another thread numbers new styles.
constexpr std::uint32_t chunkBits = 12;
constexpr std::uint32_t chunkSize = 1u << chunkBits;
constexpr std::uint32_t chunkCount = 4096;

std::atomic<DStylePtr*> chunks[chunkCount];

struct Numbering
{
    std::mutex mutex;
    std::unordered_map<const DStyle*, std::uint32_t> numbers;
    std::uint32_t next = 1; // 0 stands for no style
};

Numbering& numbering()
{
    static Numbering* table = new Numbering; // kept to the end, as the chunks are
    return *table;
}

const DStylePtr* slot(std::uint32_t number)
{
    if (number == 0 || number >= chunkSize * chunkCount)
        return nullptr;
    const DStylePtr* chunk = chunks[number >> chunkBits].load(std::memory_order_acquire);
    return chunk ? &chunk[number & (chunkSize - 1)] : nullptr;
}

} // namespace

std::uint32_t DStyleTable::numberOf(const DStylePtr& style)
{
    if (!style)
        return 0;
    Numbering& table = numbering();
    const std::lock_guard<std::mutex> lock(table.mutex);
    if (const auto found = table.numbers.find(style.data()); found != table.numbers.end())
        return found->second;
    if (table.next >= chunkSize * chunkCount)
        return 0;
    const std::uint32_t number = table.next;
    std::atomic<DStylePtr*>& chunk = chunks[number >> chunkBits];
    if (!chunk.load(std::memory_order_relaxed))
        chunk.store(new DStylePtr[chunkSize], std::memory_order_release);
    chunk.load(std::memory_order_relaxed)[number & (chunkSize - 1)] = style;
    table.numbers.emplace(style.data(), number);
    ++table.next;
    return number;
}

const DStyle* DStyleTable::at(std::uint32_t number)
{
    const DStylePtr* style = slot(number);
    return style ? style->data() : nullptr;
}

DStylePtr DStyleTable::sharedAt(std::uint32_t number)
{
    const DStylePtr* style = slot(number);
    return style ? *style : DStylePtr();
}
