#pragma once

#include "folio/model/dstring.h"

#include <QString>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// Converts raw UTF-8 text to a QString or a DString and remembers recent conversions, so that the
// texts a file repeats thousands of times (element names, types, states, short phrases) are
// converted and stored once and then shared. A direct-mapped cache: one probe per lookup, and a new
// text takes the place of the one it collides with, so a file of all-different texts costs only the
// probe.
template <class Text> class DStringPool
{
public:
    DStringPool() : m_slots(slotCount) {}

    // The converted text; the reference holds until the next call.
    const Text& get(std::string_view raw)
    {
        Slot& slot = m_slots[hash(raw) & (slotCount - 1)];
        if (slot.filled && slot.key == raw)
            return slot.value;
        slot.key.assign(raw);
        slot.value = convert(raw);
        slot.filled = true;
        return slot.value;
    }

    void clear()
    {
        for (Slot& slot : m_slots) {
            slot.filled = false;
            slot.value = Text();
        }
    }

private:
    static constexpr std::size_t slotCount = 1024; // a power of two

    struct Slot
    {
        std::string key;
        Text value;
        bool filled = false;
    };

    // An empty text read is empty, not null, whichever kind holds it.
    static Text convert(std::string_view raw)
    {
        if constexpr (std::is_same_v<Text, QString>)
            return raw.empty() ? QString(QLatin1String(""))
                               : QString::fromUtf8(raw.data(), qsizetype(raw.size()));
        else
            return Text(raw);
    }

    // Mixes the length with the first and the last eight bytes: cheap, and enough to spread the
    // texts of a file over the slots.
    static std::size_t hash(std::string_view text)
    {
        std::uint64_t head = 0;
        std::uint64_t tail = 0;
        const std::size_t size = text.size();
        std::memcpy(&head, text.data(), size < 8 ? size : 8);
        if (size > 8)
            std::memcpy(&tail, text.data() + size - 8, 8);
        std::uint64_t h = (head ^ (tail * 0x9e3779b97f4a7c15ull) ^ size) * 0xff51afd7ed558ccdull;
        return std::size_t(h ^ (h >> 32));
    }

    std::vector<Slot> m_slots;
};
