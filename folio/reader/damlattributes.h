#pragma once

#include <QString>
#include <cstring>

// The attributes of one start tag, read in place from the parser's buffer: values are converted
// only when asked for.
class DAmlAttributes
{
public:
    // `pairs` is a null-terminated array of alternating UTF-8 names and values.
    explicit DAmlAttributes(const char* const* pairs = nullptr) : m_pairs(pairs) {}

    int count() const
    {
        int n = 0;
        while (m_pairs && m_pairs[2 * n])
            ++n;
        return n;
    }
    QString name(int index) const { return QString::fromUtf8(m_pairs[2 * index]); }
    QString value(int index) const { return QString::fromUtf8(m_pairs[2 * index + 1]); }

    // Calls `visit(name, value)` with the UTF-8 name and value of each attribute, in order.
    template <class Visit> void forEach(Visit&& visit) const
    {
        for (const char* const* p = m_pairs; p && *p; p += 2)
            visit(p[0], p[1]);
    }

    bool contains(const char* name) const { return find(name) != nullptr; }
    // The value as the parser gave it (UTF-8), or null when absent.
    const char* raw(const char* name) const { return find(name); }
    // The value of the attribute `name`: a null string when absent, an empty one when empty.
    QString value(const char* name) const
    {
        const char* raw = find(name);
        if (!raw)
            return QString();
        return *raw ? QString::fromUtf8(raw) : QString(QLatin1String(""));
    }

private:
    const char* find(const char* name) const
    {
        for (const char* const* p = m_pairs; p && *p; p += 2) {
            if (std::strcmp(*p, name) == 0)
                return p[1];
        }
        return nullptr;
    }

    const char* const* m_pairs;
};
