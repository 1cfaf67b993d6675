#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

// A map keyed by raw UTF-8 text, looked up without building a string first: the parser hands
// over C strings, and most of what it names (element names, styles, types, states) repeats.
template <class Value> class DRawKeyMap
{
public:
    // The value stored under `key`, or null.
    const Value* find(std::string_view key) const
    {
        const auto found = m_values.find(key);
        return found == m_values.end() ? nullptr : &found->second;
    }

    const Value& insert(std::string_view key, Value value)
    {
        m_keys.emplace_back(key);
        return m_values.insert_or_assign(std::string_view(m_keys.back()), std::move(value))
            .first->second;
    }

    std::size_t size() const { return m_values.size(); }

    void clear()
    {
        m_values.clear();
        m_keys.clear();
    }

private:
    std::deque<std::string> m_keys; // stable storage for the views used as keys
    std::unordered_map<std::string_view, Value> m_values;
};
